#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace wmts
{

inline constexpr std::size_t kMostRequestLine = 8000;
inline constexpr std::size_t kMostHeadBytes = 32U << 10;
/** What is read and thrown away of a head that is too long, so that its sender gets to read the answer. */
inline constexpr std::size_t kMostDiscarded = 4U << 20;

/**
 * The head of one HTTP request, taken byte by byte from whoever sends it.
 *
 * The HTTP library keeps a request line and headers of any length and acts on headers that a tile needs not (ranges by
 * the thousand, bodies, compression). It is given requestLine() alone, so memory and work of a request are bounded.
 */
class RequestHead
{
public:
    /**
     * Take bytes up to the end of the head; does nothing once it is ended.
     *
     * @return how many were taken: what follows belongs to the next request
     */
    std::size_t take(std::string_view bytes);

    /** Whether anything beside leading line ends has come. */
    bool begun() const { return m_lines > 0 || !m_line.empty() || m_lineBytes > 0; }
    /** The empty line has come, or more than will ever be read. */
    bool ended() const { return m_ended; }
    /** 0 for a head in order, else the status that answers it: 400, 414 or 431. */
    int error() const { return m_error; }
    /** Without its line end, at most kMostRequestLine bytes. */
    const std::string &requestLine() const { return m_requestLine; }
    /** The sender wants no further request on this connection, or sends a body, which is not read. */
    bool closes() const { return m_closes; }
    /** The values of the header fields Host and Origin, in lower case; there is one of each at most in a good request. */
    ///@{
    const std::vector<std::string> &hosts() const { return m_hosts; }
    const std::vector<std::string> &origins() const { return m_origins; }
    ///@}

private:
    void endLine();
    void takeHeader();
    void fail(int status);

    std::string m_line; // without what is beyond its limit
    std::size_t m_lineBytes = 0;
    std::string m_requestLine;
    std::vector<std::string> m_hosts;
    std::vector<std::string> m_origins;
    std::size_t m_bytes = 0;
    int m_lines = 0;
    int m_error = 0;
    bool m_ended = false;
    bool m_closes = false;
};

} // namespace wmts
