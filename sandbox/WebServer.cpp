// SPDX-License-Identifier: Apache-2.0

#include "sandbox/WebServer.hpp"

#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/status.hpp>
#include <boost/beast/http/string_body.hpp>
#include <csignal>
#include <exception>
#include <string_view>

#include "platform/Asio/Coroutines.hpp"
#include "platform/HTTPServer/Loopback.hpp"
#include "platform/Log/StandardError.hpp"
#include "sandbox/Error.hpp"

namespace sandbox {
namespace {

namespace asio = boost::asio;
namespace http = boost::beast::http;
using asio::ip::tcp;
using Parser = http::request_parser<http::string_body>;
using SecureStream = asio::ssl::stream<tcp::socket>;
using boost::system::error_code;

constexpr std::uint32_t longestHeader = 64u << 10;
constexpr std::uint64_t longestBody = 4u << 20;

Request requestFrom(const http::request<http::string_body>& message, Origin origin) {
    Request request{.method = std::string(message.method_string()),
                    .target = std::string(message.target()),
                    .body = message.body(),
                    .origin = origin};
    for (const auto& field : message) {
        request.headers.push_back({std::string(field.name_string()), std::string(field.value())});
    }
    return request;
}

/// What goes out, and whether the connection can go on after it.
struct Wire {
    std::string bytes;
    bool isComplete;
};

bool hasBody(int status) {
    return status != 204 && status != 304;
}

Wire wireForm(const Request& request, const Response& response) {
    std::string_view body = response.body;
    const std::string_view half = body.substr(0, body.size() / 2);
    if (response.manner == Manner::truncated) body = half;
    Wire wire{.bytes = "HTTP/1.1 " + std::to_string(response.status) + " " +
                       std::string(http::obsolete_reason(static_cast<http::status>(response.status))) +
                       "\r\n",
              .isComplete = response.manner != Manner::dropped};
    if (hasBody(response.status)) {
        wire.bytes += "Content-Type: " + response.contentType + "\r\n";
        wire.bytes += "Content-Length: " + std::to_string(body.size()) + "\r\n";
    }
    for (const HeaderField& field : response.headers) wire.bytes += field.name + ": " + field.value + "\r\n";
    wire.bytes += "\r\n";
    if (hasBody(response.status) && request.method != "HEAD") {
        wire.bytes += response.manner == Manner::dropped ? half : body;
    }
    return wire;
}

void reset(tcp::socket& socket) {
    error_code ignored;
    socket.set_option(asio::socket_base::linger(true, 0), ignored);
    socket.close(ignored);
}

tcp::socket& lowest(tcp::socket& stream) {
    return stream;
}
tcp::socket& lowest(SecureStream& stream) {
    return stream.next_layer();
}

}  // namespace

class WebServer::Engine {
  public:
    Engine(const WebServerOptions& options, Handler handler)
        : handler_(std::move(handler)),
          scheme_(options.certificates ? "https" : "http"),
          signals_(context_),
          lifeTimer_(context_),
          process_(context_) {
        if (options.certificates) secure(*options.certificates);
        listen(acceptors_[0], options.port);
        listen(acceptors_[1], 0);
        for (const Origin origin : {Origin::first, Origin::second})
            platform::spawn(context_, accept(origin),
                            [this](const std::exception_ptr& failure) { failWith(failure); });
        arrangeTheEnd(options);
    }

    std::string url(Origin origin) const {
        const tcp::acceptor& acceptor = acceptors_[origin == Origin::first ? 0 : 1];
        return scheme_ + "://127.0.0.1:" + std::to_string(acceptor.local_endpoint().port());
    }
    void run() {
        context_.run();
        if (failure_) std::rethrow_exception(failure_);
    }
    void stop() { context_.stop(); }

  private:
    void secure(const Certificates& certificates) {
        secureContext_.emplace(asio::ssl::context::tls_server);
        secureContext_->use_certificate_chain(asio::buffer(certificates.server));
        secureContext_->use_private_key(asio::buffer(certificates.serverKey), asio::ssl::context::pem);
    }

    void listen(tcp::acceptor& acceptor, unsigned short port) {
        try {
            platform::listenOnLoopback(acceptor, port);
        } catch (const boost::system::system_error& error) {
            throw Error("port " + std::to_string(port) + " cannot be listened at: " + error.code().message());
        }
    }

    void arrangeTheEnd(const WebServerOptions& options) {
        if (options.endsOnSignals) {
            signals_.add(SIGTERM);
            signals_.add(SIGINT);
            signals_.async_wait([this](error_code error, int) {
                if (!error) stop();
            });
        }
        if (options.longestLife) {
            lifeTimer_.expires_after(*options.longestLife);
            lifeTimer_.async_wait([this](error_code error) {
                if (!error) stop();
            });
        }
        if (options.endsWithProcess) endWith(*options.endsWithProcess);
    }

