// SPDX-License-Identifier: Apache-2.0

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <atomic>
#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <thread>

#include "tests/platform/URLSessionFixture.hpp"
#include "tests/support/TemporaryFolder.hpp"

namespace platform {
namespace {

using platform::testing::httpReply;
using platform::testing::LoopbackServer;
using platform::testing::ReceivedRequest;
using ::testing::AnyOf;
using ::testing::Each;
using ::testing::ElementsAre;

class WholeResource : public platform::testing::URLSessionTest {
  protected:
    /// The resource, or "error" and the code.
    static std::string read(const std::string& url, std::size_t maximumSize = 1 << 20) {
        try {
            return readWholeResource(URL::parse(url).value(), maximumSize);
        } catch (const URLError& error) {
            return failed(error.code());
        }
    }
    static std::string failed(URLErrorCode code) { return "error " + std::to_string(static_cast<int>(code)); }
    std::string fileURL(const std::string& name) { return "file://" + (folder.path() / name).string(); }

    /// All of them, in their order, those of `server` by their paths.
    static std::vector<std::string> readAll(const std::vector<URL>& urls, const ResourceReading& reading) {
        std::vector<std::string> outcomes(urls.size(), "not received");
        readWholeResources(urls, reading, [&](std::size_t place, ResourceOutcome outcome) {
            EXPECT_EQ(outcomes[place], "not received") << place;
            const auto* error = std::get_if<URLError>(&outcome);
            outcomes[place] = error ? failed(error->code()) : std::get<std::string>(outcome);
        });
        return outcomes;
    }
    /// What belongs to this process: its open descriptors, or its threads.
    static std::ptrdiff_t countIn(const char* folder) {
        return std::distance(std::filesystem::directory_iterator(folder), {});
    }

