#include "TileAnswers.h"

#include "TileAddress.h"
#include "WmtsDocuments.h"

#include <algorithm>
#include <array>
#include <boost/asio/buffer.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/parser.hpp>
#include <optional>

namespace wmts
{

namespace
{

namespace http = boost::beast::http;

// 200 layers give about half of it.
constexpr std::size_t kMaxDocumentBytes = 4U << 20;

Response makeResponse(int status, const char *type, std::string body)
{
    Response response;
    response.result(static_cast<unsigned>(status));
    response.set(http::field::content_type, type);
    response.body() = std::move(body);
    return response;
}

Response plainText(int status, const char *text)
{
    return makeResponse(status, "text/plain", text);
}

Response wmtsException(int status, const char *code, std::string_view locator, std::string_view text)
{
    return makeResponse(status, "text/xml", exceptionXml(code, locator, text));
}

/** A WMTS exception for the first of the names that the query lacks. */
template <std::size_t N>
std::optional<Response> missingParameter(const RequestTarget &target, const std::array<const char *, N> &names)
{
    for (const char *const name : names)
        if (!target.parameter(name))
            return wmtsException(400, "MissingParameterValue", name, "A parameter is missing.");
    return std::nullopt;
}

Response tooManyBytes()
{
    return plainText(503, "Too many bytes are being sent.\n");
}

/** The answer to OPTIONS, by which a browser asks before it sends what a page wants to send. */
Response allowedMethods()
{
    // The answer does not allow access from public networks (Access-Control-Allow-Private-Network): browsers ask for it
    // only on behalf of pages from the network, and some of those have the origin "null" too.
    Response response;
    response.result(http::status::no_content);
    response.set(http::field::access_control_allow_methods, "GET, HEAD");
    return response;
}

Response methodNotAllowed()
{
    Response response = plainText(405, "Only GET and HEAD are answered.\n");
    response.set(http::field::allow, "GET, HEAD, OPTIONS");
    return response;
}

} // namespace

Response refusal(int status)
{
    Response response;
    response.result(static_cast<unsigned>(status));
    response.set(http::field::server, kServerName);
    response.keep_alive(false);
    response.prepare_payload();
    return response;
}

TileAnswers::TileAnswers(const Layers &layers, Load &load, int port)
    : m_layers(layers)
    , m_load(load)
    , m_address("http://127.0.0.1:" + std::to_string(port))
    , m_names(port)
{
}

Response TileAnswers::answer(const RequestHead &head, BytesBeingSent *held) const
{
    if (const int status = head.error() != 0 ? head.error() : refusalOf(head))
        return refusal(status);
    // The parser sees the request line alone. RequestHead has read the other fields, with stricter limits.
    http::request_parser<http::empty_body> parser;
    boost::system::error_code error;
    const std::string text = head.requestLine() + "\r\n\r\n";
    parser.put(boost::asio::buffer(text), error);
    const auto &request = parser.get();
    if (error || !parser.is_header_done() || request.method() == http::verb::unknown)
        return refusal(400);

    const std::string_view target(request.target().data(), request.target().size());
    BytesBeingSent ofThisCall;
    if (!held)
        held = &ofThisCall;
    Response response;
    if (request.method() == http::verb::options)
        response = allowedMethods();
    else if (request.method() != http::verb::get && request.method() != http::verb::head)
        response = methodNotAllowed();
    else
        response = route(RequestTarget(target), held);

    response.set(http::field::server, kServerName);
    response.set(http::field::vary, "Origin"); // A cache must not give one page's answer to another page.
    response.set("X-Content-Type-Options", "nosniff");
    if (!head.origins().empty())
        response.set(http::field::access_control_allow_origin, head.origins().front());
    response.keep_alive(request.version() == 11 && !head.closes());
    if (response.result() != http::status::no_content)
        response.prepare_payload();
    if (request.method() == http::verb::head) {
        std::string().swap(response.body()); // The header fields stay, with the length of the body.
        held->release();
    }
    return response;
}

/** The status that refuses a request for its Host and Origin: 400, 403, or 0 when it may be answered. */
int TileAnswers::refusalOf(const RequestHead &head) const
{
    // HTTP/1.0 does not require the header, but every browser sends it. Of two headers, a proxy may use either.
    if (head.hosts().size() != 1)
        return 400;
    const bool areOurPages = std::all_of(head.origins().begin(), head.origins().end(),
                                         [this](const std::string &origin) { return m_names.isOrigin(origin); });
    return m_names.isHost(head.hosts().front()) && areOurPages ? 0 : 403;
}

Response TileAnswers::route(const RequestTarget &target, BytesBeingSent *held) const
{
    // A slow reader keeps its answer in memory until its time limit ends.
    if (m_load.bytesBeingSent > kMaxBytesBeingSent)
        return tooManyBytes();
    const std::string &path = target.path();
    if (path == "/layers.json")
        return document(
            "application/json", [this] { return layersJson(m_layers); }, held);
    if (path == "/wmts")
        return wmts(target, held);
    const auto address = parseTilePath(path);
    if (!address) {
        const bool hasTileShape = std::count(path.begin(), path.end(), '/') == 4;
        return plainText(hasTileShape ? 400 : 404, "The address of a tile is /{layer}/{z}/{x}/{y}.\n");
    }
    const auto layer = m_layers.find(address->layer);
    if (layer == m_layers.end())
        return plainText(404, "There is no such layer.\n");
    return tile(*layer->second, address->zoom, address->column, address->row, held);
}

Response TileAnswers::wmts(const RequestTarget &target, BytesBeingSent *held) const
{
    if (auto missing = missingParameter<2>(target, {"SERVICE", "REQUEST"}))
        return *std::move(missing);
    if (*target.parameter("SERVICE") != "WMTS")
        return wmtsException(400, "InvalidParameterValue", "SERVICE", "The service is WMTS.");
    const std::string &operation = *target.parameter("REQUEST");
    if (operation == "GetCapabilities")
        return document(
            "text/xml", [this] { return capabilitiesXml(m_layers, m_address); }, held);
    if (operation == "GetTile")
        return wmtsTile(target, held);
    return wmtsException(501, "OperationNotSupported", "REQUEST", "The operations are GetCapabilities and GetTile.");
}

Response TileAnswers::wmtsTile(const RequestTarget &target, BytesBeingSent *held) const
{
    // The standard requires STYLE and FORMAT too. Each has one value here, so a request may omit them.
    if (auto missing = missingParameter<5>(target, {"LAYER", "TILEMATRIXSET", "TILEMATRIX", "TILEROW", "TILECOL"}))
        return *std::move(missing);
    const auto layer = m_layers.find(*target.parameter("LAYER"));
    if (layer == m_layers.end())
        return wmtsException(400, "InvalidParameterValue", "LAYER", "There is no such layer.");
    if (*target.parameter("TILEMATRIXSET") != kMatrixSet)
        return wmtsException(400, "InvalidParameterValue", "TILEMATRIXSET", "The set is GoogleMapsCompatible.");
    const auto level = wholeNumber(*target.parameter("TILEMATRIX"));
    if (!level || *level > kMaxZoom)
        return wmtsException(400, "InvalidParameterValue", "TILEMATRIX", "There is no such level.");
    const int zoom = static_cast<int>(*level);
    const auto column = wholeNumber(*target.parameter("TILECOL"));
    const auto row = wholeNumber(*target.parameter("TILEROW"));
    if (!column || !row || !isInWorld(zoom, *column, *row)) {
        const bool isColumnGood = column && isInWorld(zoom, *column, 0);
        return wmtsException(400, "TileOutOfRange", isColumnGood ? "TILEROW" : "TILECOL",
                             "The level has no such tile.");
    }
    return tile(*layer->second, zoom, *column, *row, held);
}

Response TileAnswers::tile(TileLayer &layer, int zoom, std::int64_t column, std::int64_t row,
                           BytesBeingSent *held) const
{
    const char *type = nullptr;
    std::string bytes;
    switch (layer.tile(zoom, column, row, &bytes, &type, &m_load, held)) {
    case TileLayer::Found::Yes:
        return makeResponse(200, type, std::move(bytes));
    case TileLayer::Found::No:
        return plainText(404, "There is no such tile.\n");
    case TileLayer::Found::TooBusy:
        return tooManyBytes();
    case TileLayer::Found::Unreadable:
        break;
    }
    return plainText(500, "The tile cannot be read.\n");
}

/** A document about all layers. Its size is known only when it is made, so the maximum is taken before. */
Response TileAnswers::document(const char *type, const std::function<std::string()> &text, BytesBeingSent *held) const
{
    if (!held->take(m_load, kMaxDocumentBytes))
        return tooManyBytes();
    Response response = makeResponse(200, type, text());
    held->shrinkTo(response.body().size());
    return response;
}

} // namespace wmts
