// SPDX-License-Identifier: Apache-2.0

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/platform/SecureServer.hpp"
#include "tests/platform/URLSessionFixture.hpp"
#include "tests/support/TemporaryFolder.hpp"

namespace platform {
namespace {

using namespace std::chrono_literals;
using platform::testing::httpReply;
using platform::testing::LoopbackServer;
using platform::testing::ReceivedRequest;
using platform::testing::SecureServer;
using Peer = LoopbackServer::Peer;
using Reading = LoopbackServer::Reading;

class URLSessionOnce : public platform::testing::URLSessionTest {
  protected:
    static URLRequest post(const URL& url) {
        return {.url = url, .timeoutInterval = 200ms, .httpMethod = "POST", .httpBody = "spend"};
    }
    static std::ptrdiff_t posts(const LoopbackServer& server) {
        const auto requests = server.requests();
        return std::count_if(requests.begin(), requests.end(),
                             [](const ReceivedRequest& request) { return request.method() != "GET"; });
    }
};

struct Ending {
    const char* description;
    Reading reading;
    std::function<void(Peer&)> answer;
};

void close(Peer& peer) {
    peer.close();
}
void reset(Peer& peer) {
    peer.reset();
}
std::function<void(Peer&)> sending(const std::string& bytes, void (*end)(Peer&)) {
    return [bytes, end](Peer& peer) {
        peer.send(bytes);
        end(peer);
    };
}

const std::vector<Ending> endings = {
    {"closes on arrival", Reading::nothing, close},
    {"resets on arrival", Reading::nothing, reset},
    {"closes before the body", Reading::head, close},
    {"resets before the body", Reading::head, reset},
    {"closes after the body", Reading::everything, close},
    {"resets after the body", Reading::everything, reset},
    {"never answers", Reading::everything, [](Peer& peer) { peer.stall(); }},
    {"closes in its status line", Reading::everything, sending("HTTP/1.", close)},
    {"closes in its headers", Reading::everything, sending("HTTP/1.1 200 OK\r\nX", close)},
    {"resets in its headers", Reading::everything, sending("HTTP/1.1 200 OK\r\nX", reset)},
    {"closes after an interim reply", Reading::everything, sending("HTTP/1.1 100 Continue\r\n\r\n", close)},
    {"closes in its body", Reading::everything,
     sending("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nx", close)},
    {"resets in its body", Reading::everything,
     sending("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nx", reset)},
};

TEST_F(URLSessionOnce, SendsAPostOnceWhateverBecomesOfItsConnection) {
    for (const Ending& ending : endings) {
        SCOPED_TRACE(ending.description);
        const LoopbackServer server([&ending](const ReceivedRequest&, Peer& peer) { ending.answer(peer); },
                                    ending.reading);
        EXPECT_TRUE(failure(post(server.url())));
        EXPECT_EQ(server.connections(), 1);
        EXPECT_LE(server.requests().size(), 1u);
    }
}

TEST_F(URLSessionOnce, SendsAPostOnceBesideAKeptConnection) {
    for (const Ending& ending : endings) {
        if (ending.reading == Reading::nothing) continue;
        SCOPED_TRACE(ending.description);
        const LoopbackServer server(
            [&ending](const ReceivedRequest& request, Peer& peer) {
                if (request.method() == "POST") return ending.answer(peer);
                peer.send(httpReply(200, "kept"));
            },
            ending.reading);
        fetch({.url = server.url()});
        EXPECT_TRUE(failure(post(server.url())));
        EXPECT_EQ(posts(server), 1);
        EXPECT_EQ(server.connections(), 2);
    }
}

TEST_F(URLSessionOnce, SendsWhatIsNoPlainQuestionOnAConnectionOfItsOwn) {
    for (const char* method : {"POST", "PUT", "PATCH", "DELETE"}) {
        // Every connection serves one request, promises to stay open, and closes at the next.
        const LoopbackServer server([served = 0](const ReceivedRequest& request, Peer& peer) mutable {
            if (request.connection != served) return peer.close();
            ++served;
            peer.send(httpReply(200, request.body));
        });
        for (const char* body : {"first", "second", "third"}) {
            EXPECT_EQ(fetch({.url = server.url(), .httpMethod = method, .httpBody = body}).data, body);
        }
        EXPECT_EQ(posts(server), 3) << method;
        EXPECT_EQ(server.connections(), 3) << method;
    }
}

TEST_F(URLSessionOnce, KeepsNoConnectionOfAPost) {
    const LoopbackServer server(httpReply(200, ""));
    fetch(post(server.url()));
    fetch({.url = server.url()});
    EXPECT_EQ(server.connections(), 2);
}

TEST_F(URLSessionOnce, HandsOutWhatAsksForAnotherTry) {
    for (const char* reply :
         {"HTTP/1.1 401 No\r\nWWW-Authenticate: Basic realm=\"x\"\r\nContent-Length: 0\r\n\r\n",
          "HTTP/1.1 407 No\r\nProxy-Authenticate: Basic realm=\"x\"\r\nContent-Length: 0\r\n\r\n",
          "HTTP/1.1 408 Late\r\nConnection: close\r\nContent-Length: 0\r\n\r\n",
          "HTTP/1.1 417 No\r\nContent-Length: 0\r\n\r\n",
          "HTTP/1.1 421 Misdirected\r\nContent-Length: 0\r\n\r\n",
          "HTTP/1.1 425 Early\r\nContent-Length: 0\r\n\r\n",
          "HTTP/1.1 429 Often\r\nRetry-After: 0\r\nContent-Length: 0\r\n\r\n",
          "HTTP/1.1 503 Later\r\nRetry-After: 0\r\nContent-Length: 0\r\n\r\n"}) {
        const LoopbackServer server((std::string(reply)));
        EXPECT_EQ(fetch(post(server.url())).response.statusCode, std::stoi(std::string(reply).substr(9)));
        EXPECT_EQ(server.requests().size(), 1u) << reply;
    }
}

TEST_F(URLSessionOnce, AsksAgainWhereAKeptConnectionHasClosed) {
    // The first connection answers once and closes only when the next question has come, unanswered.
    const LoopbackServer server([count = 0](const ReceivedRequest& request, Peer& peer) mutable {
        if (++count == 2) return peer.close();
        peer.send(httpReply(200, request.target()));
    });
    EXPECT_EQ(fetch({.url = server.url("/first")}).data, "/first");
    EXPECT_EQ(fetch({.url = server.url("/second")}).data, "/second");
    EXPECT_EQ(server.connections(), 2);
}

// Speaks HTTP/2 as far as it takes to refuse every request, and counts them.
class RefusingServer {
  public:
    explicit RefusingServer(std::string refusal)
        : refusal_(std::move(refusal)),
          server_({.protocol = "h2", .converse = [this](SSL* connection) { refuse(connection); }}) {}

