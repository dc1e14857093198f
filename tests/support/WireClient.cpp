// SPDX-License-Identifier: Apache-2.0

#include "tests/support/WireClient.hpp"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <utility>

#include "tests/support/Patience.hpp"

namespace platform::testing {
namespace {

/// The system breaks a wait with a limit off where the process is stopped and goes on.
ssize_t received(int socket, char* bytes, std::size_t count) {
    ssize_t length = -1;
    do length = ::recv(socket, bytes, count, 0);
    while (length < 0 && errno == EINTR);
    return length;
}

}  // namespace

WireClient::WireClient(unsigned short port) : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    const timeval limit = {.tv_sec = patience.count(), .tv_usec = 0};
    ::setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    ::setsockopt(socket_, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return;
    ::close(std::exchange(socket_, -1));
}

WireClient::WireClient(WireClient&& other) noexcept
    : socket_(std::exchange(other.socket_, -1)), heard_(std::move(other.heard_)) {}

WireClient::~WireClient() {
    if (socket_ >= 0) ::close(socket_);
}

bool WireClient::say(std::string_view bytes) {
    while (!bytes.empty()) {
        const auto length = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (length < 0 && errno == EINTR) continue;
        if (length <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(length));
    }
    return true;
}

void WireClient::finish() {
    ::shutdown(socket_, SHUT_WR);
}

std::string WireClient::hear(std::string_view end) {
    std::size_t searched = 0;
    while (true) {
        const auto found = end.empty() ? std::string::npos : heard_.find(end, searched);
        if (found != std::string::npos) {
            auto text = heard_.substr(0, found + end.size());
            heard_.erase(0, text.size());
            return text;
        }
        searched = heard_.size() - std::min(heard_.size(), end.size());
        std::array<char, 65'536> part;
        const auto length = received(socket_, part.data(), part.size());
        if (length <= 0) return std::exchange(heard_, {});
        heard_.append(part.data(), static_cast<std::size_t>(length));
    }
}

bool WireClient::hasEnded() {
    char unread = 0;
    const auto length = received(socket_, &unread, 1);
    return length == 0 || (length < 0 && errno == ECONNRESET);
}

std::string answerOnTheWire(unsigned short port, std::string_view request) {
    WireClient client(port);
    client.say(request);
    client.finish();
    return client.hearAll();
}

}  // namespace platform::testing
