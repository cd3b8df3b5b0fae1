#pragma once

#include "Load.h"
#include "RequestHead.h"
#include "ServiceThreads.h"
#include "TileAnswers.h"

#include <array>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <memory>

namespace wmts
{

/**
 * One client: reads its requests, sends the answers and keeps the time limits.
 *
 * Its pending operation owns it; when no operation is pending, it closes the socket and is gone. The socket's executor
 * is a strand, so that one thread at a time works for a connection.
 *
 * Limits: 5 s idle, 5 s for a head once it has begun, 10 s for a response, 10,000 requests. Bodies are not read.
 */
class Connection : public std::enable_shared_from_this<Connection>
{
public:
    using Socket = boost::asio::ip::tcp::socket;

    /** The answers and the load must outlive the connection. The threads are used until its last request. */
    Connection(Socket socket, const TileAnswers &answers, Load &load, ServiceThreads &threads);
    ~Connection();
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;

    void start();

private:
    void awaitRequest();
    void readHead();
    void answer();
    void headIsLate();
    void send(Response response, BytesBeingSent held = {});
    void sent(bool good);
    void drain(std::size_t drained);

    void watch();
    void interrupt();
    void limitTo(std::chrono::milliseconds time);
    bool isOverdue() const;

    Socket m_socket;
    boost::asio::steady_timer m_timer;
    std::chrono::steady_clock::time_point m_deadline;
    const TileAnswers &m_answers;
    Load &m_load;
    ServiceThreads &m_threads;
    std::array<char, 4096> m_buffer{};
    std::size_t m_begin = 0; // The unread bytes in the buffer.
    std::size_t m_end = 0;
    RequestHead m_head;
    Response m_response;
    BytesBeingSent m_held; // The bytes of m_response.
    bool m_isSending = false;
    int m_requests = 0;
};

} // namespace wmts
