// SPDX-License-Identifier: Apache-2.0

#pragma once

// Messages between two of our processes over a connected local socket: host and extension, live host and
// reader. docs/protocol.md describes the frames. A channel belongs to one executor; its members may be called
// from that executor's thread only.

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/awaitable.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/json/value.hpp>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

namespace host {

/// A JSON object, and bytes that go with it (a drawing), empty where there are none.
struct Message {
    boost::json::object body;
    std::string attachment = {};
    /// The body as it came, of a message that was received.
    std::string text = {};
};

/// The other side sent what is no frame or broke a bound.
class ProtocolError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The other side speaks another version of the protocol than ours.
class VersionError : public ProtocolError {
  public:
    /// Nothing where it named none.
    explicit VersionError(std::optional<std::int64_t> theirs)
        : ProtocolError("the other side speaks another version of the protocol"), theirs_(theirs) {}
    const std::optional<std::int64_t>& theirs() const { return theirs_; }

  private:
    std::optional<std::int64_t> theirs_;
};

class MessageChannel : public std::enable_shared_from_this<MessageChannel> {
  public:
    static constexpr int protocolVersion = 1;
    static constexpr std::size_t maximumBodySize = std::size_t{16} << 20;
    static constexpr std::size_t maximumAttachmentSize = std::size_t{256} << 20;

    /// What may be received: how long, in bytes, and how long it may take.
    struct Limits {
        std::size_t body = maximumBodySize;
        std::size_t attachment = maximumAttachmentSize;
        /// Until the greeting is whole, and from the first byte of a message to its last; then it is hung up.
        /// Without it, for ever.
        std::optional<std::chrono::milliseconds> patience = std::nullopt;
    };

    /// Takes over a connected stream socket. The greeting goes out at once.
    static std::shared_ptr<MessageChannel> over(const boost::asio::any_io_executor& executor, int socket);
    static std::shared_ptr<MessageChannel> over(const boost::asio::any_io_executor& executor, int socket,
                                                Limits limits);

    /// The next message; throws boost::system::system_error when the other side has gone, ProtocolError when
    /// it speaks another protocol. One reader at a time.
    boost::asio::awaitable<Message> receive();

    /// Queues a message; it goes out in the order of the calls.
    void send(const Message& message);
    /// Bytes of what has not gone out yet, the message on its way wholly included.
    std::size_t queuedBytes() const { return queuedBytes_; }

    /// Waits until everything queued has gone out or the other side has gone, at most until `deadline`.
    boost::asio::awaitable<void> flush(std::chrono::steady_clock::time_point deadline);

    void close();

  private:
    MessageChannel(const boost::asio::any_io_executor& executor, int socket, Limits limits);
    void queue(std::string frame);
    boost::asio::awaitable<Message> receiveFrame();
    void limitPatience();
    void onceItHasPassed(std::chrono::milliseconds time, void (*act)(MessageChannel&));
    boost::asio::awaitable<std::string> receiveBytes(std::size_t count);
    void writeNext();
    void endWriting();
    static boost::asio::awaitable<void> writeQueued(std::shared_ptr<MessageChannel> channel);

    boost::asio::local::stream_protocol::socket socket_;
    boost::asio::steady_timer written_;
    /// Ends what takes too long to come.
    boost::asio::steady_timer patience_;
    Limits limits_;
    std::deque<std::string> queue_;
    std::size_t queuedBytes_ = 0;
    bool isWriting_ = false;
    bool hasGreeted_ = false;
};

}  // namespace host
