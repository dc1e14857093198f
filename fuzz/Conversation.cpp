// SPDX-License-Identifier: Apache-2.0

#include "fuzz/Conversation.hpp"

#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/io_context.hpp>
#include <cstdlib>

#include "platform/JSON/JSONSerialization.hpp"

namespace {

namespace asio = boost::asio;

std::string bigEndian(std::size_t value) {
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8) bytes.push_back(static_cast<char>(value >> shift & 0xff));
    return bytes;
}

std::string frame(std::string_view body, std::string_view attachment) {
    return bigEndian(body.size()) + bigEndian(attachment.size()) + std::string(body) +
           std::string(attachment);
}

std::string sent(std::string_view input) {
    if (input.starts_with('\0')) return std::string(input.substr(1));
    std::string bytes = frame(R"({"protocol":1})", "");
    while (!input.empty()) {
        const auto line = input.substr(0, input.find('\n'));
        const auto body = line.substr(0, line.find('\0'));
        bytes += frame(body, line.substr(std::min(line.size(), body.size() + 1)));
        input.remove_prefix(std::min(input.size(), line.size() + 1));
    }
    return bytes;
}

asio::awaitable<void> receiveAll(std::shared_ptr<host::MessageChannel> channel,
                                 std::vector<host::Message>& messages) {
    try {
        while (true) messages.push_back(co_await channel->receive());
    } catch (const host::ProtocolError&) {
    } catch (const platform::JSONError&) {
    } catch (const boost::system::system_error&) {
    }
    channel->close();
}

}  // namespace

std::vector<host::Message> messagesIn(std::string_view input) {
    static asio::io_context context(1);
    std::array<int, 2> sockets;
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets.data()) != 0) std::abort();
    const std::string bytes = sent(input);
    const auto written = ::send(sockets[1], bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    std::vector<host::Message> messages;
    if (written == static_cast<ssize_t>(bytes.size())) {
        ::shutdown(sockets[1], SHUT_WR);
        asio::co_spawn(context,
                       receiveAll(host::MessageChannel::over(context.get_executor(), sockets[0]), messages),
                       [](const std::exception_ptr& failure) {
                           if (failure) std::rethrow_exception(failure);
                       });
        context.restart();
        context.run();
    } else {
        ::close(sockets[0]);  // more than the socket takes at once
    }
    ::close(sockets[1]);
    return messages;
}
