#include "TileServer.h"

#include "Connection.h"
#include "Platform.h"

#include <boost/asio/strand.hpp>
#include <chrono>
#include <exception>
#include <memory>
#include <thread>
#include <utility>

namespace wmts
{

namespace
{

using boost::asio::ip::tcp;

constexpr int kBacklog = 256;
constexpr std::chrono::milliseconds kPause{10};

/** This thread is in acceptNext(), which itself tries again. */
thread_local bool isArming = false;

} // namespace

/**
 * The duty to wait for the next client. Moves with a handler. Without memory, Asio destroys a handler instead of
 * calling it; the duty is passed on even then.
 */
class TileServer::Duty
{
public:
    explicit Duty(TileServer &server)
        : m_server(&server)
    {
    }
    Duty(Duty &&other) noexcept
        : m_server(std::exchange(other.m_server, nullptr))
    {
    }
    Duty &operator=(Duty &&) = delete;
    ~Duty()
    {
        if (m_server && !isArming)
            m_server->acceptNext(true);
    }

    void passOn(bool later) { std::exchange(m_server, nullptr)->acceptNext(later); }

private:
    TileServer *m_server;
};

TileServer::TileServer()
    : m_acceptor(m_context)
    , m_pause(m_context)
    , m_threads(m_context)
{
}

TileServer::~TileServer()
{
    end();
}

boost::system::error_code TileServer::bind(int port)
{
    const tcp::endpoint endpoint(boost::asio::ip::address_v4::loopback(), static_cast<unsigned short>(port));
    boost::system::error_code error;
    m_acceptor.open(endpoint.protocol(), error);
    if (!error)
        error = platform::makePortExclusive(m_acceptor);
    if (!error)
        m_acceptor.bind(endpoint, error);
    if (!error)
        m_acceptor.listen(kBacklog, error);
    return error;
}

int TileServer::port() const
{
    boost::system::error_code ignored;
    return m_acceptor.local_endpoint(ignored).port();
}

void TileServer::start(const Layers &layers)
{
    m_answers.emplace(layers, m_load, port());
    acceptNext(false);
    m_threads.start();
}

void TileServer::end()
{
    m_load.isEnding = true;
    m_context.stop();
    m_threads.join();
}

void TileServer::accept()
{
    auto accepted = [this, duty = Duty(*this)](const boost::system::error_code &error, tcp::socket socket) mutable {
        try {
            if (!error)
                std::make_shared<Connection>(std::move(socket), *m_answers, m_load, m_threads)->start();
        } catch (const std::exception &) {
            // Out of memory: this client is lost, the others go on.
        }
        // An error is, for example, that the process has no file descriptor left.
        duty.passOn(error || m_load.connections >= kMaxConnections);
    };
    m_acceptor.async_accept(boost::asio::make_strand(m_context), std::move(accepted));
}

/** Waits for the next client. Without memory even that fails and must be tried again, else no client is ever accepted.
 */
void TileServer::acceptNext(bool later)
{
    isArming = true;
    for (bool isDone = false; !isDone && !m_context.stopped();) {
        try {
            if (later)
                acceptLater();
            else
                accept();
            isDone = true;
        } catch (const std::exception &) {
            std::this_thread::sleep_for(kPause);
        }
    }
    isArming = false;
}

void TileServer::acceptLater()
{
    m_pause.expires_after(kPause);
    m_pause.async_wait([this, duty = Duty(*this)](const boost::system::error_code &) mutable {
        duty.passOn(m_load.connections >= kMaxConnections);
    });
}

} // namespace wmts
