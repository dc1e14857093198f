// SPDX-License-Identifier: Apache-2.0

#include <gtest/gtest.h>

#include "platform/URLSession/Redirect.hpp"
#include "tests/platform/URLSessionFixture.hpp"

namespace platform {
namespace {

using platform::testing::httpReply;
using platform::testing::LoopbackServer;
using platform::testing::ReceivedRequest;

URL url(const std::string& text) {
    return URL::parse(text).value();
}

std::string redirect(int statusCode, const std::string& location) {
    return httpReply(statusCode, "moved", {"Location: " + location});
}

class URLSessionRedirects : public platform::testing::URLSessionTest {
  protected:
    URLRequest signedIn(const URL& to, const std::string& method, const std::string& body) {
        URLRequest request = {.url = to, .httpMethod = method, .httpBody = body};
        request.setValue("application/json", "Content-type");
        request.setValue("application/json", "Accept");
        request.setValue("Bearer token", "authorization");
        request.setCredential("legacy", "x-session");
        request.setValue("a=b", "Cookie");
        return request;
    }
};

TEST_F(URLSessionRedirects, ChangeTheMethodAsTheirStatusSays) {
    struct Row {
        int statusCode;
        const char* method;
        const char* expectedMethod;
        bool keepsBody;
    };
    const std::vector<Row> rows = {
        {301, "POST", "GET", false},     {302, "POST", "GET", false}, {303, "POST", "GET", false},
        {307, "POST", "POST", true},     {308, "POST", "POST", true}, {301, "PUT", "PUT", true},
        {302, "DELETE", "DELETE", true}, {303, "PUT", "GET", false},  {303, "HEAD", "HEAD", true},
        {301, "GET", "GET", true},       {307, "GET", "GET", true},
    };
    for (const Row& row : rows) {
        const LoopbackServer server([&row](const ReceivedRequest& request, LoopbackServer::Peer& peer) {
            const bool isHead = request.method() == "HEAD";
            if (request.target() == "/old") {
                peer.send("HTTP/1.1 " + std::to_string(row.statusCode) + " Moved\r\nLocation: new?x\r\n" +
                          (isHead ? "" : "Content-Length: 0\r\n") + "\r\n");
            } else {
                peer.send(isHead ? "HTTP/1.1 200 OK\r\n\r\n" : httpReply(200, "arrived"));
            }
        });
        SCOPED_TRACE(std::to_string(row.statusCode) + " " + row.method);
        const bool hasBody = std::string_view(row.method) == "POST" || std::string_view(row.method) == "PUT";
        const URLReply reply = fetch(signedIn(server.url("/old"), row.method, hasBody ? "body" : ""));
        EXPECT_EQ(reply.response.url, server.url("/new?x"));
        const auto requests = server.requests();
        ASSERT_EQ(requests.size(), 2u);
        EXPECT_EQ(requests[1].method(), row.expectedMethod);
        EXPECT_EQ(requests[1].body, hasBody && row.keepsBody ? "body" : "");
        EXPECT_EQ(requests[1].header("content-type"), row.keepsBody ? "application/json" : "");
        EXPECT_EQ(requests[1].header("authorization"), "Bearer token");
        EXPECT_EQ(requests[1].header("accept"), "application/json");
    }
}

TEST_F(URLSessionRedirects, TakeNoCredentialToAnotherOrigin) {
    for (const int statusCode : {301, 302, 303, 307, 308}) {
        for (const char* method : {"GET", "POST"}) {
            if (statusCode >= 307 && std::string_view(method) == "POST") continue;
            SCOPED_TRACE(std::to_string(statusCode) + " " + method);
            const LoopbackServer other(httpReply(200, "arrived"));
            const LoopbackServer server(redirect(statusCode, other.url("/there").absoluteString()));
            const bool isPost = std::string_view(method) == "POST";
            EXPECT_EQ(fetch(signedIn(server.url(), method, isPost ? "refresh token" : "")).data, "arrived");
            ASSERT_EQ(other.requests().size(), 1u);
            const ReceivedRequest arrived = other.requests().front();
            EXPECT_EQ(arrived.body, "");
            for (const char* field : {"authorization", "x-session", "cookie"}) {
                EXPECT_EQ(arrived.header(field), "") << field;
            }
            EXPECT_EQ(arrived.header("accept"), "application/json");
        }
    }
}

TEST_F(URLSessionRedirects, TakeNoBodyToAnotherOriginAndHandOutTheReplyInstead) {
    for (const int statusCode : {307, 308}) {
        const LoopbackServer other(httpReply(200, "arrived"));
        const LoopbackServer server(redirect(statusCode, other.url().absoluteString()));
        const URLReply reply = fetch(signedIn(server.url(), "POST", "refresh token"));
        EXPECT_EQ(reply.response.statusCode, statusCode);
        EXPECT_EQ(reply.response.url, server.url());
        EXPECT_EQ(reply.data, "moved");
        EXPECT_EQ(other.connections(), 0);
    }
}

TEST_F(URLSessionRedirects, BringNoCredentialBackFromAnotherOrigin) {
    std::string home;
    const LoopbackServer other(
        [&home](const ReceivedRequest&, LoopbackServer::Peer& peer) { peer.send(redirect(302, home)); });
    const LoopbackServer server([&other](const ReceivedRequest& request, LoopbackServer::Peer& peer) {
        peer.send(request.target() == "/home" ? httpReply(200, "home")
                                              : redirect(302, other.url().absoluteString()));
    });
    home = server.url("/home").absoluteString();
    EXPECT_EQ(fetch(signedIn(server.url("/out"), "GET", "")).data, "home");
    EXPECT_EQ(server.requests().back().header("authorization"), "");
}

TEST_F(URLSessionRedirects, LeaveHTTPForNothing) {
    for (const char* location : {"file:///etc/passwd", "FILE:///etc/passwd", "ftp://127.0.0.1/x", "data:,x",
                                 "velaapp://home", "gopher://127.0.0.1:1/"}) {
        const LoopbackServer server(redirect(302, location));
        EXPECT_EQ(failure({.url = server.url()}), URLErrorCode::unsupportedURL) << location;
    }
}

TEST_F(URLSessionRedirects, EndAfterTwenty) {
    const LoopbackServer loop(redirect(302, "/"));
    EXPECT_EQ(failure({.url = loop.url()}), URLErrorCode::tooManyRedirects);
    EXPECT_EQ(loop.requests().size(), 21u);

    const LoopbackServer countdown([](const ReceivedRequest& request, LoopbackServer::Peer& peer) {
        const int left = std::stoi(request.target().substr(1));
        peer.send(left == 0 ? httpReply(200, "arrived") : redirect(302, "/" + std::to_string(left - 1)));
    });
    EXPECT_EQ(fetch({.url = countdown.url("/20")}).data, "arrived");
    EXPECT_EQ(failure({.url = countdown.url("/21")}), URLErrorCode::tooManyRedirects);
}

TEST_F(URLSessionRedirects, AreHandedOutWhereTheyLeadNowhere) {
    const LoopbackServer withoutLocation(httpReply(302, "moved"));
    EXPECT_EQ(fetch({.url = withoutLocation.url()}).response.statusCode, 302);
    const LoopbackServer broken(redirect(302, "http://[broken/"));
    EXPECT_EQ(fetch({.url = broken.url()}).response.statusCode, 302);
    for (const int statusCode : {300, 304, 305, 306}) {
        const LoopbackServer server("HTTP/1.1 " + std::to_string(statusCode) +
                                    " Other\r\nLocation: /new\r\nContent-Length: 0\r\n\r\n");
        EXPECT_EQ(fetch({.url = server.url()}).response.statusCode, statusCode);
    }
}

TEST(RequestAfterRedirect, TakesAnotherSchemeHostOrPortForAnotherOrigin) {
    struct Row {
        const char* location;
        bool isSameOrigin;
    };
    const std::vector<Row> rows = {
        {"/path", true},
        {"https://example.com/path", true},
        {"https://EXAMPLE.com:443/", true},
        {"https://example.com:444/", false},
        {"https://www.example.com/", false},
        {"https://example.com.evil.example/", false},
        {"https://example.com@evil.example/", false},
        {"//evil.example/", false},
    };
    URLRequest request = {.url = url("https://example.com/")};
    request.setValue("Bearer token", "Authorization");
    request.setValue("x", "PROXY-authorization");
    request.setCredential("x", "X-Session");
    for (const Row& row : rows) {
        const auto next = requestAfterRedirect(
            request, {.url = request.url, .statusCode = 302, .headers = {{"location", row.location}}});
        ASSERT_TRUE(next) << row.location;
        EXPECT_EQ(next->headers == request.headers, row.isSameOrigin) << row.location;
        EXPECT_EQ(next->headers.empty(), !row.isSameOrigin) << row.location;
    }
}

TEST(RequestAfterRedirect, NeverLeavesHTTPSForHTTP) {
    for (const char* method : {"GET", "POST"}) {
        const URLRequest request = {.url = url("https://example.com/"), .httpMethod = method};
        for (const char* location : {"http://example.com/", "HTTP://example.com:443/", "http://a.example/"}) {
            EXPECT_THROW(
                requestAfterRedirect(
                    request, {.url = request.url, .statusCode = 302, .headers = {{"location", location}}}),
                URLError)
                << location;
        }
    }
    const URLRequest plain = {.url = url("http://example.com/")};
    EXPECT_TRUE(requestAfterRedirect(
        plain, {.url = plain.url, .statusCode = 302, .headers = {{"location", "https://example.com/"}}}));
}

}  // namespace
}  // namespace platform
