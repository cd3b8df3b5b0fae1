#include "RequestTarget.h"

#include "Text.h"

#include <algorithm>

namespace wmts
{

namespace
{

bool isSameName(std::string_view name, std::string_view other)
{
    const auto upper = [](char character) {
        return character >= 'a' && character <= 'z' ? static_cast<char>(character - 'a' + 'A') : character;
    };
    return std::equal(name.begin(), name.end(), other.begin(), other.end(),
                      [upper](char a, char b) { return upper(a) == upper(b); });
}

/** Removes the text up to the separator from the front of rest, and returns it; all of rest without a separator. */
std::string_view takeUntil(std::string_view *rest, char separator)
{
    const std::size_t end = rest->find(separator);
    const std::string_view taken = rest->substr(0, end);
    rest->remove_prefix(end == std::string_view::npos ? rest->size() : end + 1);
    return taken;
}

} // namespace

RequestTarget::RequestTarget(std::string_view target)
{
    std::string_view query = takeUntil(&target, '#');
    m_path = decodedUrl(takeUntil(&query, '?'), Plus::IsPlus);
    while (!query.empty()) {
        std::string_view value = takeUntil(&query, '&');
        const std::string_view name = takeUntil(&value, '=');
        m_parameters.emplace_back(decodedUrl(name, Plus::IsSpace), decodedUrl(value, Plus::IsSpace));
    }
}

const std::string *RequestTarget::parameter(std::string_view name) const
{
    const auto found = std::find_if(m_parameters.begin(), m_parameters.end(),
                                    [name](const auto &entry) { return isSameName(entry.first, name); });
    return found == m_parameters.end() ? nullptr : &found->second;
}

} // namespace wmts
