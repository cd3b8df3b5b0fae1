#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace wmts
{

inline constexpr std::size_t kMaxRequestLine = 8000;
inline constexpr std::size_t kMaxHeadBytes = 32U << 10;
/** How much of an oversized head is read and discarded. Otherwise the client could lose the answer. */
inline constexpr std::size_t kMaxDiscardedBytes = 4U << 20;

/**
 * Reads the head of one HTTP request, in pieces as they arrive.
 *
 * Keeps only what the service uses: the request line, Host, Origin, and whether the connection closes. The HTTP parser
 * gets requestLine() alone. So the memory and the work for a request are bounded, whatever fields it has.
 */
class RequestHead
{
public:
    /**
     * Takes bytes up to the end of the head. Takes none after that.
     *
     * @return how many bytes were taken; the rest belongs to the next request
     */
    std::size_t take(std::string_view bytes);

    /** Whether the head has any byte besides leading empty lines. */
    bool begun() const { return m_lines > 0 || !m_line.empty() || m_lineBytes > 0; }
    /** The empty line at the end was read, or kMaxDiscardedBytes were. */
    bool ended() const { return m_ended; }
    /** The status that refuses a bad head: 400, 414 or 431. 0 for a good one. */
    int error() const { return m_error; }
    /** Without the line end; at most kMaxRequestLine bytes. */
    const std::string &requestLine() const { return m_requestLine; }
    /** The client wants to close the connection, or sends a body (which is not read). */
    bool closes() const { return m_closes; }
    /** The values of all fields Host or Origin, in lower case. A good request has at most one of each. */
    ///@{
    const std::vector<std::string> &hosts() const { return m_hosts; }
    const std::vector<std::string> &origins() const { return m_origins; }
    ///@}

private:
    void endLine();
    void takeHeader();
    void fail(int status);

    std::string m_line; // The current line, cut at its limit.
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