    SecureServer& server() { return server_; }
    int requests() const { return requests_; }

  private:
    static bool read(SSL* connection, std::string& bytes, std::size_t count) {
        bytes.resize(count);
        std::size_t done = 0;
        while (done < count) {
            const int got = SSL_read(connection, bytes.data() + done, static_cast<int>(count - done));
            if (got <= 0) return false;
            done += static_cast<std::size_t>(got);
        }
        return true;
    }

    void refuse(SSL* connection) {
        constexpr std::size_t preface = 24;
        constexpr std::size_t frameHead = 9;
        constexpr char headersFrame = 1;
        const std::string emptySettings("\0\0\0\4\0\0\0\0\0", frameHead);
        std::string bytes;
        if (!read(connection, bytes, preface)) return;
        SSL_write(connection, emptySettings.data(), static_cast<int>(emptySettings.size()));
        while (read(connection, bytes, frameHead)) {
            const std::string head = bytes;
            const auto byte = [&head](std::size_t at) { return static_cast<unsigned char>(head[at]); };
            if (!read(connection, bytes, std::size_t{byte(0)} << 16 | std::size_t{byte(1)} << 8 | byte(2)))
                return;
            if (head[3] != headersFrame) continue;
            ++requests_;
            std::string frame = refusal_;
            const bool concernsTheStream = frame[3] == 3;
            if (concernsTheStream) frame.replace(5, 4, head, 5, 4);
            SSL_write(connection, frame.data(), static_cast<int>(frame.size()));
        }
    }

    std::string refusal_;
    std::atomic<int> requests_ = 0;
    SecureServer server_;
};

TEST_F(URLSessionOnce, SendsAPostOnceOverHTTP2) {
    const std::vector<std::pair<const char*, std::string>> refusals = {
        {"refused stream", std::string("\0\0\4\3\0\0\0\0\0\0\0\0\7", 13)},
        {"HTTP/1.1 required", std::string("\0\0\4\3\0\0\0\0\0\0\0\0\15", 13)},
        {"internal error", std::string("\0\0\4\3\0\0\0\0\0\0\0\0\2", 13)},
        {"going away, having seen nothing", std::string("\0\0\10\7\0\0\0\0\0\0\0\0\0\0\0\0\0", 17)},
    };
    for (const auto& [description, refusal] : refusals) {
        SCOPED_TRACE(description);
        RefusingServer refusing(refusal);
        const platform::testing::TemporaryFolder folder;
        const platform::testing::ScopedEnvironment trust(
            {{"SSL_CERT_FILE", folder.write("trusted.pem", refusing.server().certificate()).string()}});
        EXPECT_TRUE(failure(post(refusing.server().url())));
        refusing.server().end();
        EXPECT_EQ(refusing.requests(), 1);
    }
}

}  // namespace
}  // namespace platform
