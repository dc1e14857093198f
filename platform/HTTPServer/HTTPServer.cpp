// SPDX-License-Identifier: Apache-2.0

#include "platform/HTTPServer/HTTPServer.hpp"

#include <algorithm>
#include <array>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http/error.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/status.hpp>
#include <boost/beast/http/string_body.hpp>
#include <list>
#include <utility>

#include "platform/Asio/Coroutines.hpp"
#include "platform/Asio/Pause.hpp"
#include "platform/HTTPServer/EventStream.hpp"
#include "platform/HTTPServer/Loopback.hpp"
#include "platform/ProcessInfo/ProcessInfo.hpp"

namespace platform {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
using asio::ip::tcp;
using boost::system::error_code;

namespace {

using Parser = http::request_parser<http::string_body>;

/// Where the system has no room for a connection (EMFILE, ENOBUFS), it may have later.
constexpr std::chrono::milliseconds acceptPause(100);
constexpr std::chrono::milliseconds drainLimit(1000);

HTTPRequest requestFrom(const http::request<http::string_body>& message) {
    HTTPRequest request{.method = std::string(message.method_string()),
                        .target = std::string(message.target()),
                        .body = message.body()};
    for (const auto& field : message)
        request.fields.push_back({std::string(field.name_string()), std::string(field.value())});
    return request;
}

/// What is said to a request that could not be read; 0 where nobody is left to be told.
int statusFor(const error_code& error) {
    if (error == http::error::header_limit || error == http::error::buffer_overflow) return 431;
    if (error == http::error::body_limit) return 413;
    if (error == http::error::end_of_stream || error == http::error::partial_message) return 0;
    return error.category() == http::make_error_code(http::error::end_of_stream).category() ? 400 : 0;
}

enum class Body { written, left };

std::string wireForm(const HTTPResponse& response, Body body, bool goesOn) {
    std::string bytes = "HTTP/1.1 " + std::to_string(response.status) + " " +
                        std::string(http::obsolete_reason(static_cast<http::status>(response.status))) +
                        "\r\n";
    for (const HTTPField& field : response.fields) bytes += field.name + ": " + field.value + "\r\n";
    if (!response.events) bytes += "Content-Length: " + std::to_string(response.body.size()) + "\r\n";
    if (!goesOn) bytes += "Connection: close\r\n";
    bytes += "\r\n";
    if (body == Body::written) bytes += response.body;
    return bytes;
}

}  // namespace

class HTTPServer::Engine : public std::enable_shared_from_this<Engine> {
  public:
    Engine(const asio::any_io_executor& executor, HTTPServerOptions options)
        : options_(options), acceptor_(executor) {
        // Where none is left for one more to be accepted, the idlest could not yield to it.
        options_.mostConnections = connectionsWithin(options_.mostConnections);
        listenOnLoopback(acceptor_, options_.port);
        port_ = acceptor_.local_endpoint().port();
    }

    unsigned short port() const { return port_; }
    std::size_t connectionCount() const { return connections_.size(); }

    void serve(Handler handler) {
        handler_ = std::move(handler);
        spawn(acceptor_.get_executor(), accept(shared_from_this()), [](const std::exception_ptr&) {});
    }

    void close() {
        error_code ignored;
        acceptor_.close(ignored);
        for (const auto& connection : connections_) connection->hangUp();
    }

  private:
    struct Connection {
        explicit Connection(tcp::socket socket) : stream(std::move(socket)) {}
        void hangUp() {
            if (events) events->end();
            stream.close();
        }
        beast::tcp_stream stream;
        bool isAwaitingRequest = true;
        std::shared_ptr<EventStream> events = nullptr;
    };
    using Connections = std::list<std::shared_ptr<Connection>>;

    static asio::awaitable<void> accept(std::shared_ptr<Engine> engine) {
        while (engine->acceptor_.is_open()) {
            error_code error;
            tcp::socket socket =
                co_await engine->acceptor_.async_accept(asio::redirect_error(asio::use_awaitable, error));
            if (error == asio::error::operation_aborted) co_return;
            if (error) {
                co_await pause(acceptPause);
                continue;
            }
            error_code ignored;
            socket.set_option(tcp::no_delay(true), ignored);
            engine->begin(std::move(socket));
        }
    }

    void begin(tcp::socket socket) {
        if (connections_.size() >= options_.mostConnections && !dropIdlest()) return;
        const auto place =
            connections_.insert(connections_.end(), std::make_shared<Connection>(std::move(socket)));
        spawn(acceptor_.get_executor(), attend(shared_from_this(), place), [](const std::exception_ptr&) {});
    }

    /// False where everybody is being answered. The list has those first that have waited for the longest.
    bool dropIdlest() {
        const auto idlest = std::ranges::find_if(connections_, [](const auto& each) {
            return each->isAwaitingRequest && each->stream.socket().is_open();
        });
        if (idlest == connections_.end()) return false;
        (*idlest)->hangUp();
        return true;
    }

