// SPDX-License-Identifier: Apache-2.0

#include "host/protocol/MessageChannel.hpp"

#include <algorithm>
#include <array>
#include <boost/asio/buffer.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/write.hpp>
#include <cstdint>

#include "platform/Asio/Coroutines.hpp"
#include "platform/JSON/JSONSerialization.hpp"

namespace host {

namespace asio = boost::asio;

namespace {

constexpr std::size_t prefixSize = 8;
/// In which this process, where it stood still, reads what has come.
constexpr std::chrono::milliseconds unnoticed(250);

void appendBigEndian(std::string& text, std::size_t value) {
    for (int shift = 24; shift >= 0; shift -= 8) text.push_back(static_cast<char>(value >> shift & 0xff));
}

std::size_t bigEndian(const unsigned char* bytes) {
    return std::size_t{bytes[0]} << 24 | std::size_t{bytes[1]} << 16 | std::size_t{bytes[2]} << 8 | bytes[3];
}

std::string frame(const Message& message) {
    const auto body = platform::JSONSerialization::dataWithJSONObject(message.body);
    if (body.size() > MessageChannel::maximumBodySize ||
        message.attachment.size() > MessageChannel::maximumAttachmentSize)
        throw ProtocolError("a message is too long to send");
    std::string text;
    text.reserve(prefixSize + body.size() + message.attachment.size());
    appendBigEndian(text, body.size());
    appendBigEndian(text, message.attachment.size());
    return text.append(body).append(message.attachment);
}

}  // namespace

MessageChannel::MessageChannel(const asio::any_io_executor& executor, int socket, Limits limits)
    : socket_(executor, asio::local::stream_protocol(), socket),
      written_(executor, asio::steady_timer::time_point::max()),
      patience_(executor),
      limits_(limits) {
    queue(frame({.body = {{"protocol", protocolVersion}}}));
}

std::shared_ptr<MessageChannel> MessageChannel::over(const asio::any_io_executor& executor, int socket) {
    return over(executor, socket, Limits());
}

std::shared_ptr<MessageChannel> MessageChannel::over(const asio::any_io_executor& executor, int socket,
                                                     Limits limits) {
    const std::shared_ptr<MessageChannel> channel(new MessageChannel(executor, socket, limits));
    channel->writeNext();
    channel->limitPatience();
    return channel;
}

void MessageChannel::queue(std::string frame) {
    queuedBytes_ += frame.size();
    queue_.push_back(std::move(frame));
}

asio::awaitable<Message> MessageChannel::receive() {
    if (!hasGreeted_) {
        const auto greeting = co_await receiveFrame();
        const auto* version = greeting.body.if_contains("protocol");
        const auto* number = version ? version->if_int64() : nullptr;
        if (!number || *number != protocolVersion)
            throw VersionError(number ? std::optional(*number) : std::nullopt);
        hasGreeted_ = true;
    }
    co_return co_await receiveFrame();
}

/// Whoever waits to read meets the end.
void MessageChannel::limitPatience() {
    if (!limits_.patience) return;
    onceItHasPassed(*limits_.patience, [](MessageChannel& channel) {
        // This process may have stood still itself meanwhile: what came in time is read first.
        channel.onceItHasPassed(unnoticed, [](MessageChannel& silent) { silent.close(); });
    });
}

void MessageChannel::onceItHasPassed(std::chrono::milliseconds time, void (*act)(MessageChannel&)) {
    patience_.expires_after(time);
    patience_.async_wait([channel = weak_from_this(), act](const boost::system::error_code& error) {
        const auto there = error ? nullptr : channel.lock();
        // The message may have come to its end before this was called.
        if (there && there->patience_.expiry() <= std::chrono::steady_clock::now()) act(*there);
    });
}

asio::awaitable<Message> MessageChannel::receiveFrame() {
    std::array<unsigned char, prefixSize> prefix;
    co_await asio::async_read(socket_, asio::buffer(prefix, 1), asio::use_awaitable);
    if (hasGreeted_) limitPatience();
    co_await asio::async_read(socket_, asio::buffer(prefix) + 1, asio::use_awaitable);
    const auto bodySize = bigEndian(prefix.data());
    const auto attachmentSize = bigEndian(prefix.data() + 4);
    if (bodySize > limits_.body || attachmentSize > limits_.attachment)
        throw ProtocolError("a message is longer than the protocol allows");
    Message message;
    message.text = co_await receiveBytes(bodySize);
    message.attachment = co_await receiveBytes(attachmentSize);
    patience_.expires_at(asio::steady_timer::time_point::max());
    auto value = platform::JSONSerialization::JSONObjectWithData(message.text);
    if (!value.is_object()) throw ProtocolError("a message is no JSON object");
    message.body = std::move(value.get_object());
    co_return message;
}

asio::awaitable<std::string> MessageChannel::receiveBytes(std::size_t count) {
    // A length is a claim: room is made for as much again as has come, not for what is announced.
    constexpr std::size_t firstPart = 64 << 10;
    std::string bytes;
    while (bytes.size() < count) {
        const auto received = bytes.size();
        bytes.resize(std::min(count, std::max(firstPart, 2 * received)));
        co_await asio::async_read(socket_, asio::buffer(bytes) + received, asio::use_awaitable);
    }
    co_return bytes;
}

void MessageChannel::send(const Message& message) {
    queue(frame(message));
    writeNext();
}

void MessageChannel::writeNext() {
    if (isWriting_) return;
    isWriting_ = true;
    try {
        platform::spawn(socket_.get_executor(), writeQueued(shared_from_this()),
                        [channel = shared_from_this()](const std::exception_ptr&) { channel->endWriting(); });
    } catch (...) {
        // Nobody writes, so the next to be sent must start it.
        isWriting_ = false;
        throw;
    }
}

asio::awaitable<void> MessageChannel::writeQueued(std::shared_ptr<MessageChannel> channel) {
    auto& queue = channel->queue_;
    boost::system::error_code error;
    while (!queue.empty()) {
        co_await asio::async_write(channel->socket_, asio::buffer(queue.front()),
                                   asio::redirect_error(asio::use_awaitable, error));
        if (error) break;
        channel->queuedBytes_ -= queue.front().size();
        queue.pop_front();
    }
    channel->endWriting();
}

void MessageChannel::endWriting() {
    // What cannot be sent is never answered: the reader meets the end, after what had already come.
    boost::system::error_code ignored;
    if (!queue_.empty()) socket_.shutdown(asio::socket_base::shutdown_both, ignored);
    queue_.clear();
    queuedBytes_ = 0;
    isWriting_ = false;
    written_.cancel();
}

asio::awaitable<void> MessageChannel::flush(std::chrono::steady_clock::time_point deadline) {
    boost::system::error_code error;
    written_.expires_at(deadline);
    while (isWriting_ && std::chrono::steady_clock::now() < deadline)
        co_await written_.async_wait(asio::redirect_error(asio::use_awaitable, error));
}

void MessageChannel::close() {
    boost::system::error_code ignored;
    socket_.close(ignored);
}

}  // namespace host
