#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace wmts
{

/**
 * Who may ask the service: this machine's programs, by its own names, and the pages of this machine.
 *
 * Every web site that a browser of this machine shows can send requests to 127.0.0.1, and with a name of its own that
 * resolves to 127.0.0.1 it even counts as the service's own page. The name in the Host header and the page in the
 * Origin header give both away, since no script can change them.
 */
class LocalNames
{
public:
    explicit LocalNames(int port);

    /** Whether a value of the Host header, in lower case, is one of 127.0.0.1, localhost and [::1] with the port. */
    bool isHost(std::string_view host) const;

    /**
     * Whether a page of this origin, in lower case, may read the answers: the service's own pages, and "null" or
     * "file://", which is the map page's because it is opened as a file.
     */
    bool isOrigin(std::string_view origin) const;

private:
    std::vector<std::string> m_hosts;
};

} // namespace wmts
