// SPDX-License-Identifier: Apache-2.0

#include "tests/support/LoopbackServer.hpp"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <optional>
#include <stdexcept>
#include <utility>

#include "platform/Text/ASCII.hpp"
#include "tests/support/Patience.hpp"

namespace platform::testing {
namespace {

constexpr std::string_view lineEnd = "\r\n";

int boundSocket() {
    const int bound = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (bound < 0 || ::bind(bound, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        throw std::runtime_error("no loopback port can be had");
    return bound;
}

int listeningSocket() {
    const int listener = boundSocket();
    if (::listen(listener, 128) != 0) throw std::runtime_error("no loopback port can be listened on");
    return listener;
}

std::uint16_t portOf(int socket) {
    sockaddr_in address = {};
    socklen_t size = sizeof address;
    ::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}

// The request's bytes as they come; nothing when the connection ends before as much of it as is to be read.
std::optional<ReceivedRequest> readRequest(int socket, std::string& pending,
                                           LoopbackServer::Reading reading) {
    if (reading == LoopbackServer::Reading::nothing) return ReceivedRequest();
    const auto fill = [&] {
        std::array<char, 16384> bytes;
        const ssize_t count = ::recv(socket, bytes.data(), bytes.size(), 0);
        if (count > 0) pending.append(bytes.data(), static_cast<std::size_t>(count));
        return count > 0;
    };
    std::size_t end = 0;
    while ((end = pending.find("\r\n\r\n")) == std::string::npos) {
        if (!fill()) return std::nullopt;
    }
    ReceivedRequest request = {.head = pending.substr(0, end + 4), .body = {}};
    pending.erase(0, end + 4);
    if (reading == LoopbackServer::Reading::head) return request;
    const std::string length = request.header("content-length");
    const std::size_t size = length.empty() ? 0 : std::stoul(length);
    while (pending.size() < size) {
        if (!fill()) return std::nullopt;
    }
    request.body = pending.substr(0, size);
    pending.erase(0, size);
    return request;
}

}  // namespace

std::string ReceivedRequest::method() const {
    return head.substr(0, head.find(' '));
}

std::string ReceivedRequest::target() const {
    const auto start = head.find(' ') + 1;
    return head.substr(start, head.find(' ', start) - start);
}

std::vector<std::string> ReceivedRequest::headerLines() const {
    std::vector<std::string> lines;
    auto start = head.find(lineEnd) + lineEnd.size();
    for (auto end = head.find(lineEnd, start); end > start; end = head.find(lineEnd, start)) {
        lines.push_back(head.substr(start, end - start));
        start = end + lineEnd.size();
    }
    return lines;
}

std::string ReceivedRequest::header(std::string_view name) const {
    for (const std::string& line : headerLines()) {
        const auto colon = line.find(':');
        if (colon == std::string::npos || !equalsWithoutCase(std::string_view(line).substr(0, colon), name))
            continue;
        const auto value = line.find_first_not_of(' ', colon + 1);
        return value == std::string::npos ? std::string() : line.substr(value);
    }
    return {};
}

bool LoopbackServer::Peer::send(std::string_view bytes) {
    while (isOpen_ && !bytes.empty()) {
        const ssize_t count = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return isOpen_;
}

void LoopbackServer::Peer::stall() {
    std::array<char, 4096> bytes;
    while (::recv(socket_, bytes.data(), bytes.size(), 0) > 0) {
    }
    isOpen_ = false;
}

void LoopbackServer::Peer::close() {
    isOpen_ = false;
}

void LoopbackServer::Peer::reset() {
    const linger abrupt = {.l_onoff = 1, .l_linger = 0};
    ::setsockopt(socket_, SOL_SOCKET, SO_LINGER, &abrupt, sizeof abrupt);
    isOpen_ = false;
}

LoopbackServer::LoopbackServer(Handler handler, Reading reading)
    : handler_(std::move(handler)),
      reading_(reading),
      listener_(listeningSocket()),
      port_(portOf(listener_)) {
    acceptor_ = std::thread(&LoopbackServer::accept, this);
}

LoopbackServer::LoopbackServer(std::string reply)
    : LoopbackServer([reply = std::move(reply)](const ReceivedRequest&, Peer& peer) { peer.send(reply); }) {}

LoopbackServer::~LoopbackServer() {
    {
        const std::lock_guard lock(mutex_);
        isEnding_ = true;
        ::shutdown(listener_, SHUT_RDWR);
        for (const int socket : sockets_) ::shutdown(socket, SHUT_RDWR);
    }
    acceptor_.join();
    ::close(listener_);
    for (std::thread& thread : threads_) thread.join();
}

URL LoopbackServer::url(std::string_view path) const {
    return URL::parse("http://127.0.0.1:" + std::to_string(port_) + std::string(path)).value();
}

std::vector<ReceivedRequest> LoopbackServer::requests() const {
    const std::lock_guard lock(mutex_);
    return requests_;
}

int LoopbackServer::connections() const {
    const std::lock_guard lock(mutex_);
    return static_cast<int>(threads_.size());
}

bool LoopbackServer::waitForRequests(std::size_t count) const {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (requests().size() < count) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

void LoopbackServer::accept() {
    for (;;) {
        const int socket = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        const std::lock_guard lock(mutex_);
        if (isEnding_ || socket < 0) {
            if (socket >= 0) ::close(socket);
            return;
        }
        sockets_.push_back(socket);
        threads_.emplace_back(&LoopbackServer::serve, this, socket, static_cast<int>(threads_.size()));
    }
}

void LoopbackServer::serve(int socket, int connection) {
    std::string pending;
    Peer peer(socket);
    while (peer.isOpen_) {
        auto request = readRequest(socket, pending, reading_);
        if (!request) break;
        request->connection = connection;
        {
            const std::lock_guard lock(mutex_);
            requests_.push_back(*request);
        }
        handler_(*request, peer);
    }
    const std::lock_guard lock(mutex_);
    std::erase(sockets_, socket);
    ::close(socket);
}

std::string httpReply(int statusCode, std::string_view body, const std::vector<std::string>& headerLines) {
    std::string reply = "HTTP/1.1 " + std::to_string(statusCode) + " Scripted\r\n";
    reply += "Content-Length: " + std::to_string(body.size()) + "\r\n";
    for (const std::string& line : headerLines) reply += line + "\r\n";
    return reply + "\r\n" + std::string(body);
}

std::uint16_t unusedPort() {
    // Kept, so that no other test's server comes to listen there.
    static const int bound = boundSocket();
    return portOf(bound);
}

}  // namespace platform::testing
