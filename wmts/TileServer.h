#pragma once

#include "LocalNames.h"
#include "Platform.h"
#include "TileFolder.h"

#include <atomic>
#include <cstddef>
#include <httplib.h>
#include <optional>
#include <string>

namespace wmts
{

class RequestHead;

/**
 * The HTTP service on 127.0.0.1.
 *
 *   /{layer}/{z}/{x}/{y}  a tile, rows from the north; 404 where the layer has none, 400 outside the world
 *   /layers.json          the layers
 *   /wmts?...             WMTS 1.0.0 in key-value pairs: GetCapabilities, GetTile
 *
 * Requests for other hosts than 127.0.0.1, localhost and [::1] with its port, and of foreign pages, get 403, those
 * without one Host header 400.
 *
 * Limits: a head within 5 s and of kMostRequestLine and kMostHeadBytes bytes, a response within 10 s, an idle
 * connection 5 s, responses under way in all kMostBytesUnderWay. Bodies are not read.
 */
class TileServer : private httplib::Server
{
public:
    static constexpr std::size_t kMostBytesUnderWay = 64U << 20;

    TileServer();

    /** Own the port, 0 for one that the system chooses. @return the port, or -1 with the reason in error */
    int bind(int port, platform::SocketError *error);

    /** Answer requests until end(). @return false when listening failed before */
    bool serve(const Layers &layers);

    /** Let serve() return within a second, cutting off whom it serves. Any thread, once. */
    void end();

private:
    class Connection;
    class RequestStream;

    bool process_and_close_socket(socket_t socket) override;
    void serveRequests(Connection &connection);
    /** The status that refuses a request for its Host and Origin: 400, 403, or 0 when it may be answered. */
    int refusalOf(const RequestHead &head) const;
    void answer(const httplib::Request &request, httplib::Response &response);
    void answerWmts(const httplib::Request &request, httplib::Response &response);
    void answerTile(TileLayer &layer, int zoom, std::int64_t column, std::int64_t row, httplib::Response &response);

    const Layers *m_layers = nullptr;
    std::string m_address;
    std::optional<LocalNames> m_names; // once the port is known
    std::atomic<bool> m_ending{false};
    std::atomic<bool> m_over{false};
    std::atomic<std::size_t> m_underWay{0};
};

/** Whether the program that owns the port of 127.0.0.1 is this one. At most two seconds. */
bool isOursAt(int port);

} // namespace wmts
