#include "LocalNames.h"

#include <algorithm>

namespace wmts
{

namespace
{

constexpr std::string_view kScheme = "http://";
constexpr int kSchemePort = 80; // Clients omit it from the host.

} // namespace

LocalNames::LocalNames(int port)
{
    for (const char *const name : {"127.0.0.1", "localhost", "[::1]"}) {
        m_hosts.push_back(std::string(name) + ':' + std::to_string(port));
        if (port == kSchemePort)
            m_hosts.emplace_back(name);
    }
}

bool LocalNames::isHost(std::string_view host) const
{
    return std::find(m_hosts.begin(), m_hosts.end(), host) != m_hosts.end();
}

bool LocalNames::isOrigin(std::string_view origin) const
{
    // A page from a file has the origin "null" in current browsers and "file://" in old engines.
    if (origin == "null" || origin == "file://")
        return true;
    return origin.substr(0, kScheme.size()) == kScheme && isHost(origin.substr(kScheme.size()));
}

} // namespace wmts
