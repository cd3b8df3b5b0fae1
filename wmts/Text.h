#pragma once

#include <string>
#include <string_view>

namespace wmts
{

/** Whether text is UTF-8 without control characters, so that it may stand in JSON and XML once escaped. */
bool isPlainText(std::string_view text);

/** As a JSON string, with its quotes. The text must be plain. */
std::string jsonText(std::string_view text);

/** For content and attributes of XML. The text must be plain. */
std::string xmlText(std::string_view text);

/** One segment of a URL's path. */
std::string urlSegment(std::string_view text);

/** The meaning of a plus sign: a space in a query, a plus sign in a path. */
enum class Plus { IsPlus, IsSpace };

/** Decodes percent escapes. A percent sign that begins no escape stays as it is. */
std::string decodedUrl(std::string_view text, Plus plus);

/** Shortest decimal text that reads back as the same number, whatever the locale. */
std::string numberText(double value);

} // namespace wmts