    /// Not by the kernel's signal to children: that one comes when a mere thread of the parent ends.
    void endWith(pid_t process) {
        const int descriptor = static_cast<int>(::syscall(SYS_pidfd_open, process, 0));
        if (descriptor < 0) return stop();
        process_.assign(descriptor);
        process_.async_wait(asio::posix::stream_descriptor::wait_read, [this](error_code error) {
            if (!error) stop();
        });
    }

    /// Without a port to listen at there is no server.
    void failWith(const std::exception_ptr& failure) {
        failure_ = failure;
        stop();
    }

    /// One connection is lost; the others are none the worse.
    static void report(const std::exception_ptr& failure) {
        try {
            std::rethrow_exception(failure);
        } catch (const std::exception& error) {
            platform::writeLineToStandardError(
                std::string("vela-sandbox: a request could not be answered: ") + error.what());
        }
    }

    asio::awaitable<void> accept(Origin origin) {
        tcp::acceptor& acceptor = acceptors_[origin == Origin::first ? 0 : 1];
        for (;;) {
            error_code error;
            tcp::socket socket =
                co_await acceptor.async_accept(asio::redirect_error(asio::use_awaitable, error));
            if (error == asio::error::operation_aborted) co_return;
            if (error) continue;
            error_code ignored;
            socket.set_option(tcp::no_delay(true), ignored);
            platform::spawn(
                context_,
                secureContext_ ? serveSecurely(std::move(socket), origin) : serve(std::move(socket), origin),
                report);
        }
    }

    asio::awaitable<void> serveSecurely(tcp::socket socket, Origin origin) {
        SecureStream stream(std::move(socket), *secureContext_);
        error_code error;
        co_await stream.async_handshake(SecureStream::server,
                                        asio::redirect_error(asio::use_awaitable, error));
        if (!error) co_await converse(stream, origin);
    }

    asio::awaitable<void> serve(tcp::socket socket, Origin origin) { co_await converse(socket, origin); }

    /// One request after the other, until either side has had enough.
    template <typename Stream>
    asio::awaitable<void> converse(Stream& stream, Origin origin) {
        boost::beast::flat_buffer buffer;
        bool goesOn = true;
        while (goesOn) {
            Parser parser;
            parser.header_limit(longestHeader);
            parser.body_limit(longestBody);
            error_code error;
            co_await http::async_read(stream, buffer, parser,
                                      asio::redirect_error(asio::use_awaitable, error));
            if (error) break;
            const bool keepAlive = parser.get().keep_alive();
            const Request request = requestFrom(parser.get(), origin);
            const Served served = handler_(request);
            if (served.delay.count() > 0) co_await pause(served.delay);
            if (served.response.manner == Manner::stalled) co_await waitForTheEnd(stream);
            if (served.response.manner == Manner::reset) reset(lowest(stream));
            if (!lowest(stream).is_open()) co_return;
            const Wire wire = wireForm(request, served.response);
            co_await asio::async_write(stream, asio::buffer(wire.bytes),
                                       asio::redirect_error(asio::use_awaitable, error));
            goesOn = !error && keepAlive && wire.isComplete && served.persistence == Persistence::kept;
        }
        error_code ignored;
        lowest(stream).shutdown(tcp::socket::shutdown_both, ignored);
    }

    asio::awaitable<void> pause(std::chrono::milliseconds duration) {
        asio::steady_timer timer(context_, duration);
        error_code ignored;
        co_await timer.async_wait(asio::redirect_error(asio::use_awaitable, ignored));
    }

    /// Takes what comes and gives nothing, until the client closes.
    template <typename Stream>
    asio::awaitable<void> waitForTheEnd(Stream& stream) {
        std::array<char, 1024> unread = {};
        error_code error;
        while (!error) {
            co_await stream.async_read_some(asio::buffer(unread),
                                            asio::redirect_error(asio::use_awaitable, error));
        }
        lowest(stream).close(error);
    }

    Handler handler_;
    std::string scheme_;
    asio::io_context context_{1};
    std::optional<asio::ssl::context> secureContext_;
    std::array<tcp::acceptor, 2> acceptors_ = {tcp::acceptor(context_), tcp::acceptor(context_)};
    asio::signal_set signals_;
    asio::steady_timer lifeTimer_;
    /// Readable when the process has ended that this one ends with.
    asio::posix::stream_descriptor process_;
    std::exception_ptr failure_;
};

WebServer::WebServer(const WebServerOptions& options, Handler handler)
    : engine_(std::make_unique<Engine>(options, std::move(handler))) {}

WebServer::~WebServer() = default;

std::string WebServer::url(Origin origin) const {
    return engine_->url(origin);
}

void WebServer::run() {
    engine_->run();
}

void WebServer::stop() {
    engine_->stop();
}

}  // namespace sandbox
