#include "TileServer.h"

#include "ConnectionThreads.h"
#include "Platform.h"
#include "RequestHead.h"
#include "TileAddress.h"
#include "WmtsDocuments.h"

#include <algorithm>
#include <chrono>
#include <future>
#include <thread>

namespace wmts
{

namespace
{

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kMostIdle{5000};
constexpr milliseconds kMostHead{5000};
constexpr milliseconds kMostResponse{10000};
constexpr milliseconds kMostDrain{1000};
constexpr milliseconds kSlice{200}; // how soon a waiting connection sees the end of the service
constexpr int kMostRequests = 10000; // on one connection
constexpr int kBacklog = 256;
constexpr const char *kHost = "127.0.0.1";
constexpr const char *kServerName = "ostravel-wmts"; // a second copy knows the first by it

// Bytes of the response that this thread has under way.
thread_local std::size_t t_held = 0;
// The page that this thread answers to; empty for what is no page. The library does not see the header.
thread_local std::string t_origin;

const char *reasonOf(int status)
{
    switch (status) {
    case 403:
        return "Forbidden";
    case 408:
        return "Request Timeout";
    case 414:
        return "URI Too Long";
    case 431:
        return "Request Header Fields Too Large";
    default:
        return "Bad Request";
    }
}

void say(httplib::Response &response, int status, const char *text)
{
    response.status = status;
    response.set_content(text, "text/plain");
}

void except(httplib::Response &response, int status, const char *code, std::string_view locator, std::string_view text)
{
    response.status = status;
    response.set_content(exceptionXml(code, locator, text), "text/xml");
}

/** The value of a key of the query, which WMTS takes in any case; nullptr without it. */
const std::string *parameter(const httplib::Request &request, std::string_view name)
{
    const auto sameName = [name](const std::pair<const std::string, std::string> &entry) {
        return std::equal(entry.first.begin(), entry.first.end(), name.begin(), name.end(),
                          [](char a, char b) { return (a >= 'a' && a <= 'z' ? a - 'a' + 'A' : a) == b; });
    };
    const auto found = std::find_if(request.params.begin(), request.params.end(), sameName);
    return found == request.params.end() ? nullptr : &found->second;
}

} // namespace

/** An accepted socket with limits of time. */
class TileServer::Connection
{
public:
    Connection(socket_t socket, const std::atomic<bool> &ending)
        : m_socket(socket)
        , m_ending(ending)
    {
        platform::setConnectionOptions(socket);
    }
    ~Connection() { platform::closeConnection(m_socket); }
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;

    socket_t socket() const { return m_socket; }
    bool isBroken() const { return m_broken; }

    /** Wait for the first byte of a request and read its head. @return false when there is nothing to answer */
    bool readHead(RequestHead *head, bool *timedOut)
    {
        *timedOut = false;
        Clock::time_point deadline = Clock::now() + kMostIdle;
        bool begun = false;
        while (!head->ended()) {
            if (m_begin == m_end && !fill(deadline)) {
                *timedOut = begun && Clock::now() >= deadline;
                return *timedOut;
            }
            m_begin += head->take(std::string_view(m_buffer + m_begin, m_end - m_begin));
            if (!begun) {
                begun = true;
                deadline = Clock::now() + kMostHead;
            }
        }
        return true;
    }

    void beginResponse() { m_responseEnd = Clock::now() + kMostResponse; }

    bool write(const char *bytes, std::size_t size)
    {
        while (size > 0 && !m_broken) {
            std::size_t moved = 0;
            switch (platform::sendSome(m_socket, bytes, size, &moved)) {
            case platform::Transfer::Done:
                bytes += moved;
                size -= moved;
                break;
            case platform::Transfer::WouldWait:
                m_broken = !wait(platform::waitWritable, m_responseEnd);
                break;
            case platform::Transfer::Ended:
                m_broken = true;
                break;
            }
        }
        return !m_broken;
    }

    void writeError(int status)
    {
        beginResponse();
        const std::string text = "HTTP/1.1 " + std::to_string(status) + ' ' + reasonOf(status) + "\r\nServer: "
            + kServerName + "\r\nConnection: close\r\nContent-Length: 0\r\n\r\n";
        write(text.data(), text.size());
    }

    /** Closing over unread bytes would take the answer away from who sent them. */
    void drain()
    {
        if (m_broken)
            return;
        platform::endSending(m_socket);
        const Clock::time_point deadline = Clock::now() + kMostDrain;
        for (std::size_t drained = 0; drained < kMostDiscarded && fill(deadline); drained += m_end) { }
    }

private:
    using Wait = bool (*)(socket_t, milliseconds);

    bool wait(Wait ready, Clock::time_point deadline) const
    {
        while (!m_ending) {
            const auto left = std::chrono::ceil<milliseconds>(deadline - Clock::now());
            if (left.count() <= 0)
                return false;
            if (ready(m_socket, std::min(left, kSlice)))
                return true;
        }
        return false;
    }

