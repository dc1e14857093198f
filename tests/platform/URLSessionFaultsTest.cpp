// SPDX-License-Identifier: Apache-2.0

#include <gtest/gtest.h>

#include "tests/platform/URLSessionFixture.hpp"

namespace platform {
namespace {

using namespace std::chrono_literals;
using platform::testing::gzip;
using platform::testing::httpReply;
using platform::testing::LoopbackServer;
using platform::testing::ReceivedRequest;
using Peer = LoopbackServer::Peer;

class URLSessionFaults : public platform::testing::URLSessionTest {};

// Until nobody takes any more.
void sendForever(Peer& peer, std::string_view bytes) {
    while (peer.send(bytes)) {
    }
    peer.close();
}

TEST_F(URLSessionFaults, EndAsTheErrorsTheyAre) {
    const std::string bomb = gzip(std::string(64 << 20, '\0'));
    struct Row {
        const char* fault;
        std::function<void(Peer&)> answer;
        URLErrorCode expected;
    };
    const std::vector<Row> rows = {
        {"a body cut short",
         [](Peer& peer) {
             peer.send("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nshort");
             peer.close();
         },
         URLErrorCode::networkConnectionLost},
        {"a reset in the middle of the body",
         [](Peer& peer) {
             peer.send("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nshort");
             peer.reset();
         },
         URLErrorCode::networkConnectionLost},
        {"no reply at all", [](Peer& peer) { peer.close(); }, URLErrorCode::networkConnectionLost},
        {"a reset in place of a reply", [](Peer& peer) { peer.reset(); },
         URLErrorCode::networkConnectionLost},
        {"headers cut short",
         [](Peer& peer) {
             peer.send("HTTP/1.1 200 OK\r\nContent-Le");
             peer.close();
         },
         URLErrorCode::networkConnectionLost},
        {"a chunked body cut short",
         [](Peer& peer) {
             peer.send("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nab");
             peer.close();
         },
         URLErrorCode::networkConnectionLost},
        {"chunks that are none",
         [](Peer& peer) { peer.send("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nxyz\r\nabc\r\n"); },
         URLErrorCode::networkConnectionLost},
        {"a status line that is none",
         [](Peer& peer) {
             peer.send("garbage, and more of it\r\n\r\n");
             peer.close();
         },
         URLErrorCode::badServerResponse},
        {"a status that is no number",
         [](Peer& peer) {
             peer.send("HTTP/1.1 abc OK\r\n\r\n");
             peer.close();
         },
         URLErrorCode::badServerResponse},
        {"a length that is no number",
         [](Peer& peer) { peer.send("HTTP/1.1 200 OK\r\nContent-Length: many\r\n\r\n"); },
         URLErrorCode::badServerResponse},
        {"headers without end",
         [](Peer& peer) {
             peer.send("HTTP/1.1 200 OK\r\n");
             sendForever(peer, "X-Again: and again\r\n");
         },
         URLErrorCode::badServerResponse},
        {"interim replies without end",
         [](Peer& peer) { sendForever(peer, "HTTP/1.1 103 Early Hints\r\nX-Again: and again\r\n\r\n"); },
         URLErrorCode::badServerResponse},
        {"100 MB declared",
         [](Peer& peer) {
             peer.send("HTTP/1.1 200 OK\r\nContent-Length: 100000000\r\n\r\n");
             sendForever(peer, std::string(65536, 'x'));
         },
         URLErrorCode::dataLengthExceedsMaximum},
        {"a body without end",
         [](Peer& peer) {
             peer.send("HTTP/1.1 200 OK\r\n\r\n");
             sendForever(peer, std::string(65536, 'x'));
         },
         URLErrorCode::dataLengthExceedsMaximum},
        {"a small reply that unpacks to 64 MiB",
         [&bomb](Peer& peer) { peer.send(httpReply(200, bomb, {"Content-Encoding: gzip"})); },
         URLErrorCode::dataLengthExceedsMaximum},
        {"a compressed reply that is none",
         [](Peer& peer) { peer.send(httpReply(200, "not compressed", {"Content-Encoding: gzip"})); },
         URLErrorCode::cannotDecodeContent},
        {"a compression that nobody asked for",
         [](Peer& peer) { peer.send(httpReply(200, "x", {"Content-Encoding: x-own"})); },
         URLErrorCode::cannotDecodeContent},
    };
    for (const Row& row : rows) {
        const LoopbackServer server([&row](const ReceivedRequest&, Peer& peer) { row.answer(peer); });
        EXPECT_EQ(failure({.url = server.url()}), row.expected) << row.fault;
    }
}

TEST_F(URLSessionFaults, LeaveTheSessionUsable) {
    const LoopbackServer server([](const ReceivedRequest& request, Peer& peer) {
        if (request.target() == "/good") {
            peer.send(httpReply(200, "good"));
        } else {
            peer.send("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nshort");
            peer.close();
        }
    });
    for (int round = 0; round < 3; ++round) {
        EXPECT_TRUE(failure({.url = server.url("/bad")}));
        EXPECT_EQ(fetch({.url = server.url("/good")}).data, "good");
    }
}

TEST_F(URLSessionFaults, AllowAReplyOfExactlyTheMaximum) {
    URLSessionConfiguration configuration;
    configuration.maximumReplySize = 1000;
    session = URLSession::session(configuration);
    const LoopbackServer fits(httpReply(200, std::string(1000, 'x')));
    const LoopbackServer exceeds(httpReply(200, std::string(1001, 'x')));
    EXPECT_EQ(fetch({.url = fits.url()}).data.size(), 1000u);
    EXPECT_EQ(failure({.url = exceeds.url()}), URLErrorCode::dataLengthExceedsMaximum);
}

TEST_F(URLSessionFaults, TimeOutWhereNothingMoves) {
    const std::vector<std::string> beginnings = {"", "HTTP/1.1 200 OK\r\n",
                                                 "HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nabc"};
    for (const std::string& beginning : beginnings) {
        const LoopbackServer server([&beginning](const ReceivedRequest&, Peer& peer) {
            peer.send(beginning);
            peer.stall();
        });
        EXPECT_EQ(failure({.url = server.url(), .timeoutInterval = 50ms}),
                  beginning.empty() ? URLErrorCode::timedOut : URLErrorCode::replyTimedOut)
            << beginning;
    }
}

TEST_F(URLSessionFaults, DoNotTimeOutWhereSomethingMoves) {
    const LoopbackServer server([](const ReceivedRequest&, Peer& peer) {
        peer.send("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\n");
        for (int count = 0; count < 10; ++count) {
            std::this_thread::sleep_for(100ms);
            peer.send("x");
        }
    });
    const URLRequest request = {.url = server.url(), .timeoutInterval = 900ms};
    // Nothing moves while the machine stands still.
    std::optional<URLErrorCode> ending = URLErrorCode::timedOut;
    for (int attempt = 0; attempt < 10 && ending; ++attempt) ending = failure(request);
    EXPECT_EQ(ending, std::nullopt);
}

TEST_F(URLSessionFaults, NameWhatCannotBeReached) {
    const auto at = [](const std::string& text) { return URLRequest{.url = URL::parse(text).value()}; };
    EXPECT_EQ(failure(at("http://127.0.0.1:" + std::to_string(platform::testing::unusedPort()))),
              URLErrorCode::cannotConnectToHost);
    for (const char* text :
         {"file:///etc/passwd", "ftp://127.0.0.1/", "data:,x", "gopher://127.0.0.1/", "velaapp://home"}) {
        EXPECT_EQ(failure(at(text)), URLErrorCode::unsupportedURL) << text;
    }
}

}  // namespace
}  // namespace platform