    static asio::awaitable<void> attend(std::shared_ptr<Engine> engine, Connections::iterator place) {
        // Gone from the list however it ends, also with the executor.
        const std::shared_ptr<void> leaving(nullptr,
                                            [engine, place](void*) { engine->connections_.erase(place); });
        const auto connection = *place;
        beast::flat_buffer buffer(engine->options_.longestHeader + engine->options_.longestBody + 1);
        bool goesOn = true;
        while (goesOn) {
            engine->connections_.splice(engine->connections_.end(), engine->connections_, place);
            goesOn = co_await engine->converse(connection, buffer);
        }
        error_code ignored;
        connection->stream.socket().shutdown(tcp::socket::shutdown_send, ignored);
        connection->stream.close();
    }

    /// One request and its answer; false where there is to be no other.
    asio::awaitable<bool> converse(std::shared_ptr<Connection> connection, beast::flat_buffer& buffer) {
        Parser parser;
        parser.header_limit(options_.longestHeader);
        parser.body_limit(options_.longestBody);
        connection->isAwaitingRequest = true;
        connection->stream.expires_after(options_.requestLimit);
        error_code error;
        co_await http::async_read(connection->stream, buffer, parser,
                                  asio::redirect_error(asio::use_awaitable, error));
        connection->isAwaitingRequest = false;
        if (error) {
            co_await refuse(connection, statusFor(error));
            co_return false;
        }
        const Body body = parser.get().method() == http::verb::head ? Body::left : Body::written;
        const bool keepsAlive = parser.get().keep_alive();
        HTTPRequest request = requestFrom(parser.get());
        const HTTPResponse response = co_await answer(std::move(request));
        const bool goesOn = keepsAlive && !response.events;
        std::string bytes = wireForm(response, body, goesOn);
        const bool isTaken = co_await write(connection, std::move(bytes));
        if (isTaken && response.events && body == Body::written)
            co_await writeEvents(connection, response.events);
        else if (response.events)
            response.events->end();
        co_return isTaken&& goesOn;
    }

    /// Says so, and takes what is still coming for a moment: an answer is lost where a connection is closed
    /// on what nobody has read.
    asio::awaitable<void> refuse(std::shared_ptr<Connection> connection, int status) {
        if (status == 0) co_return;
        const HTTPResponse response{.status = status};
        std::string bytes = wireForm(response, Body::written, false);
        co_await write(connection, std::move(bytes));
        error_code error;
        connection->stream.socket().shutdown(tcp::socket::shutdown_send, error);
        connection->stream.expires_after(drainLimit);
        std::array<char, 4096> unread;
        while (!error)
            co_await connection->stream.async_read_some(asio::buffer(unread),
                                                        asio::redirect_error(asio::use_awaitable, error));
    }

    asio::awaitable<HTTPResponse> answer(HTTPRequest request) {
        try {
            co_return co_await handler_(std::move(request));
        } catch (const std::exception&) {
            // Said below.
        }
        co_return HTTPResponse{.status = 500};
    }

    asio::awaitable<bool> write(std::shared_ptr<Connection> connection, std::string bytes) {
        connection->stream.expires_after(options_.writeLimit);
        error_code error;
        co_await asio::async_write(connection->stream, asio::buffer(bytes),
                                   asio::redirect_error(asio::use_awaitable, error));
        co_return !error;
    }

    asio::awaitable<void> writeEvents(std::shared_ptr<Connection> connection,
                                      std::shared_ptr<EventStream> events) {
        connection->events = events;
        // Whoever reads events has nothing more to say: what comes is the end.
        connection->stream.socket().async_wait(tcp::socket::wait_read,
                                               [events](const error_code&) { events->end(); });
        while (true) {
            auto text = co_await events->next(options_.beat);
            if (!text) break;
            const bool isTaken = co_await write(connection, std::move(*text));
            if (!isTaken) break;
        }
        events->end();
    }

    HTTPServerOptions options_;
    tcp::acceptor acceptor_;
    unsigned short port_ = 0;
    Handler handler_;
    Connections connections_;
};

HTTPServer::HTTPServer(const asio::any_io_executor& executor, HTTPServerOptions options)
    : engine_(std::make_shared<Engine>(executor, options)) {}

HTTPServer::~HTTPServer() {
    close();
}

unsigned short HTTPServer::port() const {
    return engine_->port();
}

std::size_t HTTPServer::connectionCount() const {
    return engine_->connectionCount();
}

void HTTPServer::serve(Handler handler) {
    engine_->serve(std::move(handler));
}

void HTTPServer::close() {
    engine_->close();
}

}  // namespace platform
