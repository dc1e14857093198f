// SPDX-License-Identifier: Apache-2.0

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/platform/URLSessionFixture.hpp"

namespace platform {
namespace {

using platform::testing::httpReply;
using platform::testing::LoopbackServer;
using platform::testing::ReceivedRequest;
using ::testing::ElementsAre;

class URLSessionRequests : public platform::testing::URLSessionTest {};

TEST_F(URLSessionRequests, SendsHeadersAsSpelledAndInOrderAndNothingUnasked) {
    const LoopbackServer server(httpReply(200, "{}"));
    URLRequest request = {
        .url = server.url("//graphql?a=%20b"), .httpMethod = "POST", .httpBody = "{\"query\":1}"};
    request.setValue("application/json", "Content-type");
    request.setValue("application/json", "Accept");
    request.setValue("Bearer token", "authorization");
    fetch(request);

    ASSERT_EQ(server.requests().size(), 1u);
    const ReceivedRequest received = server.requests().front();
    EXPECT_EQ(received.head.substr(0, received.head.find("\r\n")), "POST //graphql?a=%20b HTTP/1.1");
    EXPECT_THAT(received.headerLines(),
                ElementsAre("Host: 127.0.0.1:" + std::to_string(server.port()),
                            "Accept-Encoding: gzip, deflate", "Content-type: application/json",
                            "Accept: application/json", "authorization: Bearer token", "Content-Length: 11"));
    EXPECT_EQ(received.body, "{\"query\":1}");
}

TEST_F(URLSessionRequests, SendsNoHeaderThatNobodyAskedFor) {
    const LoopbackServer server(httpReply(200, ""));
    fetch({.url = server.url(), .httpMethod = "POST", .httpBody = std::string(2 << 20, 'x')});
    fetch({.url = server.url(), .httpMethod = "GET"});
    const std::string host = "Host: 127.0.0.1:" + std::to_string(server.port());
    const auto requests = server.requests();
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_THAT(requests[0].headerLines(),
                ElementsAre(host, "Accept-Encoding: gzip, deflate", "Content-Length: 2097152"));
    EXPECT_EQ(requests[0].body.size(), std::size_t{2} << 20);
    EXPECT_THAT(requests[1].headerLines(), ElementsAre(host, "Accept-Encoding: gzip, deflate"));
}

TEST_F(URLSessionRequests, SendsEveryMethodWithOrWithoutABody) {
    const LoopbackServer server([](const ReceivedRequest& request, LoopbackServer::Peer& peer) {
        peer.send(request.method() == "HEAD" ? "HTTP/1.1 200 OK\r\nContent-Length: 99999999\r\n\r\n"
                                             : httpReply(200, request.method() + " " + request.body));
    });
    for (const char* method : {"GET", "POST", "PUT", "PATCH", "DELETE", "OPTIONS", "X-OWN"}) {
        for (const char* body : {"", "body"}) {
            EXPECT_EQ(fetch({.url = server.url(), .httpMethod = method, .httpBody = body}).data,
                      std::string(method) + " " + body);
        }
    }
    EXPECT_EQ(fetch({.url = server.url(), .httpMethod = "HEAD"}).response.statusCode, 200);
}

TEST_F(URLSessionRequests, GivesTheReplyWhateverItsStatus) {
    for (const int status : {200, 204, 304, 401, 404, 500, 599}) {
        const LoopbackServer server(httpReply(status, status == 204 || status == 304 ? "" : "body",
                                              {"X-One: first", "x-two:  second  ", "X-Empty:"}));
        const URLReply reply = fetch({.url = server.url("/path")});
        EXPECT_EQ(reply.response.statusCode, status);
        EXPECT_EQ(reply.response.url, server.url("/path"));
        EXPECT_EQ(reply.data, status == 204 || status == 304 ? "" : "body");
        EXPECT_THAT(reply.response.headers, ::testing::IsSupersetOf({HTTPHeaderField{"X-One", "first"},
                                                                     HTTPHeaderField{"x-two", "second"},
                                                                     HTTPHeaderField{"X-Empty", ""}}));
    }
}

TEST_F(URLSessionRequests, SendsAnEmptyHeaderValue) {
    const LoopbackServer server(httpReply(200, ""));
    URLRequest request = {.url = server.url()};
    request.setValue("", "X-Empty");
    fetch(request);
    EXPECT_THAT(server.requests().at(0).headerLines(), ::testing::Contains("X-Empty:"));
}

TEST_F(URLSessionRequests, RefusesWhatWouldForgeAHeader) {
    const LoopbackServer server(httpReply(200, ""));
    const std::vector<HTTPHeaderField> fields = {{"authorization", "Bearer a\r\nX-Forged: 1"},
                                                 {"authorization", "Bearer a\n"},
                                                 {"X\r\nY", "1"},
                                                 {"X: Y", "1"},
                                                 {"", "1"},
                                                 {"X", std::string("a\0b", 3)}};
    for (const HTTPHeaderField& field : fields) {
        EXPECT_EQ(failure({.url = server.url(), .headers = {field}}), URLErrorCode::unknown) << field.name;
    }
    EXPECT_EQ(failure({.url = server.url(), .httpMethod = "GET / HTTP/1.1\r\nX: "}), URLErrorCode::unknown);
    EXPECT_EQ(server.connections(), 0);
}

TEST_F(URLSessionRequests, KeepsTheConnectionForTheNextRequest) {
    const LoopbackServer server(httpReply(200, "{}"));
    for (int count = 0; count < 3; ++count) fetch({.url = server.url()});
    EXPECT_EQ(server.connections(), 1);
}

TEST_F(URLSessionRequests, UnpacksCompressedReplies) {
    const std::string text(100000, 'x');
    const LoopbackServer server(httpReply(200, platform::testing::gzip(text), {"Content-Encoding: gzip"}));
    EXPECT_EQ(fetch({.url = server.url()}).data, text);
}

TEST_F(URLSessionRequests, ReadsChunkedReplies) {
    const LoopbackServer server(
        "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n2;x=y\r\nde\r\n0\r\n\r\n");
    EXPECT_EQ(fetch({.url = server.url()}).data, "abcde");
    EXPECT_EQ(fetch({.url = server.url()}).data, "abcde");
}

TEST_F(URLSessionRequests, PassesOverInterimReplies) {
    const LoopbackServer server("HTTP/1.1 103 Early Hints\r\nX-Early: 1\r\n\r\n" + httpReply(200, "x"));
    const URLReply reply = fetch({.url = server.url()});
    EXPECT_EQ(reply.response.statusCode, 200);
    EXPECT_EQ(reply.data, "x");
    EXPECT_THAT(reply.response.headers, ElementsAre(HTTPHeaderField{"Content-Length", "1"}));
}

TEST_F(URLSessionRequests, RunsManyTransfersAtOnce) {
    const LoopbackServer server([](const ReceivedRequest& request, LoopbackServer::Peer& peer) {
        peer.send(httpReply(200, request.target()));
    });
    std::vector<URLRequest> requests;
    for (int number = 0; number < 50; ++number)
        requests.push_back({.url = server.url("/" + std::to_string(number))});
    const auto replies = fetchAll(requests);
    for (int number = 0; number < 50; ++number) EXPECT_EQ(replies[number].data, "/" + std::to_string(number));
}

TEST(URLRequestHeaders, StayCredentialsOnceTheyAre) {
    URLRequest request = {.url = URL::parse("http://localhost/").value()};
    request.setValue("1", "X-Session");
    request.setCredential("2", "x-session");
    request.setValue("3", "X-Session");
    request.setCredential("4", "X-Other");
    EXPECT_THAT(request.headers,
                ElementsAre(HTTPHeaderField{"X-Session", "3", true}, HTTPHeaderField{"X-Other", "4", true}));
}

TEST(URLRequestHeaders, KeepTheFirstSpellingAndPlace) {
    URLRequest request = {.url = URL::parse("http://localhost/").value()};
    request.setValue("1", "Content-type");
    request.setValue("2", "Accept");
    request.setValue("3", "content-TYPE");
    EXPECT_THAT(request.headers,
                ElementsAre(HTTPHeaderField{"Content-type", "3"}, HTTPHeaderField{"Accept", "2"}));
    EXPECT_EQ(request.value("CONTENT-TYPE"), "3");
    EXPECT_EQ(request.value("Content"), std::nullopt);
}

}  // namespace
}  // namespace platform
