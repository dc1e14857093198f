// SPDX-License-Identifier: Apache-2.0

#include "host/protocol/MessageChannel.hpp"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/io_context.hpp>
#include <chrono>
#include <functional>

#include "tests/support/ChildProcess.hpp"

namespace host {
namespace {

namespace asio = boost::asio;

class MessageChannelTest : public testing::Test {
  protected:
    MessageChannelTest() { EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets_), 0); }

    void run(const std::function<asio::awaitable<void>()>& test) {
        asio::co_spawn(context_, test(), [](const std::exception_ptr& error) {
            if (error) std::rethrow_exception(error);
        });
        context_.run();
    }

    std::shared_ptr<MessageChannel> channel(int end) {
        return MessageChannel::over(context_.get_executor(), sockets_[end]);
    }

    void sendRaw(std::string_view bytes) {
        EXPECT_EQ(::write(sockets_[1], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
        // A child has this end as well as its parent.
        ::shutdown(sockets_[1], SHUT_RDWR);
        ::close(sockets_[1]);
    }

    asio::io_context context_;
    int sockets_[2];
};

TEST_F(MessageChannelTest, CarriesBodiesAndAttachmentsInOrder) {
    run([this]() -> asio::awaitable<void> {
        const auto host = channel(0);
        const auto extension = channel(1);
        const std::string drawing(3 << 20, 'p');
        host->send({.body = {{"id", 1}}});
        host->send({.body = {{"id", 2}}, .attachment = drawing});
        const auto first = co_await extension->receive();
        const auto second = co_await extension->receive();
        EXPECT_EQ(first.body.at("id"), 1);
        EXPECT_EQ(first.attachment, "");
        EXPECT_EQ(second.body.at("id"), 2);
        EXPECT_EQ(second.attachment, drawing);
        extension->send({.body = {{"id", 2}, {"finished", true}}});
        const auto reply = co_await host->receive();
        EXPECT_EQ(reply.body.at("finished"), true);
    });
}

TEST_F(MessageChannelTest, GreetsWithoutWaitingForTheOtherSide) {
    const auto host = channel(0);
    context_.poll();
    std::string greeting(64, '\0');
    const auto length = ::recv(sockets_[1], greeting.data(), greeting.size(), MSG_DONTWAIT);
    ASSERT_GT(length, 8);
    EXPECT_EQ(greeting.substr(8, static_cast<std::size_t>(length) - 8), R"({"protocol":1})");
    ::close(sockets_[1]);
}

TEST_F(MessageChannelTest, HangsUpOnAnotherVersionOfTheProtocol) {
    sendRaw(std::string("\0\0\0\x0e\0\0\0\0", 8) + R"({"protocol":2})");
    EXPECT_THROW(run([this]() -> asio::awaitable<void> { co_await channel(0)->receive(); }), ProtocolError);
}

TEST_F(MessageChannelTest, HangsUpOnAFrameBeyondTheBounds) {
    sendRaw(std::string_view("\xff\xff\xff\xff\0\0\0\0", 8));
    EXPECT_THROW(run([this]() -> asio::awaitable<void> { co_await channel(0)->receive(); }), ProtocolError);
}

TEST_F(MessageChannelTest, MakesRoomForWhatArrivesNotForWhatIsAnnounced) {
    using platform::testing::runInChild;
    const auto peak = [] {
        rusage usage = {};
        ::getrusage(RUSAGE_SELF, &usage);
        return usage.ru_maxrss;  // KiB
    };
    const std::string greeting = std::string("\0\0\0\x0e\0\0\0\0", 8) + R"({"protocol":1})";
    EXPECT_EQ(runInChild([&] {
                  const auto before = peak();
                  sendRaw(greeting + std::string("\0\0\0\2\x10\0\0\0{}", 10) + std::string(100'000, 'x'));
                  bool hasFailed = false;
                  try {
                      run([this]() -> asio::awaitable<void> { co_await channel(0)->receive(); });
                  } catch (const boost::system::system_error&) {
                      hasFailed = true;
                  }
                  return hasFailed && peak() - before < (32 << 10) ? 0 : 1;
              }),
              0);
}

TEST_F(MessageChannelTest, MeetsTheEndWhereItCannotWrite) {
    // The other side takes nothing more, and nothing of what it said is lost.
    const std::string greeting = std::string("\0\0\0\x0e\0\0\0\0", 8) + R"({"protocol":1})";
    const std::string last = std::string("\0\0\0\2\0\0\0\0{}", 10);
    ::shutdown(sockets_[1], SHUT_RD);
    EXPECT_EQ(::write(sockets_[1], (greeting + last).data(), greeting.size() + last.size()), 32);
    run([this]() -> asio::awaitable<void> {
        const auto host = channel(0);
        co_await host->flush(std::chrono::steady_clock::now() + std::chrono::hours(1));
        const auto message = co_await host->receive();
        EXPECT_TRUE(message.body.empty());
        EXPECT_THROW(co_await host->receive(), boost::system::system_error);
    });
    ::close(sockets_[1]);
}

TEST_F(MessageChannelTest, SaysThatTheOtherSideHasGone) {
    sendRaw(std::string_view("\0\0\0\x10\0", 5));
    EXPECT_THROW(run([this]() -> asio::awaitable<void> { co_await channel(0)->receive(); }),
                 boost::system::system_error);
}

TEST_F(MessageChannelTest, OutlivesAReaderThatIsGoneWhileItSends) {
    ::close(sockets_[1]);
    run([this]() -> asio::awaitable<void> {
        const auto host = channel(0);
        host->send({.body = {}, .attachment = std::string(1 << 20, 'x')});
        co_await host->flush(std::chrono::steady_clock::now() + std::chrono::hours(1));
    });
}

TEST_F(MessageChannelTest, WaitsNoLongerThanToldForAReaderThatDoesNotRead) {
    run([this]() -> asio::awaitable<void> {
        const auto host = channel(0);
        host->send({.body = {}, .attachment = std::string(16 << 20, 'x')});
        co_await host->flush(std::chrono::steady_clock::now() + std::chrono::milliseconds(20));
        host->close();
    });
}

}  // namespace
}  // namespace host
