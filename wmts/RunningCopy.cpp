#include "RunningCopy.h"

#include "TileAnswers.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/write.hpp>
#include <chrono>
#include <string>

namespace wmts
{

namespace
{

namespace asio = boost::asio;
namespace http = boost::beast::http;

constexpr std::chrono::seconds kPatience{2};

/** Asks for the headers of the list of layers and looks at who answers. */
class Question
{
public:
    explicit Question(int port)
        : m_endpoint(asio::ip::address_v4::loopback(), static_cast<unsigned short>(port))
        , m_socket(m_context)
        , m_request(http::verb::head, "/layers.json", 11)
    {
        m_request.set(http::field::host, "127.0.0.1:" + std::to_string(port));
    }

    bool ask()
    {
        m_socket.async_connect(m_endpoint, [this](const boost::system::error_code &error) {
            if (!error)
                send();
        });
        m_context.run_for(kPatience);
        return m_isOurs;
    }

private:
    void send()
    {
        http::async_write(m_socket, m_request, [this](const boost::system::error_code &error, std::size_t) {
            if (!error)
                receive();
        });
    }

    void receive()
    {
        http::async_read_header(m_socket, m_buffer, m_answer,
                                [this](const boost::system::error_code &error, std::size_t) {
                                    m_isOurs = !error && m_answer.get()[http::field::server] == kServerName;
                                });
    }

    asio::io_context m_context;
    asio::ip::tcp::endpoint m_endpoint;
    asio::ip::tcp::socket m_socket;
    http::request<http::empty_body> m_request;
    boost::beast::flat_buffer m_buffer;
    http::response_parser<http::empty_body> m_answer;
    bool m_isOurs = false;
};

} // namespace

bool isRunningAt(int port)
{
    return Question(port).ask();
}

} // namespace wmts
