// SPDX-License-Identifier: Apache-2.0

#pragma once

// HTTP/1.1 on loopback, over plain sockets or TLS. It reads requests as they stand on the wire, spelling and
// order of the header fields included, and writes replies byte by byte, so that it can also write them
// wrongly. Runs on the thread that calls `run`; `stop` may be called from any thread.

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "sandbox/Certificates.hpp"
#include "sandbox/Faults.hpp"
#include "sandbox/Message.hpp"

namespace sandbox {

struct Served {
    Response response;
    std::chrono::milliseconds delay = std::chrono::milliseconds(0);
    Persistence persistence = Persistence::kept;
};

struct WebServerOptions {
    /// Zero takes a free one.
    unsigned short port = 0;
    std::optional<Certificates> certificates = std::nullopt;
    /// SIGTERM and SIGINT end `run`.
    bool endsOnSignals = false;
    /// `run` ends when that process has ended.
    std::optional<pid_t> endsWithProcess = std::nullopt;
    std::optional<std::chrono::seconds> longestLife = std::nullopt;
};

class WebServer {
  public:
    using Handler = std::function<Served(const Request&)>;

    /// Listens at once, at two ports. Throws Error when the port is taken.
    WebServer(const WebServerOptions& options, Handler handler);
    ~WebServer();
    WebServer(const WebServer&) = delete;
    WebServer& operator=(const WebServer&) = delete;

    /// As in http://127.0.0.1:40123.
    std::string url(Origin origin) const;

    /// Throws what keeps it from listening on. A request whose handler throws is not answered; why is said on
    /// standard error.
    void run();
    void stop();

  private:
    class Engine;
    std::unique_ptr<Engine> engine_;
};

}  // namespace sandbox
