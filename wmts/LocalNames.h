#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace wmts
{

/**
 * Decides which requests come from this machine's own programs and pages.
 *
 * A web site that a local browser shows can send requests to 127.0.0.1. With a host name that resolves to 127.0.0.1
 * (DNS rebinding) the browser even treats the service as part of that site. The headers Host and Origin reveal both,
 * because scripts cannot change them.
 */
class LocalNames
{
public:
    explicit LocalNames(int port);

    /** @param host value of the Host header, in lower case: 127.0.0.1, localhost or [::1] with the port is accepted */
    bool isHost(std::string_view host) const;

    /**
     * Whether a page of this origin (in lower case) may read the answers: the service's own pages, and the map page.
     * The map page is opened from a file, so its origin is "null" or "file://".
     */
    bool isOrigin(std::string_view origin) const;

private:
    std::vector<std::string> m_hosts;
};

} // namespace wmts
