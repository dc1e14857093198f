// SPDX-License-Identifier: Apache-2.0

#pragma once

// A client on loopback that says what a test says, byte for byte, whether that is good manners or not. Waits
// for an answer as long as its patience lasts.

#include <string>
#include <string_view>

namespace platform::testing {

class WireClient {
  public:
    explicit WireClient(unsigned short port);
    ~WireClient();
    WireClient(const WireClient&) = delete;
    WireClient& operator=(const WireClient&) = delete;
    WireClient(WireClient&& other) noexcept;

    bool isConnected() const { return socket_ >= 0; }
    /// False where nobody takes them any more.
    bool say(std::string_view bytes);
    /// Says no more.
    void finish();
    /// As much as comes until `end` has come, or everything until the other side closes.
    std::string hear(std::string_view end);
    std::string hearAll() { return hear({}); }
    /// Whether the other side has closed, or does before the wait ends.
    bool hasEnded();

  private:
    int socket_ = -1;
    std::string heard_;
};

/// What the server at `port` says to one request until it closes.
std::string answerOnTheWire(unsigned short port, std::string_view request);

}  // namespace platform::testing
