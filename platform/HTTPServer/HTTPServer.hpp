// SPDX-License-Identifier: Apache-2.0

#pragma once

// HTTP/1.1 on this machine's loopback, for readers of good will and others: what they may send, how long they
// may take and how many there may be is bounded, and one that misbehaves is lost alone. Runs on one executor,
// to whose thread its members belong.

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/awaitable.hpp>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

#include "platform/HTTPServer/HTTPMessage.hpp"

namespace platform {

struct HTTPServerOptions {
    /// Zero takes a free one.
    unsigned short port = 0;
    /// Bytes of a request line with all header fields, and of a body.
    std::uint32_t longestHeader = 16U << 10;
    std::uint64_t longestBody = 1U << 10;
    /// Connections at a time. One more closes the one that has been without a request for the longest; where
    /// all are being answered, itself.
    std::size_t mostConnections = 128;
    /// From when a connection could begin a request until the whole of it has come.
    std::chrono::milliseconds requestLimit = std::chrono::seconds(20);
    /// For one answer, or one event, to be taken.
    std::chrono::milliseconds writeLimit = std::chrono::seconds(20);
    /// Between the signs of life of a stream of events.
    std::chrono::milliseconds beat = std::chrono::seconds(5);
};

class HTTPServer {
  public:
    /// What it throws becomes an answer of status 500 without words.
    using Handler = std::function<boost::asio::awaitable<HTTPResponse>(HTTPRequest)>;

    /// Listens at once. Throws boost::system::system_error where the port is not to be had.
    HTTPServer(const boost::asio::any_io_executor& executor, HTTPServerOptions options);
    /// Closes.
    ~HTTPServer();
    HTTPServer(const HTTPServer&) = delete;
    HTTPServer& operator=(const HTTPServer&) = delete;

    unsigned short port() const;
    std::size_t connectionCount() const;

    /// Answers from now on.
    void serve(Handler handler);
    /// Lets nobody in any more and hangs up on everybody.
    void close();

  private:
    class Engine;
    std::shared_ptr<Engine> engine_;
};

}  // namespace platform