    const std::string unreadable = failed(URLErrorCode::cannotReadResource);
    const std::string tooLong = failed(URLErrorCode::dataLengthExceedsMaximum);
    platform::testing::TemporaryFolder folder;
};

using WholeResources = WholeResource;

TEST_F(WholeResource, IsReadOverHTTPOnOneConnection) {
    const LoopbackServer server(httpReply(200, "picture"));
    for (int count = 0; count < 3; ++count) EXPECT_EQ(read(server.url("/a.png").absoluteString()), "picture");
    EXPECT_EQ(server.connections(), 1);
    EXPECT_EQ(server.requests().front().headerLines().size(), 2u);
}

TEST_F(WholeResource, IsWhatARedirectLeadsTo) {
    const LoopbackServer server([](const ReceivedRequest& request, LoopbackServer::Peer& peer) {
        peer.send(request.target() == "/new" ? httpReply(200, "arrived")
                                             : httpReply(302, "", {"Location: /new"}));
    });
    EXPECT_EQ(read(server.url("/old").absoluteString()), "arrived");
    const LoopbackServer toFile(httpReply(302, "", {"Location: file:///etc/passwd"}));
    EXPECT_EQ(read(toFile.url().absoluteString()), failed(URLErrorCode::unsupportedURL));
    const LoopbackServer loop(httpReply(302, "", {"Location: /"}));
    EXPECT_EQ(read(loop.url().absoluteString()), failed(URLErrorCode::tooManyRedirects));
}

TEST_F(WholeResource, IsNoneWhereTheServerHasNone) {
    for (const int status : {404, 500, 304}) {
        const LoopbackServer server("HTTP/1.1 " + std::to_string(status) +
                                    " No\r\nContent-Length: 0\r\n\r\n");
        EXPECT_EQ(read(server.url().absoluteString()), unreadable) << status;
    }
    EXPECT_EQ(read("http://127.0.0.1:" + std::to_string(platform::testing::unusedPort()) + "/"),
              failed(URLErrorCode::cannotConnectToHost));
    EXPECT_EQ(read("velaapp://picture"), failed(URLErrorCode::unsupportedURL));
}

TEST_F(WholeResource, IsBoundedWhereverItComesFrom) {
    const LoopbackServer server(httpReply(200, "123456"));
    folder.write("six", "123456");
    for (const std::string& url :
         {server.url().absoluteString(), fileURL("six"), std::string("data:,123456")}) {
        EXPECT_EQ(read(url, 6), "123456") << url;
        EXPECT_EQ(read(url, 5), tooLong) << url;
    }
}

TEST_F(WholeResource, IsReadFromAFileByItsDecodedPath) {
    folder.write("a b%c", std::string("bytes\0\xff", 7));
    folder.write("empty", "");
    EXPECT_EQ(read(fileURL("a%20b%25c")), std::string("bytes\0\xff", 7));
    EXPECT_EQ(read("file://localhost" + (folder.path() / "empty").string()), "");
    EXPECT_EQ(read("file:///proc/self/comm").empty(), false);
}

TEST_F(WholeResource, IsNeverAFolderADeviceOrAPipe) {
    ASSERT_EQ(::mkfifo((folder.path() / "pipe").c_str(), 0600), 0);
    folder.write("file", "x");
    for (const std::string& url :
         {fileURL(""), fileURL("pipe"), fileURL("missing"), fileURL("file/below"), fileURL("file%00"),
          std::string("file:///dev/zero"), std::string("file:///dev/tty"), std::string("file:///"),
          std::string("file://elsewhere.example/etc/hostname")}) {
        EXPECT_EQ(read(url), unreadable) << url;
    }
}

TEST_F(WholeResource, IsReadFromADataURL) {
    struct Row {
        const char* url;
        std::string expected;
    };
    const std::vector<Row> rows = {
        {"data:,", ""},
        {"data:,a%20b", "a b"},
        {"data:text/plain;charset=utf-8,a,b", "a,b"},
        {"data:,text#fragment", "text"},
        {"data:image/png;base64,iVBORw0K", "\x89PNG\r\n"},
        {"DATA:;BASE64,YQ==", "a"},
        {"data:;base64,YQ", "a"},
        {"data:;base64,YWI=", "ab"},
        {"data:;base64,YW%20Jj%0A", "abc"},
        {"data:;base64,%2B%2F%2B%2F", "\xfb\xff\xbf"},
        {"data:;base64,", ""},
        {"data:;base64,Y", unreadable},
        {"data:;base64,YQ=", unreadable},
        {"data:;base64,YQ===", unreadable},
        {"data:;base64,Y=Q=", unreadable},
        {"data:;base64,Y*==", unreadable},
        {"data:text/plain", unreadable},
    };
    for (const Row& row : rows) EXPECT_EQ(read(row.url), row.expected) << row.url;
}

TEST_F(WholeResources, AreReadAtTheSameTime) {
    std::mutex mutex;
    std::condition_variable changed;
    int waiting = 0;
    // Nobody is answered before all have asked.
    const LoopbackServer server([&](const ReceivedRequest& request, LoopbackServer::Peer& peer) {
        std::unique_lock lock(mutex);
        ++waiting;
        changed.notify_all();
        changed.wait_for(lock, platform::testing::patience, [&] { return waiting == 4; });
        peer.send(httpReply(200, request.target()));
    });
    EXPECT_THAT(readAll({server.url("/a"), server.url("/b"), server.url("/c"), server.url("/d")},
                        {.maximumSize = 100}),
                ElementsAre("/a", "/b", "/c", "/d"));
}

TEST_F(WholeResources, FailEachOnItsOwn) {
    folder.write("file", "from a file");
    const LoopbackServer server([](const ReceivedRequest& request, LoopbackServer::Peer& peer) {
        if (request.target() == "/never") peer.stall();
        if (request.target() == "/dropped") return peer.close();
        peer.send(httpReply(request.target() == "/missing" ? 404 : 200, request.target()));
    });
    const auto url = [](const std::string& text) { return URL::parse(text).value(); };
    const auto read = [&] {
        return readAll({server.url("/never"), server.url("/good"), server.url("/missing"),
                        server.url("/dropped"), server.url("/" + std::string(100, 'x')), url(fileURL("file")),
                        url("data:,here"), url("velaapp://home_orders")},
                       {.maximumSize = 100, .deadline = Deadline(std::chrono::milliseconds(1500))});
    };
    const std::vector<std::string> expected = {failed(URLErrorCode::timedOut),
                                               "/good",
                                               unreadable,
                                               failed(URLErrorCode::networkConnectionLost),
                                               tooLong,
                                               "from a file",
                                               "here",
                                               failed(URLErrorCode::unsupportedURL)};
    auto outcomes = read();
    // Where the machine stands still, the others are overdue as well.
    for (int attempt = 0; attempt < 10 && outcomes != expected; ++attempt) outcomes = read();
    EXPECT_EQ(outcomes, expected);
}

TEST_F(WholeResources, WaitForTheirTurn) {
    std::atomic<int> inFlight = 0;
    std::atomic<int> most = 0;
    const LoopbackServer server([&](const ReceivedRequest& request, LoopbackServer::Peer& peer) {
        const int now = ++inFlight;
        int seen = most;
        while (now > seen && !most.compare_exchange_weak(seen, now)) {
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        --inFlight;
        peer.send(httpReply(200, request.target()));
    });
    std::vector<URL> urls;
    for (int count = 0; count < 9; ++count) urls.push_back(server.url("/" + std::to_string(count)));
    EXPECT_THAT(readAll(urls, {.maximumSize = 100, .atOnce = 3}),
                ElementsAre("/0", "/1", "/2", "/3", "/4", "/5", "/6", "/7", "/8"));
    EXPECT_LE(most, 3);
}

TEST_F(WholeResources, LeaveNothingOfATransferThatIsOverdue) {
    std::mutex mutex;
    std::condition_variable changed;
    int gone = 0;
    const LoopbackServer server([&](const ReceivedRequest&, LoopbackServer::Peer& peer) {
        peer.stall();
        const std::lock_guard lock(mutex);
        ++gone;
        changed.notify_all();
    });
    // What a thread keeps for all its transfers is there after the first.
    (void)read("http://127.0.0.1:" + std::to_string(platform::testing::unusedPort()) + "/");
    const auto descriptors = countIn("/proc/self/fd");
    // On a machine that stands still they may be overdue before they have asked.
    for (int attempt = 0; attempt < 20 && server.requests().size() < 3; ++attempt)
        EXPECT_THAT(readAll({server.url("/a"), server.url("/b"), server.url("/c")},
                            {.maximumSize = 100, .deadline = Deadline(std::chrono::milliseconds(300))}),
                    Each(AnyOf(failed(URLErrorCode::timedOut), failed(URLErrorCode::cancelled))));
    const auto asked = static_cast<int>(server.requests().size());
    EXPECT_GE(asked, 3);
    std::unique_lock lock(mutex);
    EXPECT_TRUE(changed.wait_for(lock, platform::testing::patience, [&] { return gone >= asked; }))
        << "their connections stayed open";
    // The server's own ends close when it does.
    EXPECT_LE(countIn("/proc/self/fd"), descriptors + static_cast<std::size_t>(server.connections()));
}

TEST_F(WholeResources, AskNobodyWhereNoTimeIsLeft) {
    const LoopbackServer server(httpReply(200, "late"));
    EXPECT_THAT(readAll({server.url(), URL::parse("data:,here").value()},
                        {.maximumSize = 100, .deadline = Deadline(std::chrono::milliseconds(0))}),
                ElementsAre(failed(URLErrorCode::cancelled), "here"));
    EXPECT_EQ(server.connections(), 0);
}

TEST_F(WholeResources, EndWithWhoeverReceivesThem) {
    const LoopbackServer server([](const ReceivedRequest& request, LoopbackServer::Peer& peer) {
        if (request.target() == "/never") peer.stall();
        peer.send(httpReply(200, request.target()));
    });
    const auto refuse = [](std::size_t, const ResourceOutcome&) { throw std::bad_alloc(); };
    EXPECT_THROW(
        readWholeResources({server.url("/never"), server.url("/good")}, {.maximumSize = 100}, refuse),
        std::bad_alloc);
    EXPECT_EQ(read(server.url("/next").absoluteString()), "/next");
}

}  // namespace
}  // namespace platform
