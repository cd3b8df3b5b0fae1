#pragma once

#include "Load.h"
#include "LocalNames.h"
#include "RequestHead.h"
#include "RequestTarget.h"
#include "TileFolder.h"

#include <boost/beast/http/message.hpp>
#include <boost/beast/http/string_body.hpp>
#include <cstdint>
#include <functional>
#include <string>

namespace wmts
{

using Response = boost::beast::http::response<boost::beast::http::string_body>;

/** Value of the header field Server; a second copy of the program recognises the first by it. */
inline constexpr const char *kServerName = "ostravel-wmts";

/** A response without a body that ends the connection. */
Response refusal(int status);

/**
 * The responses to requests. Has no state of its own: any thread may call it.
 *
 *   /{layer}/{z}/{x}/{y}  a tile, rows from the north; 404 where the layer has none, 400 outside the world
 *   /layers.json          the layers
 *   /wmts?...             WMTS 1.0.0 in key-value pairs: GetCapabilities, GetTile
 *
 * Requests for other hosts than 127.0.0.1, localhost and [::1] with the port, and requests of foreign pages, get 403;
 * those without exactly one Host header get 400. All others get 503 while more than Load::kMaxBytesBeingSent are being
 * sent.
 */
class TileAnswers
{
public:
    static constexpr std::size_t kMaxBytesBeingSent = Load::kMaxBytesBeingSent;

    /** The layers and the load must outlive this object. */
    TileAnswers(const Layers &layers, Load &load, int port);

    /**
     * The answer to a request; its keep_alive() tells whether the connection may be used again.
     *
     * @param head a complete head
     * @param held gets the bytes of a tile or a document; keep it until the answer is sent. Null: they do not count
     */
    Response answer(const RequestHead &head, BytesBeingSent *held = nullptr) const;

private:
    int refusalOf(const RequestHead &head) const;
    Response route(const RequestTarget &target, BytesBeingSent *held) const;
    Response wmts(const RequestTarget &target, BytesBeingSent *held) const;
    Response wmtsTile(const RequestTarget &target, BytesBeingSent *held) const;
    Response tile(TileLayer &layer, int zoom, std::int64_t column, std::int64_t row, BytesBeingSent *held) const;
    Response document(const char *type, const std::function<std::string()> &text, BytesBeingSent *held) const;

    const Layers &m_layers;
    Load &m_load;
    const std::string m_address;
    const LocalNames m_names;
};

} // namespace wmts
