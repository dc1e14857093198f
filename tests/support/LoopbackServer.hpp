// SPDX-License-Identifier: Apache-2.0

#pragma once

// A server on loopback that does what the test says with every request, well-behaved or not, and keeps each
// request byte for byte. It takes a free port and ends with its object, whatever its connections are doing.

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "platform/URL/URL.hpp"

namespace platform::testing {

struct ReceivedRequest {
    /// Request line and header lines, with the empty line that ends them.
    std::string head;
    std::string body;
    /// Counted from 0 in the order in which connections were made.
    int connection = 0;

    std::string method() const;
    std::string target() const;
    /// The header lines as they stood, without their line ends.
    std::vector<std::string> headerLines() const;
    /// Empty when there is no such field; names compare without case.
    std::string header(std::string_view name) const;
};

class LoopbackServer {
  public:
    /// The connection that a request came on. It stays open for the next request unless it is closed here.
    class Peer {
      public:
        explicit Peer(int socket) : socket_(socket) {}

        /// False when nobody takes the bytes any more.
        bool send(std::string_view bytes);
        /// Waits until the other side has gone or the server ends.
        void stall();
        void close();
        /// Closes with a reset in place of an orderly end.
        void reset();

      private:
        friend class LoopbackServer;
        int socket_;
        bool isOpen_ = true;
    };

    using Handler = std::function<void(const ReceivedRequest& request, Peer& peer)>;

    /// How much of a request has been read when the handler is called; the rest stays where it is.
    enum class Reading { nothing, head, everything };

    explicit LoopbackServer(Handler handler, Reading reading = Reading::everything);
    /// Sends the same bytes in answer to every request.
    explicit LoopbackServer(std::string reply);
    ~LoopbackServer();
    LoopbackServer(const LoopbackServer&) = delete;
    LoopbackServer& operator=(const LoopbackServer&) = delete;

    std::uint16_t port() const { return port_; }
    /// "http://127.0.0.1:PORT" and the path.
    URL url(std::string_view path = "/") const;

    std::vector<ReceivedRequest> requests() const;
    int connections() const;
    /// False when there were still fewer after a long wait.
    bool waitForRequests(std::size_t count) const;

  private:
    void accept();
    void serve(int socket, int connection);

    Handler handler_;
    Reading reading_;
    int listener_;
    std::uint16_t port_ = 0;
    mutable std::mutex mutex_;
    bool isEnding_ = false;
    std::vector<int> sockets_;
    std::vector<std::thread> threads_;
    std::vector<ReceivedRequest> requests_;
    std::thread acceptor_;
};

/// A well-formed reply; each of `headerLines` without its line end.
std::string httpReply(int statusCode, std::string_view body,
                      const std::vector<std::string>& headerLines = {});

/// A port on loopback that nobody listens on for as long as this process lives.
std::uint16_t unusedPort();

}  // namespace platform::testing
