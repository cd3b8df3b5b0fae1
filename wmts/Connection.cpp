#include "Connection.h"

#include <boost/asio/dispatch.hpp>
#include <boost/beast/http/write.hpp>

namespace wmts
{

namespace
{

using std::chrono::milliseconds;

constexpr milliseconds kMaxIdle{5000};
constexpr milliseconds kMaxHead{5000};
constexpr milliseconds kMaxResponse{10000};
constexpr milliseconds kMaxDrain{1000};
constexpr milliseconds kWatchInterval{500};
constexpr int kMaxRequests = 10000;

} // namespace

Connection::Connection(Socket socket, const TileAnswers &answers, Load &load, ServiceThreads &threads)
    : m_socket(std::move(socket))
    , m_timer(m_socket.get_executor())
    , m_answers(answers)
    , m_load(load)
    , m_threads(threads)
{
    ++m_load.connections;
}

Connection::~Connection()
{
    --m_load.connections;
}

void Connection::start()
{
    boost::asio::dispatch(m_socket.get_executor(), [self = shared_from_this()] {
        boost::system::error_code ignored;
        self->m_socket.set_option(boost::asio::ip::tcp::no_delay(true), ignored);
        self->awaitRequest();
        self->watch();
    });
}

void Connection::awaitRequest()
{
    m_head = RequestHead();
    limitTo(kMaxIdle);
    readHead();
}

/** Takes the bytes at hand, then waits for more until the head has ended. */
void Connection::readHead()
{
    if (m_begin < m_end) {
        const bool hadBegun = m_head.begun();
        m_begin += m_head.take(std::string_view(m_buffer.data() + m_begin, m_end - m_begin));
        if (!hadBegun && m_head.begun())
            limitTo(kMaxHead);
    }
    if (m_head.ended()) {
        answer();
        return;
    }
    // The limit may have passed while no operation was pending that it could cancel.
    if (isOverdue()) {
        headIsLate();
        return;
    }
    m_socket.async_read_some(boost::asio::buffer(m_buffer),
                             [self = shared_from_this()](const boost::system::error_code &error, std::size_t size) {
                                 self->m_begin = 0;
                                 self->m_end = size;
                                 if (!error)
                                     self->readHead();
                                 else if (self->isOverdue())
                                     self->headIsLate();
                             });
}

void Connection::answer()
{
    const ServiceThreads::Busy busy(m_threads);
    BytesBeingSent held;
    Response response = m_answers.answer(m_head, &held);
    send(std::move(response), std::move(held));
}

void Connection::headIsLate()
{
    if (m_head.begun())
        send(refusal(408));
}

void Connection::send(Response response, BytesBeingSent held)
{
    m_response = std::move(response);
    m_held = std::move(held);
    if (++m_requests == kMaxRequests)
        m_response.keep_alive(false);
    m_isSending = true;
    limitTo(kMaxResponse);
    boost::beast::http::async_write(
        m_socket, m_response,
        [self = shared_from_this()](const boost::system::error_code &error, std::size_t) { self->sent(!error); });
}

void Connection::sent(bool good)
{
    // The connection may wait for its next request for a while, without the bytes of this answer.
    std::string().swap(m_response.body());
    m_held.release();
    m_isSending = false;
    if (!good || isOverdue())
        return;
    if (m_response.keep_alive()) {
        awaitRequest();
        return;
    }
    // Closing a socket with unread bytes may discard the answer before the client has read it.
    boost::system::error_code ignored;
    m_socket.shutdown(Socket::shutdown_send, ignored);
    limitTo(kMaxDrain);
    drain(0);
}

void Connection::drain(std::size_t drained)
{
    if (drained >= kMaxDiscardedBytes || isOverdue())
        return;
    m_socket.async_read_some(
        boost::asio::buffer(m_buffer),
        [self = shared_from_this(), drained](const boost::system::error_code &error, std::size_t size) {
            if (!error)
                self->drain(drained + size);
        });
}

/** Checks the time limit every now and then. Setting a timer for each limit would cost more than sending a tile. */
void Connection::watch()
{
    m_timer.expires_after(kWatchInterval);
    m_timer.async_wait([weak = weak_from_this()](const boost::system::error_code &) {
        const auto self = weak.lock();
        if (!self)
            return;
        if (self->isOverdue())
            self->interrupt();
        self->watch();
    });
}

void Connection::interrupt()
{
    boost::system::error_code ignored;
    // Sending takes several operations; after a mere cancel() the next one could wait without a limit.
    if (m_isSending)
        m_socket.close(ignored);
    else
        m_socket.cancel(ignored);
}

void Connection::limitTo(milliseconds time)
{
    m_deadline = std::chrono::steady_clock::now() + time;
}

bool Connection::isOverdue() const
{
    return m_deadline <= std::chrono::steady_clock::now();
}

} // namespace wmts