    bool fill(Clock::time_point deadline)
    {
        m_begin = m_end = 0;
        while (Clock::now() < deadline && !m_ending) {
            const auto result = platform::receiveSome(m_socket, m_buffer, sizeof m_buffer, &m_end);
            if (result == platform::Transfer::Done)
                return true;
            if (result == platform::Transfer::Ended || !wait(platform::waitReadable, deadline))
                return false;
        }
        return false;
    }

    const socket_t m_socket;
    const std::atomic<bool> &m_ending;
    char m_buffer[4096];
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
    Clock::time_point m_responseEnd;
    bool m_broken = false;
};

/** Gives the library a request line and takes its response. */
class TileServer::RequestStream : public httplib::Stream
{
public:
    RequestStream(Connection &connection, const RequestHead &head)
        : m_connection(connection)
        , m_text(head.requestLine() + "\r\n\r\n")
    {
    }

    bool is_readable() const override { return m_read < m_text.size(); }
    bool is_writable() const override { return !m_connection.isBroken(); }
    ssize_t read(char *bytes, size_t size) override
    {
        const std::size_t count = m_text.copy(bytes, size, m_read);
        m_read += count;
        return static_cast<ssize_t>(count);
    }
    ssize_t write(const char *bytes, size_t size) override
    {
        return m_connection.write(bytes, size) ? static_cast<ssize_t>(size) : -1;
    }
    void get_remote_ip_and_port(std::string &, int &) const override { }
    void get_local_ip_and_port(std::string &, int &) const override { }
    socket_t socket() const override { return m_connection.socket(); }

private:
    Connection &m_connection;
    const std::string m_text;
    std::size_t m_read = 0;
};

TileServer::TileServer()
{
    set_socket_options(platform::setListeningOptions);
    set_default_headers({{"Server", kServerName},
                         {"Vary", "Origin"}, // no cache may give one page's answer to another
                         {"X-Content-Type-Options", "nosniff"}});
    // Before the library's own routing, which reads bodies and matches regular expressions.
    set_pre_routing_handler([this](const httplib::Request &request, httplib::Response &response) {
        answer(request, response);
        return HandlerResponse::Handled;
    });
    new_task_queue = [] { return new ConnectionThreads; };
}

int TileServer::bind(int port, platform::SocketError *error)
{
    const int bound = port == 0 ? bind_to_any_port(kHost) : bind_to_port(kHost, port) ? port : -1;
    if (bound <= 0) {
        *error = platform::lastSocketError();
        return -1;
    }
    platform::widenBacklog(svr_sock_, kBacklog);
    m_address = std::string("http://") + kHost + ':' + std::to_string(bound);
    m_names.emplace(bound);
    return bound;
}

bool TileServer::serve(const Layers &layers)
{
    m_layers = &layers;
    const bool good = listen_after_bind();
    m_over = true;
    return good;
}

void TileServer::end()
{
    m_ending = true;
    // The library forgets a stop that comes before it runs.
    while (!is_running() && !m_over)
        std::this_thread::sleep_for(milliseconds(10));
    if (!m_over)
        stop();
}

bool TileServer::process_and_close_socket(socket_t socket)
{
    Connection connection(socket, m_ending);
    try {
        serveRequests(connection);
    } catch (const std::exception &) {
        // Out of memory: this connection is lost, the others go on.
    }
    m_underWay -= t_held;
    t_held = 0;
    return true;
}

void TileServer::serveRequests(Connection &connection)
{
    for (int count = 0; count < kMostRequests && !m_ending; ++count) {
        RequestHead head;
        bool timedOut = false;
        if (!connection.readHead(&head, &timedOut))
            return;
        const int refusal = timedOut ? 408 : head.error() != 0 ? head.error() : refusalOf(head);
        if (refusal != 0) {
            connection.writeError(refusal);
            break;
        }
        t_origin = head.origins().empty() ? std::string() : head.origins().front();
        const bool last = head.closes() || count + 1 == kMostRequests;
        bool closed = false;
        RequestStream stream(connection, head);
        connection.beginResponse();
        const bool good = process_request(stream, last, closed, nullptr);
        m_underWay -= t_held;
        t_held = 0;
        if (!good || closed || last || connection.isBroken())
            break;
    }
    connection.drain();
}

int TileServer::refusalOf(const RequestHead &head) const
{
    // HTTP/1.0 does without the header, but no browser does: whoever leaves it out, or sends two that proxies may take
    // for different ones, is told that the request is no good.
    if (head.hosts().size() != 1)
        return 400;
    const bool pagesAreOurs = std::all_of(head.origins().begin(), head.origins().end(),
                                          [this](const std::string &origin) { return m_names->isOrigin(origin); });
    return m_names->isHost(head.hosts().front()) && pagesAreOurs ? 0 : 403;
}

void TileServer::answer(const httplib::Request &request, httplib::Response &response)
{
    if (!t_origin.empty())
        response.set_header("Access-Control-Allow-Origin", t_origin);
    if (request.method == "OPTIONS") {
        // Access to the private network is not granted: browsers ask for it on behalf of pages from the network alone,
        // of which some hide behind the origin "null" too.
        response.status = 204;
        response.set_header("Access-Control-Allow-Methods", "GET, HEAD");
        return;
    }
    if (request.method != "GET" && request.method != "HEAD") {
        response.set_header("Allow", "GET, HEAD, OPTIONS");
        say(response, 405, "Only GET and HEAD are answered.\n");
        return;
    }
    if (request.path == "/layers.json") {
        response.status = 200;
        response.set_content(layersJson(*m_layers), "application/json");
        return;
    }
    if (request.path == "/wmts") {
        answerWmts(request, response);
        return;
    }
    const auto address = parseTilePath(request.path);
    if (!address) {
        const bool tileShaped = std::count(request.path.begin(), request.path.end(), '/') == 4;
        say(response, tileShaped ? 400 : 404, "The address of a tile is /{layer}/{z}/{x}/{y}.\n");
        return;
    }
    const auto layer = m_layers->find(address->layer);
    if (layer == m_layers->end()) {
        say(response, 404, "There is no such layer.\n");
        return;
    }
    answerTile(*layer->second, address->zoom, address->column, address->row, response);
}

void TileServer::answerWmts(const httplib::Request &request, httplib::Response &response)
{
    for (const char *const name : {"SERVICE", "REQUEST"}) {
        if (!parameter(request, name)) {
            except(response, 400, "MissingParameterValue", name, "A parameter is missing.");
            return;
        }
    }
    if (*parameter(request, "SERVICE") != "WMTS") {
        except(response, 400, "InvalidParameterValue", "SERVICE", "The service is WMTS.");
        return;
    }
    const std::string &operation = *parameter(request, "REQUEST");
    if (operation == "GetCapabilities") {
        response.status = 200;
        response.set_content(capabilitiesXml(*m_layers, m_address), "text/xml");
        return;
    }
    if (operation != "GetTile") {
        except(response, 501, "OperationNotSupported", "REQUEST", "The operations are GetCapabilities and GetTile.");
        return;
    }
    // STYLE and FORMAT are required by the standard and have one value here; nobody is served worse without them.
    for (const char *const name : {"LAYER", "TILEMATRIXSET", "TILEMATRIX", "TILEROW", "TILECOL"}) {
        if (!parameter(request, name)) {
            except(response, 400, "MissingParameterValue", name, "A parameter is missing.");
            return;
        }
    }
    const auto layer = m_layers->find(*parameter(request, "LAYER"));
    if (layer == m_layers->end()) {
        except(response, 400, "InvalidParameterValue", "LAYER", "There is no such layer.");
        return;
    }
    if (*parameter(request, "TILEMATRIXSET") != kMatrixSet) {
        except(response, 400, "InvalidParameterValue", "TILEMATRIXSET", "The set is GoogleMapsCompatible.");
        return;
    }
    const auto zoom = wholeNumber(*parameter(request, "TILEMATRIX"));
    if (!zoom || *zoom > kMostZoom) {
        except(response, 400, "InvalidParameterValue", "TILEMATRIX", "There is no such level.");
        return;
    }
    const auto column = wholeNumber(*parameter(request, "TILECOL"));
    const auto row = wholeNumber(*parameter(request, "TILEROW"));
    if (!column || !row || !isInWorld(static_cast<int>(*zoom), *column, *row)) {
        const bool columnIsGood = column && isInWorld(static_cast<int>(*zoom), *column, 0);
        except(response, 400, "TileOutOfRange", columnIsGood ? "TILEROW" : "TILECOL", "The level has no such tile.");
        return;
    }
    answerTile(*layer->second, static_cast<int>(*zoom), *column, *row, response);
}

void TileServer::answerTile(TileLayer &layer, int zoom, std::int64_t column, std::int64_t row,
                            httplib::Response &response)
{
    // Slow readers hold their tiles in memory until their time is over.
    if (m_underWay > kMostBytesUnderWay) {
        say(response, 503, "Too much is under way.\n");
        return;
    }
    const char *type = nullptr;
    switch (layer.tile(zoom, column, row, &response.body, &type)) {
    case TileLayer::Found::Yes:
        t_held = response.body.size();
        m_underWay += t_held;
        response.status = 200;
        response.set_header("Content-Type", type);
        break;
    case TileLayer::Found::No:
        say(response, 404, "There is no such tile.\n");
        break;
    case TileLayer::Found::Unreadable:
        say(response, 500, "The tile cannot be read.\n");
        break;
    }
}

bool isOursAt(int port)
{
    // Whatever owns the port may never come to an end, hence a thread of its own that is left behind.
    std::promise<bool> promise;
    std::future<bool> result = promise.get_future();
    std::thread([port, promise = std::move(promise)]() mutable {
        httplib::Client client(kHost, port);
        client.set_connection_timeout(1);
        client.set_read_timeout(1);
        const httplib::Result answer = client.Head("/layers.json");
        promise.set_value(answer && answer->get_header_value("Server") == kServerName);
    }).detach();
    return result.wait_for(std::chrono::seconds(2)) == std::future_status::ready && result.get();
}

} // namespace wmts
