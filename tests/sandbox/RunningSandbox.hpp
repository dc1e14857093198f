// SPDX-License-Identifier: Apache-2.0

#pragma once

// A sandbox that serves on a thread of its own for the length of a test, and a client that speaks to it byte
// by byte.

#include <boost/json/value.hpp>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "sandbox/Message.hpp"
#include "sandbox/Sandbox.hpp"

namespace tests {

struct Reply {
    /// Zero when the connection ended without one.
    int status = 0;
    std::vector<sandbox::HeaderField> headers = {};
    std::string body = {};
    /// Whether as much of the body came as was announced.
    bool isWhole = false;

    std::string value(std::string_view field) const;
    boost::json::value json() const;
};

/// One connection; plain TCP, or TLS that trusts the given authority.
class Connection {
  public:
    explicit Connection(const std::string& baseURL, const std::string& authority = {});
    ~Connection();

    void send(std::string_view bytes);
    Reply receive();
    bool isClosedByPeer();

  private:
    class Stream;
    std::unique_ptr<Stream> stream_;
};

class RunningSandbox {
  public:
    explicit RunningSandbox(const sandbox::SandboxOptions& options);
    ~RunningSandbox();

    std::string baseURL() const { return sandbox_.baseURL(); }
    const std::optional<sandbox::Certificates>& certificates() const { return sandbox_.certificates(); }

    Reply get(const std::string& target) const;
    Reply post(const std::string& target, const std::vector<sandbox::HeaderField>& headers,
               const std::string& body) const;
    /// The widget's query with the given credential header; none when its name is empty.
    Reply query(const sandbox::HeaderField& credential = {"authorization", "Bearer sandbox-access"}) const;
    Reply refresh(const std::string& refreshToken) const;
    boost::json::value log() const;

  private:
    sandbox::Sandbox sandbox_;
    std::thread thread_;
};

/// Options that find the repository's own scenarios.
sandbox::SandboxOptions serving(const std::string& scenario);
sandbox::SandboxOptions serving(const std::string& scenario, const sandbox::Faults& faults);

std::string requestText(const std::string& method, const std::string& target,
                        const std::vector<sandbox::HeaderField>& headers, const std::string& body);
std::string queryBody();
/// What stands above the query of a signed-in person.
std::vector<sandbox::HeaderField> signedInHeaders();
std::string signedInQuery();
std::string refreshBody(const std::string& refreshToken);

/// The value at a path of keys and positions, as in "/data/deliveriesOrdersList/nodes/0/id".
boost::json::value at(const boost::json::value& value, const std::string& path);
/// A string as it is, anything else as JSON.
std::string text(const boost::json::value& value);

}  // namespace tests
