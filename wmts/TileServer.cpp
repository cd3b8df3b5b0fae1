#include "TileServer.h"

#include "Connection.h"
#include "Platform.h"

#include <boost/asio/strand.hpp>
#include <chrono>
#include <exception>
#include <memory>

namespace wmts
{

namespace
{

using boost::asio::ip::tcp;

constexpr int kBacklog = 256;
constexpr std::chrono::milliseconds kPause{10};

} // namespace

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
    accept();
    m_threads.start();
}

void TileServer::end()
{
    m_context.stop();
    m_threads.join();
}

void TileServer::accept()
{
    const auto accepted = [this](const boost::system::error_code &error, tcp::socket socket) {
        try {
            if (!error)
                std::make_shared<Connection>(std::move(socket), *m_answers, m_load, m_threads)->start();
        } catch (const std::exception &) {
            // Out of memory: this client is lost, the others go on.
        }
        // An error is, for example, that the process has no file descriptor left.
        if (error || m_load.connections >= kMaxConnections)
            acceptLater();
        else
            accept();
    };
    m_acceptor.async_accept(boost::asio::make_strand(m_context), accepted);
}

void TileServer::acceptLater()
{
    m_pause.expires_after(kPause);
    m_pause.async_wait([this](const boost::system::error_code &) {
        if (m_load.connections >= kMaxConnections)
            acceptLater();
        else
            accept();
    });
}

} // namespace wmts
