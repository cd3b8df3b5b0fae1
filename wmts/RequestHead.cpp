#include "RequestHead.h"

#include <algorithm>
#include <cctype>

namespace wmts
{

namespace
{

std::string lowerCase(std::string_view text)
{
    std::string result(text);
    for (char &character : result)
        character = static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
    return result;
}

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view kBlanks = " \t";
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

} // namespace

std::size_t RequestHead::take(std::string_view bytes)
{
    std::size_t taken = 0;
    while (taken < bytes.size() && !m_ended) {
        const std::string_view rest = bytes.substr(taken);
        const std::size_t lineFeed = rest.find('\n');
        const std::string_view piece = rest.substr(0, lineFeed);
        m_line.append(piece.substr(0, kMaxRequestLine + 1 - std::min(m_line.size(), kMaxRequestLine + 1)));
        m_lineBytes += piece.size();
        m_bytes += piece.size();
        taken += piece.size();
        if (lineFeed != std::string_view::npos) {
            ++taken;
            ++m_bytes;
            endLine();
        }
        if (m_bytes > kMaxHeadBytes)
            fail(m_lines == 0 ? 414 : 431);
        if (m_bytes > kMaxDiscardedBytes)
            m_ended = true;
    }
    return taken;
}

void RequestHead::endLine()
{
    if (m_lineBytes == m_line.size() && !m_line.empty() && m_line.back() == '\r')
        m_line.pop_back();
    // Servers should ignore empty lines before a request (RFC 7230, 3.5).
    if (m_lines == 0 && m_line.empty()) {
        m_lineBytes = 0;
        return;
    }
    if (m_line.size() > kMaxRequestLine)
        fail(m_lines == 0 ? 414 : 431);
    else if (std::any_of(m_line.begin(), m_line.end(), [](unsigned char character) {
                 return (character < 0x20 && character != '\t') || character == 0x7f;
             }))
        fail(400);
    else if (m_lines == 0)
        m_requestLine = m_line;
    else if (m_line.empty())
        m_ended = true;
    else
        takeHeader();
    // A bad head is read to its end too, so that the client can read the answer.
    if (m_lines > 0 && m_lineBytes <= 1 && (m_line.empty() || m_line == "\r"))
        m_ended = true;
    ++m_lines;
    m_line.clear();
    m_lineBytes = 0;
}

void RequestHead::takeHeader()
{
    const std::size_t colon = m_line.find(':');
    if (colon == std::string::npos || colon == 0 || m_line.front() == ' ' || m_line.front() == '\t') {
        fail(400);
        return;
    }
    const std::string name = lowerCase(std::string_view(m_line).substr(0, colon));
    const std::string value = lowerCase(trimmed(std::string_view(m_line).substr(colon + 1)));
    if (name == "host")
        m_hosts.push_back(value);
    if (name == "origin")
        m_origins.push_back(value);
    if (name == "connection" && value.find("close") != std::string::npos)
        m_closes = true;
    if (name == "transfer-encoding" || (name == "content-length" && value != "0"))
        m_closes = true;
}

void RequestHead::fail(int status)
{
    if (m_error == 0)
        m_error = status;
    m_closes = true;
}

} // namespace wmts
