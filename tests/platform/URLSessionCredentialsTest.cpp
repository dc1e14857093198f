// SPDX-License-Identifier: Apache-2.0

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/platform/URLSessionFixture.hpp"
#include "tests/support/TemporaryFolder.hpp"

namespace platform {
namespace {

using platform::testing::httpReply;
using platform::testing::LoopbackServer;
using platform::testing::ReceivedRequest;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr const char* everyUserInformation[] = {"user:pw@", "user@",  "user:@",        ":pw@",       "@",
                                                ":@",       "a:b:c@", "us%65r:p%40w@", "Bearer%20x@"};

class URLSessionCredentials : public platform::testing::URLSessionTest {
  protected:
    static URL with(const char* userInformation, const LoopbackServer& server, const char* path = "/") {
        return URL::parse("http://" + std::string(userInformation) +
                          "127.0.0.1:" + std::to_string(server.port()) + path)
            .value();
    }
    static void expectNoCredential(const LoopbackServer& server, std::size_t requests) {
        ASSERT_EQ(server.requests().size(), requests);
        for (const ReceivedRequest& request : server.requests()) {
            EXPECT_EQ(request.header("authorization"), "");
            EXPECT_EQ(request.header("proxy-authorization"), "");
            EXPECT_EQ(request.header("host"), "127.0.0.1:" + std::to_string(server.port()));
            EXPECT_EQ(request.target().find('@'), std::string::npos) << request.target();
        }
    }
};

TEST_F(URLSessionCredentials, AreNotMadeOfUserInformation) {
    for (const char* userInformation : everyUserInformation) {
        SCOPED_TRACE(userInformation);
        const LoopbackServer server(httpReply(200, "x"));
        fetch({.url = with(userInformation, server)});
        fetch({.url = with(userInformation, server), .httpMethod = "POST", .httpBody = "x"});
        session->startDataTask({.url = with(userInformation, server), .httpMethod = "POST"});
        session->waitForForgottenTasks(platform::testing::patience);
        readWholeResource(with(userInformation, server), 100);
        expectNoCredential(server, 4);
    }
}

TEST_F(URLSessionCredentials, AreNotMadeOfARedirectsUserInformation) {
    for (const char* userInformation : everyUserInformation) {
        for (const char* method : {"GET", "POST"}) {
            for (const int statusCode : {302, 307}) {
                SCOPED_TRACE(std::string(userInformation) + " " + method + " " + std::to_string(statusCode));
                std::string home;
                const LoopbackServer server([&](const ReceivedRequest& request, LoopbackServer::Peer& peer) {
                    peer.send(request.target() == "/" ? httpReply(statusCode, "", {"Location: " + home})
                                                      : httpReply(200, "arrived"));
                });
                home = with(userInformation, server, "/home").absoluteString();
                EXPECT_EQ(fetch({.url = server.url(), .httpMethod = method}).data, "arrived");
                home = "/relative";
                EXPECT_EQ(fetch({.url = with(userInformation, server), .httpMethod = method}).data,
                          "arrived");
                expectNoCredential(server, 4);
            }
        }
    }
}

TEST_F(URLSessionCredentials, AreNotMadeOfUserInformationOfAnotherOrigin) {
    for (const char* userInformation : everyUserInformation) {
        SCOPED_TRACE(userInformation);
        const LoopbackServer other(httpReply(200, "arrived"));
        const LoopbackServer server(
            httpReply(302, "", {"Location: " + with(userInformation, other).absoluteString()}));
        EXPECT_EQ(fetch({.url = with(userInformation, server)}).data, "arrived");
        EXPECT_EQ(readWholeResource(with(userInformation, server), 100), "arrived");
        expectNoCredential(server, 2);
        expectNoCredential(other, 2);
    }
}

TEST_F(URLSessionCredentials, AreOnesOwnBesideUserInformation) {
    const LoopbackServer server(httpReply(200, "x"));
    fetch({.url = with("user:pw@", server), .headers = {{"authorization", "Bearer token"}}});
    EXPECT_THAT(server.requests().at(0).headerLines(),
                ElementsAre("Host: 127.0.0.1:" + std::to_string(server.port()),
                            "Accept-Encoding: gzip, deflate", "authorization: Bearer token"));
}

TEST_F(URLSessionCredentials, AreNotReadFromAFileOfPasswords) {
    const platform::testing::TemporaryFolder home;
    home.write(".netrc", "machine 127.0.0.1 login user password pw\ndefault login user password pw\n");
    const platform::testing::ScopedEnvironment variables(
        {{"HOME", home.path().string()}, {"NETRC", (home.path() / ".netrc").string()}});
    const LoopbackServer server(httpReply(200, "x"));
    fetch({.url = server.url()});
    fetch({.url = with("user@", server)});
    expectNoCredential(server, 2);
}

TEST_F(URLSessionCredentials, GoToNoURLWithoutAHost) {
    const LoopbackServer server(httpReply(200, "x"));
    const std::string authority = "127.0.0.1:" + std::to_string(server.port()) + "/";
    for (const std::string& text : {"http:/" + authority, "http:" + authority, "http:///" + authority,
                                    std::string("http://"), std::string("http://user@/")}) {
        const auto url = URL::parse(text);
        if (!url) continue;
        EXPECT_EQ(failure({.url = *url}), URLErrorCode::unsupportedURL) << text;
    }
    EXPECT_EQ(server.connections(), 0);
}

TEST_F(URLSessionCredentials, OfACookieAreNeverKept) {
    const LoopbackServer server([](const ReceivedRequest& request, LoopbackServer::Peer& peer) {
        std::vector<std::string> lines = {"Set-Cookie: session=1; Path=/; Max-Age=3600"};
        if (request.target() == "/old") lines.push_back("Location: /new");
        peer.send(httpReply(request.target() == "/old" ? 302 : 200, "x", lines));
    });
    for (int count = 0; count < 2; ++count) {
        fetch({.url = server.url("/old")});
        fetch({.url = server.url(), .httpMethod = "POST", .httpBody = "x"});
        readWholeResource(server.url("/old"), 100);
    }
    ASSERT_EQ(server.requests().size(), 10u);
    for (const ReceivedRequest& request : server.requests()) EXPECT_EQ(request.header("cookie"), "");
}

TEST_F(URLSessionCredentials, AndRepliesAreNotKeptEither) {
    const LoopbackServer server([count = 0](const ReceivedRequest&, LoopbackServer::Peer& peer) mutable {
        peer.send(httpReply(
            200, std::to_string(++count),
            {"Cache-Control: public, max-age=3600, immutable", "ETag: \"1\"",
             "Last-Modified: Mon, 01 Jan 2024 00:00:00 GMT", "Expires: Fri, 01 Jan 2100 00:00:00 GMT"}));
    });
    EXPECT_EQ(fetch({.url = server.url()}).data, "1");
    EXPECT_EQ(fetch({.url = server.url()}).data, "2");
    EXPECT_EQ(readWholeResource(server.url(), 100), "3");
    EXPECT_EQ(readWholeResource(server.url(), 100), "4");
    for (const ReceivedRequest& request : server.requests()) {
        EXPECT_EQ(request.header("if-none-match") + request.header("if-modified-since"), "");
    }
}

}  // namespace
}  // namespace platform
