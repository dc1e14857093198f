// SPDX-License-Identifier: Apache-2.0

#pragma once

// A live host's door: readers of the same person connect, follow, and ask. None of them can hold it up or
// make it keep more than a bound for them. docs/live-host.md describes what is said. Belongs to one executor;
// its members may be called from that executor's thread only, and it has to outlive its readers' questions.

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/awaitable.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "host/protocol/LiveCoding.hpp"
#include "host/protocol/MessageChannel.hpp"
#include "host/widget/Live/LiveDrawings.hpp"
#include "host/widget/Live/LiveHost.hpp"
#include "host/widget/Live/PublishedFiles.hpp"

namespace host {

class HostSocket {
  public:
    /// Fewer where the process may not open twice as many files.
    static constexpr std::size_t mostReaders = 256;
    /// Bytes that wait for a reader, at most; one for whom more would is dropped.
    static constexpr std::size_t mostQueued = std::size_t{1} << 20;
    /// Bytes of a reader's question, at most.
    static constexpr std::size_t longestQuestion = std::size_t{64} << 10;

    /// For a reader's greeting, and for a question that has begun, until it is whole.
    static constexpr std::chrono::milliseconds greetingPatience = std::chrono::seconds(5);

    struct Options {
        std::string version;
        platform::Date started;
        /// Without readers for that long, `onIdle` is called.
        std::optional<std::chrono::milliseconds> idleLimit = std::nullopt;
        std::function<void()> onIdle = [] {};
        /// Without a place a host lets nobody in: who has signed out may be shown still.
        std::function<bool()> mayServe = [] { return true; };
        /// How long an answer may take to be read.
        std::chrono::milliseconds answerPatience = std::chrono::seconds(30);
        std::chrono::milliseconds questionPatience = greetingPatience;
    };

    struct Served {
        LiveHost& host;
        LiveDrawings& drawings;
        PublishedFiles& files;
    };

    /// `socket` listens, and is copied.
    HostSocket(const boost::asio::any_io_executor& executor, int socket, Served served, Options options);
    ~HostSocket();
    HostSocket(const HostSocket&) = delete;
    HostSocket& operator=(const HostSocket&) = delete;

    /// Lets readers in until `close`.
    boost::asio::awaitable<void> accept();
    void close();

    std::size_t readerCount() const { return readers_.size(); }

  private:
    struct Reader;

    void welcome(boost::asio::local::stream_protocol::socket socket);
    boost::asio::awaitable<void> serve(std::shared_ptr<Reader> reader);
    boost::asio::awaitable<std::string> serveUntilEnd(std::shared_ptr<Reader> reader);
    boost::asio::awaitable<void> answer(std::shared_ptr<Reader> reader, boost::json::object question);
    boost::asio::awaitable<Message> result(std::shared_ptr<Reader> reader, boost::json::object question);
    boost::asio::awaitable<Message> drawing(boost::json::object question);
    boost::asio::awaitable<void> dismiss(std::shared_ptr<MessageChannel> channel, std::string words);
    LiveHostStatus status();
    void tell(const LiveState& state);
    void dropSlowReaders();
    void drop(const std::shared_ptr<Reader>& reader);
    void awaitReaders();

    boost::asio::any_io_executor executor_;
    boost::asio::local::stream_protocol::acceptor acceptor_;
    Served served_;
    Options options_;
    std::set<std::shared_ptr<Reader>> readers_;
    boost::asio::steady_timer idle_;
    std::size_t readerLimit_;
    LiveHost::Observation observation_;
};

}  // namespace host
