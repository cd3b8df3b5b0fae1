#pragma once

#include <string>
#include <string_view>

namespace wmts
{

/** Whether the text is UTF-8 without control characters. Such text can be escaped for JSON and XML. */
bool isPlainText(std::string_view text);

/** Plain text as a JSON string, with quotes. */
std::string jsonText(std::string_view text);

/**
 * Escapes plain text for content and attributes of XML. The workbook library escapes QString, which this program does
 * not have.
 */
std::string xmlText(std::string_view text);

/** Encodes text as one segment of a URL's path. */
std::string urlSegment(std::string_view text);

/** The meaning of a plus sign: a space in a query, a plus sign in a path. */
enum class Plus { IsPlus, IsSpace };

/** Decodes percent escapes. A percent sign that begins no escape stays as it is. */
std::string decodedUrl(std::string_view text, Plus plus);

/** Shortest decimal text that reads back as the same number. Does not depend on the locale. */
std::string numberText(double value);

} // namespace wmts
