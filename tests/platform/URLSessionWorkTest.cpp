// SPDX-License-Identifier: Apache-2.0

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/platform/SecureServer.hpp"
#include "tests/platform/URLSessionFixture.hpp"
#include "tests/support/TemporaryFolder.hpp"

namespace platform {
namespace {

using namespace std::chrono_literals;
using platform::testing::gzip;
using platform::testing::httpReply;
using platform::testing::LoopbackServer;
using platform::testing::ReceivedRequest;
using Peer = LoopbackServer::Peer;

class URLSessionWork : public platform::testing::URLSessionTest {};

constexpr std::size_t longForAReply = std::size_t{512} << 20;

/// Until nobody takes any more, or so much is taken that it was not bounded.
bool isTakenInFull(Peer& peer, std::string_view bytes) {
    for (std::size_t sent = 0; sent < longForAReply; sent += bytes.size()) {
        if (!peer.send(bytes)) return false;
    }
    peer.close();
    return true;
}

std::string repeated(std::string_view text, std::size_t size = 65536) {
    std::string result;
    while (result.size() < size) result += text;
    return result;
}

std::string chunk(std::string_view bytes) {
    char size[20];
    std::snprintf(size, sizeof size, "%zx\r\n", bytes.size());
    return size + std::string(bytes) + "\r\n";
}

// A stored block of no bytes, as raw deflate.
constexpr std::string_view emptyBlock("\0\0\0\xff\xff", 5);
constexpr std::string_view gzipHead("\x1f\x8b\x08\0\0\0\0\0\0\xff", 10);

TEST_F(URLSessionWork, EndsByABound) {
    struct Row {
        const char* description;
        std::string beginning;
        std::string again;
        URLErrorCode expected;
    };
    const std::string ok = "HTTP/1.1 200 OK\r\n";
    const std::string chunked = ok + "Transfer-Encoding: chunked\r\n";
    const std::vector<Row> rows = {
        {"empty deflate blocks", ok + "Content-Encoding: gzip\r\n\r\n" + std::string(gzipHead),
         repeated(emptyBlock), URLErrorCode::dataLengthExceedsMaximum},
        {"empty deflate blocks in chunks", chunked + "Content-Encoding: gzip\r\n\r\n" + chunk(gzipHead),
         repeated(chunk(emptyBlock)), URLErrorCode::dataLengthExceedsMaximum},
        {"a gzip header's name",
         ok + "Content-Encoding: gzip\r\n\r\n" + std::string("\x1f\x8b\x08\x08\0\0\0\0\0\xff", 10),
         repeated("name"), URLErrorCode::dataLengthExceedsMaximum},
        {"a chunk's name", chunked + "\r\n5;", repeated("name"), URLErrorCode::dataLengthExceedsMaximum},
        {"zeros before a chunk's size", chunked + "\r\n", repeated("0"), URLErrorCode::networkConnectionLost},
        {"chunks with long names", chunked + "\r\n", repeated("1;" + std::string(60000, 'n') + "\r\nx\r\n"),
         URLErrorCode::dataLengthExceedsMaximum},
        {"trailers", chunked + "\r\n0\r\n", repeated("X-Again: and again\r\n"),
         URLErrorCode::badServerResponse},
        {"a header's name", ok, repeated("name"), URLErrorCode::unknown},
        {"a header's value", ok + "X: ", repeated("value"), URLErrorCode::unknown},
        {"a header's folds", ok + "X: y\r\n", repeated(" fold\r\n"), URLErrorCode::badServerResponse},
        {"the shortest headers", ok, repeated("a:\r\n"), URLErrorCode::badServerResponse},
        {"a status's reason", "HTTP/1.1 200 ", repeated("reason"), URLErrorCode::unknown},
        {"empty lines before a status", "", repeated("\r\n"), URLErrorCode::badServerResponse},
        {"interim replies", "", repeated("HTTP/1.1 100 Continue\r\n\r\n"), URLErrorCode::badServerResponse},
        {"a switched protocol", "HTTP/1.1 101 Switching\r\nUpgrade: x\r\nConnection: upgrade\r\n\r\n",
         repeated("again"), URLErrorCode::dataLengthExceedsMaximum},
    };
    for (const Row& row : rows) {
        std::atomic<bool> wasTaken = false;
        std::optional<URLErrorCode> ending;
        {
            const LoopbackServer server([&](const ReceivedRequest&, Peer& peer) {
                peer.send(row.beginning);
                wasTaken = isTakenInFull(peer, row.again);
            });
            ending = failure({.url = server.url()});
        }
        EXPECT_EQ(ending, row.expected) << row.description;
        EXPECT_FALSE(wasTaken) << row.description;
    }
}

TEST_F(URLSessionWork, TakesAReplyInChunksOfOneByte) {
    constexpr std::size_t size = std::size_t{4} << 20;
    std::string reply = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";
    for (std::size_t count = 0; count < size; ++count) reply += "1\r\nx\r\n";
    const LoopbackServer server(reply + "0\r\n\r\n");
    EXPECT_EQ(fetch({.url = server.url()}).data.size(), size);
}

TEST_F(URLSessionWork, IsCountedAnewForEveryReplyOfAConnection) {
    URLSessionConfiguration configuration;
    configuration.maximumReplySize = 100'000;
    session = URLSession::session(configuration);
    const LoopbackServer server(httpReply(200, std::string(100'000, 'x')));
    for (int count = 0; count < 30; ++count) EXPECT_EQ(fetch({.url = server.url()}).data.size(), 100'000u);
    EXPECT_EQ(server.connections(), 1);
}

TEST_F(URLSessionWork, IsBoundedAtFourMebibytesByDefault) {
    const auto defaults = URLSessionConfiguration::defaultSessionConfiguration();
    EXPECT_EQ(defaults.maximumReplySize, std::size_t{4} << 20);
    const std::string most(std::size_t{4} << 20, 'x');
    struct Row {
        std::string reply;
        std::optional<URLErrorCode> expected;
    };
    const std::vector<Row> rows = {
        {httpReply(200, most), std::nullopt},
        {httpReply(200, most + "x"), URLErrorCode::dataLengthExceedsMaximum},
        {httpReply(200, gzip(most), {"Content-Encoding: gzip"}), std::nullopt},
        {httpReply(200, gzip(most + "x"), {"Content-Encoding: gzip"}),
         URLErrorCode::dataLengthExceedsMaximum},
    };
    for (const Row& row : rows) {
        const LoopbackServer server(row.reply);
        EXPECT_EQ(failure({.url = server.url()}), row.expected) << row.reply.size();
    }
}

TEST_F(URLSessionWork, EndsBeforeItsFirstByteWhereTooManyAreDeclared) {
    const LoopbackServer server([](const ReceivedRequest&, Peer& peer) {
        peer.send("HTTP/1.1 200 OK\r\nContent-Length: 4194305\r\n\r\n");
        peer.stall();
    });
    EXPECT_EQ(failure({.url = server.url()}), URLErrorCode::dataLengthExceedsMaximum);
}

TEST_F(URLSessionWork, UnpacksWhatWasOfferedOnceAndNothingElse) {
    const std::string once = gzip("text");
    const std::string twice = gzip(once);
    struct Row {
        std::vector<std::string> lines;
        std::string body;
        std::string expected;
    };
    const std::vector<Row> rows = {
        {{"Content-Encoding: gzip"}, once, "text"},
        {{"Content-Encoding: x-gzip"}, once, "text"},
        {{"Content-Encoding: GZIP"}, once, "text"},
        {{"content-encoding:gzip"}, once, "text"},
        {{"Content-Encoding: identity"}, "text", "text"},
        {{"Content-Encoding: identity, gzip"}, once, "text"},
        {{"Content-Encoding: "}, "text", "text"},
        {{"Content-Encoding: gzip, gzip"}, twice, "refused"},
        {{"Content-Encoding: gzip", "Content-Encoding: gzip"}, twice, "refused"},
        {{"Content-Encoding: gzip,,gzip"}, twice, "refused"},
        {{"Content-Encoding: gzip", "Transfer-Encoding: gzip"}, twice, "refused"},
        {{"Transfer-Encoding: gzip"}, once, "refused"},
        {{"Transfer-Encoding: gzip, chunked"}, once, "refused"},
        {{"Content-Encoding: br"}, "text", "refused"},
        {{"Content-Encoding: zstd"}, "text", "refused"},
        {{"Content-Encoding: gzip, br"}, once, "refused"},
        {{"Content-Encoding: gzip"}, "not compressed", "refused"},
        {{"Content-Encoding: deflate"}, "not compressed", "refused"},
        {{"Content-Encoding: gzip"}, once + "and more", "refused"},
    };
    for (const Row& row : rows) {
        const LoopbackServer server(httpReply(200, row.body, row.lines));
        std::string outcome;
        try {
            outcome = fetch({.url = server.url()}).data;
        } catch (const URLError& error) {
            outcome = error.code() == URLErrorCode::cannotDecodeContent ? "refused" : error.what();
        }
        EXPECT_EQ(outcome, row.expected) << ::testing::PrintToString(row.lines) << row.body.size();
    }
}

TEST_F(URLSessionWork, IsBoundedInLinesAndInBytesOfHeaders) {
    struct Row {
        int lines;
        std::size_t bytesOfALine;
        std::optional<URLErrorCode> expected;
    };
    const std::vector<Row> rows = {
        {900, 10, std::nullopt},
        {1001, 10, URLErrorCode::badServerResponse},
        {250, 1000, std::nullopt},
        {270, 1000, URLErrorCode::badServerResponse},
    };
    for (const Row& row : rows) {
        std::vector<std::string> lines(static_cast<std::size_t>(row.lines),
                                       "X: " + std::string(row.bytesOfALine - 5, 'y'));
        const LoopbackServer server(httpReply(200, "", lines));
        EXPECT_EQ(failure({.url = server.url()}), row.expected) << row.lines;
    }
}

TEST_F(URLSessionWork, EndsByABoundOverTLSToo) {
    const std::string head = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5;";
    const std::string again = repeated("name", 1 << 14);
    std::atomic<std::size_t> sent = 0;
    platform::testing::SecureServer server({.converse = [&](SSL* connection) {
        SSL_write(connection, head.data(), static_cast<int>(head.size()));
        while (sent < longForAReply &&
               SSL_write(connection, again.data(), static_cast<int>(again.size())) > 0) {
            sent += again.size();
        }
    }});
    const platform::testing::TemporaryFolder folder;
    const platform::testing::ScopedEnvironment trust(
        {{"SSL_CERT_FILE", folder.write("trusted.pem", server.certificate()).string()}});
    EXPECT_EQ(failure({.url = server.url()}), URLErrorCode::dataLengthExceedsMaximum);
    server.end();
    EXPECT_LT(sent, longForAReply);
    RecordProperty("bytesSent", std::to_string(sent));
}

// Layer upon layer of compression multiplies: this would take hours, without a byte of outcome.
TEST_F(URLSessionWork, IsNotMultipliedByLayers) {
    std::string layers(gzipHead);
    layers += repeated(emptyBlock, std::size_t{64} << 20);
    for (int layer = 0; layer < 2; ++layer) layers = gzip(layers);
    const LoopbackServer server(httpReply(200, layers, {"Content-Encoding: gzip, gzip, gzip"}));
    EXPECT_EQ(failure({.url = server.url()}), URLErrorCode::cannotDecodeContent);
}

TEST_F(URLSessionWork, EndsInTimeHoweverItDrips) {
    EXPECT_EQ(URLSessionConfiguration::defaultSessionConfiguration().timeoutIntervalForResource, 120s);
    URLSessionConfiguration configuration;
    configuration.timeoutIntervalForResource = 300ms;
    session = URLSession::session(configuration);
    struct Row {
        std::string beginning;
        std::string drop;
    };
    const std::vector<Row> rows = {
        {"", "HTTP/1.1 100 Continue\r\n\r\n"},
        {"HTTP/1.1 200 OK\r\n", "X-Again: and again\r\n"},
        {"HTTP/1.1 200 OK\r\n\r\n", "x"},
        {"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n", "1\r\nx\r\n"},
    };
    for (const Row& row : rows) {
        const LoopbackServer server([&row](const ReceivedRequest&, Peer& peer) {
            peer.send(row.beginning);
            while (peer.send(row.drop)) std::this_thread::sleep_for(10ms);
        });
        EXPECT_EQ(failure({.url = server.url()}), URLErrorCode::replyTimedOut) << row.beginning << row.drop;
    }
}

TEST_F(URLSessionWork, EndsInTimeWhereNothingMovesForLongerThanThat) {
    URLSessionConfiguration configuration;
    configuration.timeoutIntervalForResource = 100ms;
    session = URLSession::session(configuration);
    const LoopbackServer server([](const ReceivedRequest&, Peer& peer) { peer.stall(); });
    EXPECT_EQ(failure({.url = server.url(), .timeoutInterval = 1h}), URLErrorCode::timedOut);
}

TEST_F(URLSessionWork, EndsInItsOwnTimeWhereThatIsShorterThanTheSessions) {
    session = URLSession::session(URLSessionConfiguration());
    const LoopbackServer server([](const ReceivedRequest&, Peer& peer) { peer.stall(); });
    EXPECT_EQ(failure({.url = server.url(), .timeoutIntervalForResource = 100ms}), URLErrorCode::timedOut);
}

TEST_F(URLSessionWork, EndsInTimeHoweverItIsLedAbout) {
    URLSessionConfiguration configuration;
    configuration.timeoutIntervalForResource = 300ms;
    configuration.maximumRedirects = 1'000'000;
    session = URLSession::session(configuration);
    const LoopbackServer server([](const ReceivedRequest&, Peer& peer) {
        std::this_thread::sleep_for(10ms);
        peer.send(httpReply(302, "", {"Location: /"}));
    });
    // On a machine that stands still it may get no further than to the first.
    std::size_t asked = 0;
    for (int attempt = 0; attempt < 20 && asked < 2; ++attempt) {
        const auto before = server.requests().size();
        const auto outcome = failure({.url = server.url()});
        EXPECT_TRUE(outcome == URLErrorCode::timedOut || outcome == URLErrorCode::replyTimedOut);
        asked = server.requests().size() - before;
    }
    EXPECT_GT(asked, 1u);
}

TEST_F(URLSessionWork, LeavesTrailersOut) {
    const LoopbackServer server(
        "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\nTrailer: Location\r\n\r\n1\r\nx\r\n0\r\n"
        "Location: /elsewhere\r\nContent-Encoding: br\r\n\r\n");
    const URLReply reply = fetch({.url = server.url()});
    EXPECT_EQ(reply.data, "x");
    EXPECT_EQ(reply.response.statusCode, 200);
    EXPECT_THAT(reply.response.headers,
                ::testing::ElementsAre(HTTPHeaderField{"Transfer-Encoding", "chunked"},
                                       HTTPHeaderField{"Trailer", "Location"}));
}

TEST_F(URLSessionWork, TakesRepliesOfOldServers) {
    const LoopbackServer server([](const ReceivedRequest&, Peer& peer) {
        peer.send("HTTP/1.0 200 OK\r\n\r\nold");
        peer.close();
    });
    EXPECT_EQ(fetch({.url = server.url()}).data, "old");
    EXPECT_EQ(fetch({.url = server.url(), .httpMethod = "POST", .httpBody = "x"}).data, "old");
    EXPECT_EQ(server.requests().size(), 2u);
}

}  // namespace
}  // namespace platform
