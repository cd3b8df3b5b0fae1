#pragma once

#include "Load.h"
#include "ServiceThreads.h"
#include "TileAnswers.h"
#include "TileFolder.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <optional>

namespace wmts
{

/**
 * The HTTP service on 127.0.0.1: accepts connections and runs them on a pool of threads. TileAnswers gives the
 * responses, Connection keeps the time limits.
 */
class TileServer
{
public:
    /** Further clients wait in the system's queue; the time limits of the others guarantee them their turn. */
    static constexpr std::size_t kMaxConnections = 512;

    TileServer();
    ~TileServer();
    TileServer(const TileServer &) = delete;
    TileServer &operator=(const TileServer &) = delete;

    /** Takes the port; 0 takes a free one. */
    boost::system::error_code bind(int port);
    /** The port that is taken. */
    int port() const;

    /** Answers requests until end(). The layers must live until then. */
    void start(const Layers &layers);

    /** Cuts off the clients and joins the threads. Reading tiles is interrupted. For good: start() cannot follow. */
    void end();

private:
    class Duty;

    void accept();
    void acceptLater();
    void acceptNext(bool later);

    // The context destroys the connections that are left, so it goes before what they use.
    Load m_load;
    std::optional<TileAnswers> m_answers;
    boost::asio::io_context m_context;
    boost::asio::ip::tcp::acceptor m_acceptor;
    boost::asio::steady_timer m_pause;
    ServiceThreads m_threads;
};

} // namespace wmts
