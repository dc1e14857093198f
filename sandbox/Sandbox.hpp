// SPDX-License-Identifier: Apache-2.0

#pragma once

// The sandbox: an account server, an event collector and a gallery of pictures on one loopback port, for
// sample people. Serves on the thread that calls `run`; `stop` may be called from any thread.

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "sandbox/AccountServer.hpp"
#include "sandbox/Faults.hpp"
#include "sandbox/WebServer.hpp"

namespace sandbox {

enum class Transport { plain, tls };

struct SandboxOptions {
    /// The name of a scenario or a file.
    std::string scenario = "everyday";
    /// The folder of the scenarios and of the catalogue of pictures.
    std::filesystem::path dataFolder;
    /// Zero takes a free one.
    unsigned short port = 0;
    Refusal refusal = Refusal::status401;
    Faults faults = {};
    Transport transport = Transport::plain;
    /// Of the server: when `run` ends by itself.
    bool endsOnSignals = false;
    std::optional<pid_t> endsWithProcess = std::nullopt;
    std::optional<std::chrono::seconds> longestLife = std::nullopt;
};

class Sandbox {
  public:
    /// Reads its data and listens. Throws Error.
    explicit Sandbox(const SandboxOptions& options);
    ~Sandbox();
    Sandbox(const Sandbox&) = delete;
    Sandbox& operator=(const Sandbox&) = delete;

    /// As in http://127.0.0.1:40123.
    std::string baseURL() const;
    /// What a client must trust, where the transport is TLS.
    const std::optional<Certificates>& certificates() const;

    void run();
    void stop();

  private:
    class Services;
    std::optional<Certificates> certificates_;
    std::unique_ptr<Services> services_;
    std::unique_ptr<WebServer> server_;
};

}  // namespace sandbox
