// SPDX-License-Identifier: Apache-2.0

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/platform/URLSessionFixture.hpp"

namespace platform {
namespace {

using platform::testing::httpReply;
using platform::testing::LoopbackServer;
using platform::testing::ReceivedRequest;
using platform::testing::ScopedEnvironment;
using Peer = LoopbackServer::Peer;

class URLSessionProxies : public platform::testing::URLSessionTest {
  protected:
    static URLRequest post(const std::string& url) {
        URLRequest request = {.url = URL::parse(url).value(), .httpMethod = "POST", .httpBody = "body"};
        request.setValue("Bearer token", "authorization");
        return request;
    }
    static std::string address(const LoopbackServer& server, const std::string& scheme = "http",
                               const std::string& userInformation = "") {
        return scheme + "://" + userInformation + "127.0.0.1:" + std::to_string(server.port());
    }

    const LoopbackServer proxy{httpReply(200, "by proxy")};
};

TEST_F(URLSessionProxies, AreThoseOfTheEnvironment) {
    const LoopbackServer direct(httpReply(200, "directly"));
    struct Row {
        std::pair<std::string, std::string> variable;
        const char* noProxy;
        const char* expected;
    };
    const std::vector<Row> rows = {
        {{"http_proxy", address(proxy)}, "", "by proxy"},
        {{"http_proxy", "127.0.0.1:" + std::to_string(proxy.port())}, "", "by proxy"},
        {{"all_proxy", address(proxy)}, "", "by proxy"},
        {{"ALL_PROXY", address(proxy)}, "", "by proxy"},
        {{"http_proxy", address(proxy)}, "elsewhere.example", "by proxy"},
        {{"http_proxy", address(proxy)}, "127.0.0.1", "directly"},
        {{"http_proxy", address(proxy)}, "elsewhere.example, 127.0.0.1", "directly"},
        {{"http_proxy", address(proxy)}, "127.0.0.0/8", "directly"},
        {{"http_proxy", address(proxy)}, "*", "directly"},
        // What a web server's environment would call a request's field "Proxy".
        {{"HTTP_PROXY", address(proxy)}, "", "directly"},
        {{"https_proxy", address(proxy)}, "", "directly"},
    };
    for (const Row& row : rows) {
        const ScopedEnvironment variables(
            {{row.variable.first, row.variable.second}, {"no_proxy", row.noProxy}});
        EXPECT_EQ(fetch({.url = direct.url()}).data, row.expected)
            << row.variable.first << "=" << row.variable.second << " no_proxy=" << row.noProxy;
    }
}

TEST_F(URLSessionProxies, LearnNoMoreThanTheServerWould) {
    const ScopedEnvironment variables({{"http_proxy", address(proxy)}});
    fetch(post("http://user:pw@account.example/graphql"));
    ASSERT_EQ(proxy.requests().size(), 1u);
    EXPECT_EQ(proxy.requests()[0].target(), "http://account.example/graphql");
    EXPECT_THAT(proxy.requests()[0].headerLines(),
                ::testing::ElementsAre("Host: account.example", "Accept-Encoding: gzip, deflate",
                                       "Proxy-Connection: Keep-Alive", "authorization: Bearer token",
                                       "Content-Length: 4"));
}

TEST_F(URLSessionProxies, AreShownTheirOwnCredentialsAlone) {
    const ScopedEnvironment variables({{"http_proxy", address(proxy, "http", "user:pw@")}});
    fetch({.url = URL::parse("http://account.example/").value()});
    ASSERT_EQ(proxy.requests().size(), 1u);
    EXPECT_EQ(proxy.requests()[0].header("proxy-authorization"), "Basic dXNlcjpwdw==");
    EXPECT_EQ(proxy.requests()[0].header("authorization"), "");
}

TEST_F(URLSessionProxies, AreToldOnlyWhereToConnectForHTTPS) {
    for (const int statusCode : {200, 407, 502}) {
        const LoopbackServer tunnel([statusCode](const ReceivedRequest&, Peer& peer) {
            peer.send("HTTP/1.1 " + std::to_string(statusCode) +
                      " Tunnel\r\nProxy-Authenticate: Basic realm=\"x\"\r\nContent-Length: 0\r\n\r\n");
            peer.close();
        });
        const ScopedEnvironment variables({{"https_proxy", address(tunnel)}});
        EXPECT_TRUE(failure(post("https://user:pw@account.example/graphql"))) << statusCode;
        ASSERT_EQ(tunnel.requests().size(), 1u) << statusCode;
        EXPECT_EQ(tunnel.requests()[0].target(), "account.example:443");
        EXPECT_EQ(tunnel.requests()[0].header("authorization"), "");
        EXPECT_EQ(tunnel.requests()[0].body, "");
    }
}

TEST_F(URLSessionProxies, ThatWantCredentialsAreAskedOnce) {
    const LoopbackServer refusing(
        "HTTP/1.1 407 Who?\r\nProxy-Authenticate: Basic realm=\"x\"\r\nProxy-Authenticate: Digest "
        "realm=\"x\", nonce=\"y\"\r\nContent-Length: 0\r\n\r\n");
    for (const char* userInformation : {"", "user:pw@"}) {
        const ScopedEnvironment variables({{"http_proxy", address(refusing, "http", userInformation)}});
        EXPECT_EQ(fetch(post("http://account.example/graphql")).response.statusCode, 407);
    }
    EXPECT_EQ(refusing.requests().size(), 2u);
}

TEST_F(URLSessionProxies, MaySpeakSOCKS) {
    const std::string greeting("\5\0", 2);
    const std::string connected("\5\0\0\1\177\0\0\1\0\120", 10);
    const LoopbackServer socks(
        [&](const ReceivedRequest&, Peer& peer) {
            peer.send(greeting + connected + httpReply(200, "by SOCKS"));
            peer.stall();
        },
        LoopbackServer::Reading::nothing);
    for (const char* scheme : {"socks5", "socks5h"}) {
        const ScopedEnvironment variables({{"ALL_PROXY", address(socks, scheme)}});
        EXPECT_EQ(fetch(post("http://127.0.0.1:9/graphql")).data, "by SOCKS");
    }
}

TEST_F(URLSessionProxies, ThatAreNotThereAreNotPassedBy) {
    const LoopbackServer direct(httpReply(200, "directly"));
    const std::string nowhere = "http://127.0.0.1:" + std::to_string(platform::testing::unusedPort());
    const ScopedEnvironment variables({{"http_proxy", nowhere}});
    EXPECT_EQ(failure({.url = direct.url()}), URLErrorCode::cannotConnectToHost);
    EXPECT_EQ(direct.connections(), 0);
}

}  // namespace
}  // namespace platform
