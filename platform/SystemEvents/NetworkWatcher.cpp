// SPDX-License-Identifier: Apache-2.0

#include "platform/SystemEvents/NetworkWatcher.hpp"

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

#include "platform/Files/Descriptor.hpp"
#include "platform/Log/Logger.hpp"

namespace platform {
namespace {

constexpr std::array questions = {NetworkTable::Question::links, NetworkTable::Question::addresses,
                                  NetworkTable::Question::routes};

/// Throws std::system_error.
Descriptor routeSocket() {
    Descriptor socket(::socket(AF_NETLINK, SOCK_RAW | SOCK_NONBLOCK | SOCK_CLOEXEC, NETLINK_ROUTE));
    if (!socket.isOpen()) throw std::system_error(errno, std::generic_category());
    sockaddr_nl address = {};
    address.nl_family = AF_NETLINK;
    address.nl_groups =
        RTMGRP_LINK | RTMGRP_IPV4_IFADDR | RTMGRP_IPV6_IFADDR | RTMGRP_IPV4_ROUTE | RTMGRP_IPV6_ROUTE;
    if (::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        throw std::system_error(errno, std::generic_category());
    return socket;
}

}  // namespace

NetworkWatcher::NetworkWatcher(const boost::asio::any_io_executor& executor, std::function<void()> returned)
    : executor_(executor), returned_(std::move(returned)), retry_(executor, [this] { start(); }) {
    start();
}

void NetworkWatcher::start() {
    try {
        socket_.emplace(executor_, routeSocket().release(), [this] { read(); });
    } catch (const std::system_error& error) {
        return fail(error.code().value());
    }
    table_ = NetworkTable();
    questionsAsked_ = 0;
    isComplete_ = false;
    ask();
}

void NetworkWatcher::ask() {
    if (questionsAsked_ == questions.size()) return;
    const std::string question = NetworkTable::question(questions[questionsAsked_++]);
    if (::send(socket_->descriptor(), question.data(), question.size(), MSG_NOSIGNAL) < 0) fail(errno);
}

bool NetworkWatcher::receive(int socket) {
    // What the kernel sends at most in one piece.
    alignas(nlmsghdr) std::array<std::byte, 32768> buffer;
    sockaddr_nl sender = {};
    socklen_t length = sizeof sender;
    const ssize_t count =
        ::recvfrom(socket, buffer.data(), buffer.size(), 0, reinterpret_cast<sockaddr*>(&sender), &length);
    if (count < 0 && errno == EINTR) return true;
    if (count < 0) throw std::system_error(errno, std::generic_category());
    // Any process may write to the socket; only the kernel has the number zero.
    if (count == 0 || sender.nl_pid != 0) return true;
    const auto datagram = std::span<const std::byte>(buffer).first(static_cast<std::size_t>(count));
    table_.take(datagram);
    if (!NetworkTable::endsAnswer(datagram)) return true;
    if (questionsAsked_ < questions.size())
        ask();
    else
        isComplete_ = true;
    return socket_.has_value();
}

void NetworkWatcher::read() {
    try {
        while (receive(socket_->descriptor())) {
        }
    } catch (const std::system_error& error) {
        // Where the kernel had more to say than there was room for, all is asked anew.
        if (error.code().value() != EAGAIN) return fail(error.code().value());
    }
    if (!socket_ || !isComplete_) return;
    pause_.reset();
    hasComplained_ = false;
    auto ways = table_.ways();
    const bool isMore = ways_ && !std::includes(ways_->begin(), ways_->end(), ways.begin(), ways.end());
    ways_ = std::move(ways);
    if (isMore) returned_();
}

void NetworkWatcher::fail(int error) {
    if (!std::exchange(hasComplained_, true))
        Logger::standard().log(LogLevel::info, "the network cannot be watched: %s",
                               {{std::generic_category().message(error)}});
    socket_.reset();
    retry_.set(pause_.next());
}

}  // namespace platform
