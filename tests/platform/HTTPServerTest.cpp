// SPDX-License-Identifier: Apache-2.0

#include "platform/HTTPServer/HTTPServer.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <chrono>
#include <future>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "platform/Asio/Pause.hpp"
#include "platform/HTTPServer/EventStream.hpp"
#include "platform/HTTPServer/Loopback.hpp"
#include "tests/support/FileLimit.hpp"
#include "tests/support/Program.hpp"
#include "tests/support/WireClient.hpp"

namespace platform {
namespace {

using std::chrono::milliseconds;
using testing::answerOnTheWire;
using ::testing::EndsWith;
using testing::eventually;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;
using testing::WireClient;

std::string getting(std::string_view target, std::string_view fields = "") {
    return "GET " + std::string(target) + " HTTP/1.1\r\nHost: x\r\n" + std::string(fields) + "\r\n";
}

/// Says what it was asked, on a thread of its own.
class HTTPServerTest : public ::testing::Test {
  public:
    ~HTTPServerTest() override {
        context_.stop();
        thread_.join();
        events.reset();
        server_.reset();
    }

  protected:
    void start(HTTPServerOptions options = {}) {
        server_.emplace(context_.get_executor(), options);
        server_->serve([this](HTTPRequest request) { return answer(std::move(request)); });
        port = server_->port();
        thread_ = std::thread([this] { context_.run(); });
    }

    /// On the server's own thread.
    template <typename Ask>
    auto asked(Ask ask) {
        std::promise<decltype(ask(*server_))> answer;
        boost::asio::post(context_, [&] { answer.set_value(ask(*server_)); });
        return answer.get_future().get();
    }
    std::size_t connectionCount() {
        return asked([](HTTPServer& server) { return server.connectionCount(); });
    }
    void send(const std::string& data) {
        asked([&](HTTPServer&) {
            events->send("news", data);
            return true;
        });
    }

    std::string answered(std::string_view request) const { return answerOnTheWire(port, request); }
    /// Where the machine stands still, this one takes too long as well.
    bool answersMeanwhile() const {
        return eventually(
            [this] { return answered(getting("/meanwhile")).find("GET /meanwhile") != std::string::npos; });
    }

    unsigned short port = 0;
    std::shared_ptr<EventStream> events;
    std::atomic<int> begun = 0;
    /// "/held" is not answered before.
    std::atomic<bool> isHeld = false;

  private:
    boost::asio::awaitable<HTTPResponse> answer(HTTPRequest request) {
        HTTPResponse response;
        if (request.path() == "/fault") throw std::runtime_error("it went wrong");
        ++begun;
        while (request.path() == "/held" && isHeld) co_await pause(milliseconds(5));
        if (request.path() == "/large") response.body = std::string(32U << 20, 'x');
        if (request.path() == "/events") {
            events = std::make_shared<EventStream>(context_.get_executor());
            events->send("news", "first");
            response.events = events;
            co_return response;
        }
        if (response.body.empty())
            response.body = request.method + " " + request.target + " " + request.body + "|";
        co_return response;
    }

