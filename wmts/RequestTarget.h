#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace wmts
{

/** The target of a request line, "/path?name=value&...", with its percent escapes decoded. */
class RequestTarget
{
public:
    explicit RequestTarget(std::string_view target);

    const std::string &path() const { return m_path; }

    /** The first value of a query parameter; WMTS names have no case. Null without the parameter. */
    const std::string *parameter(std::string_view name) const;

private:
    std::string m_path;
    std::vector<std::pair<std::string, std::string>> m_parameters;
};

} // namespace wmts
