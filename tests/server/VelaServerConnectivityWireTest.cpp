// SPDX-License-Identifier: Apache-2.0

// What the account server's client puts on the wire, over the real transport.

#include <gmock/gmock.h>

#include "tests/server/AccountServerTwin.hpp"
#include "tests/support/LoopbackServer.hpp"
#include "tests/support/ScopedEnvironment.hpp"

namespace server {
namespace {

using platform::testing::httpReply;
using platform::testing::LoopbackServer;
using platform::testing::ReceivedRequest;
using Lines = std::vector<std::string>;

constexpr const char* emptyReply = R"({"data":{"__typename":"Query"}})";

class ServerConnectivityWire : public AccountServerTwin {
  protected:
    /// The header lines of what was sent to a base URL with this user information, without those of every
    /// request.
    template <typename Operation>
    std::vector<Lines> sent(const std::string& userInformation, const Operation& operation,
                            const LoopbackServer& server) {
        const SharedDefaults place(
            std::make_unique<platform::testing::InMemoryUserDefaults>(),
            "http://" + userInformation + "127.0.0.1:" + std::to_string(server.port()));
        VelaServerConnectivity client(place, keychains, [] {
            return platform::URLSession::session(platform::URLSessionConfiguration());
        });
        try {
            awaited(client.perform(operation));
        } catch (const std::exception&) {
            // What becomes of the reply is not what is looked at.
        }
        std::vector<Lines> all;
        for (const ReceivedRequest& request : server.requests()) {
            Lines lines = request.headerLines();
            std::erase_if(lines, [](const std::string& line) {
                return line.starts_with("Host: 127.0.0.1:") || line.starts_with("Content-Length: ") ||
                       line == "Accept-Encoding: gzip, deflate";
            });
            all.push_back(std::move(lines));
        }
        return all;
    }

    const std::string contentType = "Content-type: application/json";
    const std::string accept = "Accept: application/json";
    const VelaApi::TrackingWidgetQuery query{192};
    const VelaApi::RefreshAccessTokenMutation mutation{"refresh"};
    platform::testing::ScopedEnvironment noProxy{{{"http_proxy", std::nullopt}, {"all_proxy", std::nullopt}}};
};

TEST_F(ServerConnectivityWire, CarriesTheAgreedHeadersWhateverUserInformationTheBaseHas) {
    for (const char* userInformation : {"", "user:pw@", "user@", ":pw@", "@", "us%65r:p%40w@"}) {
        SCOPED_TRACE(userInformation);
        const LoopbackServer server(httpReply(200, emptyReply));
        EXPECT_EQ(sent(userInformation, query, server).back(), (Lines{contentType, accept}));
        EXPECT_EQ(sent(userInformation, mutation, server).back(), (Lines{contentType, accept}));
        sessionKeychain().setData(platform::Data{std::string("session-1")}, "session");
        EXPECT_EQ(sent(userInformation, query, server).back(),
                  (Lines{contentType, accept, "pontal-server-session-id: session-1"}));
        EXPECT_EQ(sent(userInformation, mutation, server).back(), (Lines{contentType, accept}));
        signIn("token", "refresh");
        EXPECT_EQ(sent(userInformation, query, server).back(),
                  (Lines{contentType, accept, "authorization: Bearer token"}));
        EXPECT_EQ(sent(userInformation, mutation, server).back(), (Lines{contentType, accept}));
        EXPECT_EQ(server.requests().size(), 6u);
        for (const char* key : {"accessToken", "refreshToken", "session"})
            sessionKeychain().setData(std::nullopt, key);
    }
}

TEST_F(ServerConnectivityWire, CarriesThemAlongARedirectWithUserInformation) {
    signIn("token", "refresh");
    std::string location;
    const LoopbackServer server([&location](const ReceivedRequest& request, LoopbackServer::Peer& peer) {
        const bool isFirst = request.target() == "/graphql";
        peer.send(isFirst ? httpReply(307, "", {"Location: " + location}) : httpReply(200, emptyReply));
    });
    location = "http://user:pw@127.0.0.1:" + std::to_string(server.port()) + "/moved";
    EXPECT_THAT(sent("", query, server),
                ::testing::ElementsAre(Lines{contentType, accept, "authorization: Bearer token"},
                                       Lines{contentType, accept, "authorization: Bearer token"}));
    EXPECT_EQ(sent("user:pw@", mutation, server).back(), (Lines{contentType, accept}));
    EXPECT_EQ(server.requests().size(), 4u);
}

TEST_F(ServerConnectivityWire, TakesNoCredentialAlongARedirectToAnotherServer) {
    const auto expectNoneElsewhere = [this](const std::string& credential) {
        const LoopbackServer elsewhere(httpReply(200, emptyReply));
        const LoopbackServer server(
            httpReply(302, "", {"Location: " + elsewhere.url("/graphql").absoluteString()}));
        EXPECT_EQ(sent("", query, server).back(), (Lines{contentType, accept, credential}));
        ASSERT_EQ(elsewhere.requests().size(), 1u);
        for (const char* field : {"authorization", "pontal-server-session-id"})
            EXPECT_EQ(elsewhere.requests()[0].header(field), "") << field;
    };
    keychains.session.setData(platform::Data{"session-1"}, "session");
    expectNoneElsewhere("pontal-server-session-id: session-1");
    signIn("token", "refresh");
    expectNoneElsewhere("authorization: Bearer token");
}

TEST_F(ServerConnectivityWire, IsOneRequestForEveryPerform) {
    signIn("token", "refresh");
    // Every connection answers one request, promises to stay open, and hangs up on the next.
    const LoopbackServer server([](const ReceivedRequest& request, LoopbackServer::Peer& peer) {
        if (request.connection % 3 == 0) return peer.close();
        peer.send(httpReply(200, emptyReply, {"Connection: keep-alive"}));
        if (request.connection % 3 == 1) peer.close();
    });
    const SharedDefaults place(std::make_unique<platform::testing::InMemoryUserDefaults>(),
                               "http://127.0.0.1:" + std::to_string(server.port()));
    VelaServerConnectivity client(
        place, keychains, [] { return platform::URLSession::session(platform::URLSessionConfiguration()); });
    for (std::size_t performed = 1; performed <= 12; ++performed) {
        try {
            if (performed % 2 == 0) {
                awaited(client.perform(query));
            } else {
                awaited(client.perform(mutation));
            }
        } catch (const std::exception&) {
            // A lost connection is the caller's to deal with.
        }
        EXPECT_EQ(server.requests().size(), performed);
    }
}

}  // namespace
}  // namespace server