    boost::asio::io_context context_{1};
    std::optional<HTTPServer> server_;
    std::thread thread_;
};

TEST_F(HTTPServerTest, AnswersOneRequestAfterTheOtherOnOneConnection) {
    start();
    WireClient client(port);
    client.say(getting("/one") + getting("/two?x=1"));
    EXPECT_THAT(client.hear("|"), StartsWith("HTTP/1.1 200 OK\r\n"));
    EXPECT_THAT(client.hear("GET /two?x=1 |"), HasSubstr("Content-Length: 14\r\n"));
    client.say("POST /three HTTP/1.1\r\nHost: x\r\nContent-Length: 4\r\nConnection: close\r\n\r\nbody");
    EXPECT_THAT(client.hearAll(), EndsWith("Connection: close\r\n\r\nPOST /three body|"));
}

TEST_F(HTTPServerTest, AnswersHeadWithoutTheBodyThatItAnnounces) {
    start();
    const auto answer = answered("HEAD /one HTTP/1.1\r\nHost: x\r\nConnection: close\r\n\r\n");
    EXPECT_THAT(answer, HasSubstr("Content-Length: 11\r\n"));
    EXPECT_THAT(answer, EndsWith("\r\n\r\n"));
    EXPECT_THAT(answered("HEAD /events HTTP/1.1\r\nHost: x\r\n\r\n"), EndsWith("\r\n\r\n"));
}

TEST_F(HTTPServerTest, RefusesWhatIsNoRequestOrTooMuchOfOne) {
    start();
    EXPECT_THAT(answered("complete nonsense\r\n\r\n"), StartsWith("HTTP/1.1 400 "));
    EXPECT_THAT(answered(std::string("\x16\x03\x01\x02\x00\x01", 6)), StartsWith("HTTP/1.1 400 "));
    EXPECT_THAT(answered("GET / HTTP/1.1\r\nHost x\r\n\r\n"), StartsWith("HTTP/1.1 400 "));
    EXPECT_THAT(answered(getting("/" + std::string(20'000, 'x'))), StartsWith("HTTP/1.1 431 "));
    EXPECT_THAT(answered(getting("/", "X: " + std::string(200'000, 'x') + "\r\n")),
                StartsWith("HTTP/1.1 431 "));
    EXPECT_THAT(answered("POST / HTTP/1.1\r\nHost: x\r\nContent-Length: 5000\r\n\r\n"),
                StartsWith("HTTP/1.1 413 "));
    EXPECT_THAT(answered("POST / HTTP/1.1\r\nHost: x\r\nTransfer-Encoding: chunked\r\n\r\n800\r\n" +
                         std::string(2048, 'x') + "\r\n0\r\n\r\n"),
                StartsWith("HTTP/1.1 413 "));
    EXPECT_THAT(
        answered("POST / HTTP/1.1\r\nHost: x\r\nContent-Length: 5\r\nTransfer-Encoding: chunked\r\n\r\n"),
        StartsWith("HTTP/1.1 400 "));
    EXPECT_THAT(answered("GET / HT"), "");
    EXPECT_THAT(answered(getting("/after")), HasSubstr("GET /after"));
}

TEST_F(HTTPServerTest, SaysNothingOfWhyItsOwnWorkFailed) {
    start();
    const auto answer = answered(getting("/fault"));
    EXPECT_THAT(answer, StartsWith("HTTP/1.1 500 "));
    EXPECT_THAT(answer, Not(HasSubstr("wrong")));
}

TEST_F(HTTPServerTest, HangsUpOnWhoTakesTooLongToAsk) {
    start({.requestLimit = milliseconds(200)});
    WireClient half(port);
    half.say("GET / HTTP/1.1\r\nHost: ");
    WireClient silent(port);
    EXPECT_TRUE(answersMeanwhile());
    EXPECT_EQ(half.hearAll(), "");
    EXPECT_TRUE(silent.hasEnded());
    EXPECT_TRUE(eventually([&] { return connectionCount() == 0; }));
}

TEST_F(HTTPServerTest, HangsUpOnWhoDoesNotTakeTheAnswer) {
    start({.writeLimit = milliseconds(200)});
    WireClient lazy(port);
    lazy.say(getting("/large"));
    EXPECT_TRUE(answersMeanwhile());
    EXPECT_TRUE(eventually([&] { return connectionCount() == 0; }));
}

TEST_F(HTTPServerTest, AnswersTheLatestOfAThousandConnections) {
    start({.mostConnections = 20});
    std::vector<WireClient> idle;
    for (int count = 0; count < 1000; ++count) {
        idle.emplace_back(port);
        ASSERT_TRUE(idle.back().isConnected()) << count;
    }
    EXPECT_THAT(answered(getting("/latest", "Connection: close\r\n")), HasSubstr("GET /latest"));
    EXPECT_TRUE(idle.front().hasEnded());
    EXPECT_LE(connectionCount(), 20U);
}

TEST_F(HTTPServerTest, LeavesFilesForItsOwnWorkWhereFewMayBeOpen) {
    {
        const testing::FileLimit few(64);
        start();
    }
    std::vector<WireClient> idle;
    for (int count = 0; count < 100; ++count) idle.emplace_back(port);
    EXPECT_THAT(answered(getting("/latest", "Connection: close\r\n")), HasSubstr("GET /latest"));
    EXPECT_LE(connectionCount(), 32U);
}

TEST_F(HTTPServerTest, LetsNobodyElseInWhileAllAreBeingAnswered) {
    start({.mostConnections = 2});
    isHeld = true;
    WireClient first(port), second(port);
    first.say(getting("/held"));
    second.say(getting("/held"));
    ASSERT_TRUE(eventually([&] { return begun == 2; }));
    WireClient third(port);
    third.say(getting("/third"));
    EXPECT_EQ(third.hearAll(), "");
    EXPECT_TRUE(third.hasEnded());
    isHeld = false;
    EXPECT_THAT(first.hear("|"), HasSubstr("GET /held"));
    EXPECT_THAT(second.hear("|"), HasSubstr("GET /held"));
}

TEST_F(HTTPServerTest, TellsEventsAndASignOfLifeWhereThereAreNone) {
    start({.beat = milliseconds(100)});
    WireClient reader(port);
    reader.say(getting("/events"));
    const auto head = reader.hear("\r\n\r\n");
    EXPECT_THAT(head, HasSubstr("Connection: close\r\n"));
    EXPECT_THAT(head, Not(HasSubstr("Content-Length")));
    EXPECT_EQ(reader.hear("\n\n"), "event: news\ndata: first\n\n");
    EXPECT_EQ(reader.hear("\n\n"), "event: beat\ndata:\n\n");
    send("second");
    EXPECT_THAT(reader.hear("second\n\n"), EndsWith("event: news\ndata: second\n\n"));
}

TEST_F(HTTPServerTest, GivesASlowReaderTheLatestEvent) {
    start({.writeLimit = std::chrono::hours(1)});
    WireClient reader(port);
    reader.say(getting("/events"));
    reader.hear("first\n\n");
    const std::string large(32U << 20, 'x');
    send(large);
    // It is on its way by now.
    EXPECT_EQ(reader.hear("data: x"), "event: news\ndata: x");
    for (const auto* text : {"left out", "the latest"}) send(text);
    EXPECT_EQ(reader.hear("\n\n").size(), large.size() - 1 + std::string_view("\n\n").size());
    EXPECT_EQ(reader.hear("\n\n"), "event: news\ndata: the latest\n\n");
}

TEST_F(HTTPServerTest, DropsAReaderWhoTakesNoEvents) {
    start({.writeLimit = milliseconds(200)});
    WireClient reader(port);
    reader.say(getting("/events"));
    reader.hear("first\n\n");
    send(std::string(32U << 20, 'x'));
    EXPECT_TRUE(eventually([&] { return connectionCount() == 0; }));
    EXPECT_TRUE(asked([&](HTTPServer&) { return events->hasEnded(); }));
}

TEST_F(HTTPServerTest, ForgetsAReaderWhoHasGone) {
    start();
    {
        WireClient reader(port);
        reader.say(getting("/events"));
        reader.hear("first\n\n");
    }
    EXPECT_TRUE(eventually([&] { return connectionCount() == 0; }));
    EXPECT_TRUE(asked([&](HTTPServer&) { return events->hasEnded(); }));
}

TEST_F(HTTPServerTest, HangsUpOnEverybodyWhenItCloses) {
    start();
    WireClient idle(port), reader(port);
    reader.say(getting("/events"));
    reader.hear("first\n\n");
    asked([](HTTPServer& server) {
        server.close();
        return true;
    });
    EXPECT_TRUE(idle.hasEnded());
    EXPECT_EQ(reader.hearAll(), "");
    EXPECT_FALSE(WireClient(port).isConnected());
}

TEST(Loopback, IsNamedByItsNamesWithThePortThatIsListenedAt) {
    using enum PortNaming;
    for (const auto* host : {"127.0.0.1:80", "localhost:80", "LOCALHOST:80", "[::1]:80"})
        EXPECT_TRUE(namesLoopback(host, "80", required)) << host;
    for (const auto* host : {"", "127.0.0.1", "localhost", "127.0.0.1:81", "127.0.0.1:800", "localhost.:80",
                             "localhost:80:80", "localhost.evil.example:80", "evil.example:80",
                             "127.0.0.2:80", "user@localhost:80", " localhost:80", "[::1]", "0.0.0.0:80"})
        EXPECT_FALSE(namesLoopback(host, "80", required)) << host;
    EXPECT_TRUE(namesLoopback("localhost", "80", optional));
    EXPECT_FALSE(namesLoopback("localhost:81", "80", optional));
}

}  // namespace
}  // namespace platform
