// SPDX-License-Identifier: Apache-2.0

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "analytics/Relaybox.hpp"
#include "platform/JSON/JSONSerialization.hpp"
#include "tests/analytics/Events.hpp"
#include "tests/support/FixedAmbient.hpp"
#include "tests/support/LoopbackServer.hpp"
#include "tests/support/Patience.hpp"
#include "tests/support/RecordingLogSink.hpp"

namespace analytics {
namespace {

using platform::testing::FixedAmbient;
using platform::testing::httpReply;
using platform::testing::LoopbackServer;
using platform::testing::ReceivedRequest;
using platform::testing::RecordingLogSink;
using platform::testing::unusedPort;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr auto longEnough = platform::testing::patience;

std::shared_ptr<platform::URLSession> realSession() {
    return platform::URLSession::session(platform::URLSessionConfiguration::defaultSessionConfiguration());
}

TEST(RelayboxUpload, PutsItsHeadersOnTheWireInTheirOrderAndSpelling) {
    const FixedAmbient ambient({.now = "2024-05-01T12:00:00.250Z", .languages = {"en-GB"}});
    const LoopbackServer collector(httpReply(200, ""));
    const Relaybox relaybox(realSession(), collector.url("/v1/produce"));
    relaybox.send(PlainEvent());
    ASSERT_TRUE(collector.waitForRequests(1));

    const auto request = collector.requests().front();
    EXPECT_EQ(request.method(), "POST");
    EXPECT_EQ(request.target(), "/v1/produce");
    EXPECT_EQ(request.body,
              R"({"created_at":736257600.25,"payload":{"some_key":"value"},"schema_id":"plain/1.0"})");
    std::vector<std::string> own;
    for (const auto& line : request.headerLines())
        if (line.starts_with("Content-Type") || line.starts_with("X-")) own.push_back(line);
    EXPECT_THAT(own, ElementsAre("Content-Type: application/json",
                                 "X-Relaybox-Edge-Event-Created-At-Ms: 1714564800250",
                                 "X-Relaybox-Edge-Event-Sent-At-Ms: 1714564800250",
                                 "X-Relaybox-Edge-Content-Language: en-GB"));
    EXPECT_EQ(request.header("Expect"), "");
}

TEST(RelayboxUpload, CarriesNoCredentialWhateverUserInformationTheAddressHas) {
    for (const char* userInformation : {"user:pw@", "user@", ":pw@", "@", "us%65r:p%40w@"}) {
        const LoopbackServer collector(httpReply(200, ""));
        const auto url = platform::URL::parse("http://" + std::string(userInformation) + "127.0.0.1:" +
                                              std::to_string(collector.port()) + "/v1/produce");
        const Relaybox relaybox(realSession(), *url);
        relaybox.send(PlainEvent());
        ASSERT_TRUE(collector.waitForRequests(1));
        EXPECT_EQ(collector.requests().front().header("authorization"), "") << userInformation;
        EXPECT_EQ(collector.requests().front().headerLines().size(), 7u) << userInformation;
    }
}

TEST(RelayboxUpload, TellsOneInstantInTheHeaderAndInTheBody) {
    const LoopbackServer collector(httpReply(200, ""));
    const Relaybox relaybox(realSession(), collector.url("/v1/produce"));
    relaybox.send(PlainEvent());
    ASSERT_TRUE(collector.waitForRequests(1));

    const auto request = collector.requests().front();
    const auto body = platform::JSONSerialization::JSONObjectWithData(request.body);
    const auto created = platform::Date::sinceReferenceDate(body.at("created_at").to_number<double>());
    const auto createdHeader = std::stoll(request.header("X-Relaybox-Edge-Event-Created-At-Ms"));
    const auto sentHeader = std::stoll(request.header("X-Relaybox-Edge-Event-Sent-At-Ms"));
    EXPECT_NEAR(created.timeIntervalSince1970() * 1000, double(createdHeader), 1.001);
    EXPECT_GE(sentHeader, createdHeader);
}

struct Collector {
    std::string description;
    LoopbackServer::Handler handler;
};

/// Every one of these ends the upload by itself.
const Collector collectors[] = {
    {"takes it", [](auto&, auto& peer) { peer.send(httpReply(200, "{}")); }},
    {"fails", [](auto&, auto& peer) { peer.send(httpReply(500, "no")); }},
    {"wants credentials", [](auto&, auto& peer) { peer.send(httpReply(401, "")); }},
    {"hangs up", [](auto&, auto& peer) { peer.close(); }},
    {"resets", [](auto&, auto& peer) { peer.reset(); }},
    {"talks nonsense",
     [](auto&, auto& peer) {
         peer.send("\x01\x02\x03 nonsense\r\n\r\n");
         peer.close();
     }},
    {"stops in the middle of its reply",
     [](auto&, auto& peer) {
         peer.send("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhalf");
         peer.close();
     }},
};

TEST(RelayboxUpload, IsTriedOnceWhateverTheCollectorDoesAndLeavesNoTrace) {
    for (const auto& [description, handler] : collectors) {
        SCOPED_TRACE(description);
        const RecordingLogSink log;
        const LoopbackServer collector(handler);
        const auto session = realSession();
        Relaybox(session, collector.url("/v1/produce")).send(PlainEvent());
        EXPECT_TRUE(session->waitForForgottenTasks(longEnough));
        EXPECT_EQ(collector.requests().size(), 1u);
        EXPECT_THAT(log.lines(), IsEmpty());
    }
}

TEST(RelayboxUpload, IsForgottenWhenTheCollectorIsNotThere) {
    const RecordingLogSink log;
    const auto session = realSession();
    const auto url = platform::URL::parse("http://127.0.0.1:" + std::to_string(unusedPort()) + "/v1/produce");
    Relaybox(session, *url).send(PlainEvent());
    EXPECT_TRUE(session->waitForForgottenTasks(longEnough));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(RelayboxUpload, IsForgottenWhenTheCollectorHasNoAddress) {
    const auto session = realSession();
    // No name server is asked for a label of more than 63 characters.
    const auto unnameable = "http://" + std::string(64, 'a') + ".example/v1/produce";
    Relaybox(session, *platform::URL::parse(unnameable)).send(PlainEvent());
    Relaybox(session, *platform::URL::parse("collector:produce")).send(PlainEvent());
    EXPECT_TRUE(session->waitForForgottenTasks(longEnough));
}

TEST(RelayboxUpload, GoesOnAfterSendHasReturned) {
    const LoopbackServer collector([](auto&, auto& peer) { peer.stall(); });
    const auto session = realSession();
    Relaybox(session, collector.url("/v1/produce")).send(PlainEvent());
    EXPECT_TRUE(collector.waitForRequests(1));
    EXPECT_FALSE(session->waitForForgottenTasks(std::chrono::milliseconds(0)));
}

TEST(RelayboxUpload, ReachesASlowCollectorOnce) {
    const LoopbackServer collector([](auto&, auto& peer) {
        for (const char c : httpReply(200, "slow")) {
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
            if (!peer.send(std::string_view(&c, 1))) return;
        }
    });
    const auto session = realSession();
    Relaybox(session, collector.url("/v1/produce")).send(PlainEvent());
    EXPECT_TRUE(session->waitForForgottenTasks(longEnough));
    EXPECT_EQ(collector.requests().size(), 1u);
}

TEST(RelayboxUpload, EndsWithItsSessionWhileACollectorStalls) {
    const LoopbackServer collector([](auto&, auto& peer) { peer.stall(); });
    for (int i = 0; i < 5; ++i) {
        Relaybox(realSession(), collector.url("/v1/produce")).send(PlainEvent());
    }
    for (std::size_t i = 1; i <= 5; ++i) {
        const Relaybox relaybox(realSession(), collector.url("/v1/produce"));
        relaybox.send(PlainEvent());
        EXPECT_TRUE(collector.waitForRequests(i));
    }
}

TEST(RelayboxUpload, DropsNoneOfThousandsAndKeepsSixtyFourInFlight) {
    constexpr std::size_t limit = 64;
    constexpr std::size_t count = 2'000;
    ASSERT_EQ(platform::URLSessionConfiguration::defaultSessionConfiguration().maximumForgottenTasks, limit);
    std::promise<void> permission;
    const auto mayAnswer = permission.get_future().share();
    std::atomic<std::size_t> inFlight = 0;
    std::atomic<bool> wereMore = false;
    const LoopbackServer collector([&, mayAnswer](auto&, auto& peer) {
        if (++inFlight > limit) wereMore = true;
        mayAnswer.wait();
        --inFlight;
        peer.send(httpReply(200, ""));
        peer.close();
    });
    const Relaybox relaybox(realSession(), collector.url("/v1/produce"));
    for (std::size_t index = 0; index < count; ++index) relaybox.send(PlainEvent());
    EXPECT_TRUE(collector.waitForRequests(limit));
    EXPECT_FALSE(relaybox.session().waitForForgottenTasks(std::chrono::milliseconds(200)));
    while (inFlight < limit) std::this_thread::yield();
    EXPECT_EQ(inFlight, limit);
    permission.set_value();
    EXPECT_TRUE(relaybox.session().waitForForgottenTasks(std::chrono::seconds(100)));
    EXPECT_EQ(collector.requests().size(), count);
    EXPECT_FALSE(wereMore);
}

TEST(RelayboxUpload, WaitsForItsTurnWhereTheCollectorAnswersNobody) {
    const LoopbackServer collector([](auto&, auto& peer) { peer.stall(); });
    constexpr std::size_t limit = 64;
    const Relaybox relaybox(realSession(), collector.url("/v1/produce"));
    for (int i = 0; i < 10'000; ++i) relaybox.send(PlainEvent());
    EXPECT_TRUE(collector.waitForRequests(limit));
    EXPECT_FALSE(relaybox.session().waitForForgottenTasks(std::chrono::milliseconds(50)));
    EXPECT_EQ(collector.requests().size(), limit);
}

TEST(RelayboxUpload, HasRoomAgainWhenTheCollectorHasAnswered) {
    const LoopbackServer collector(httpReply(200, ""));
    const Relaybox relaybox(realSession(), collector.url("/v1/produce"));
    for (std::size_t round = 1; round <= 3; ++round) {
        for (int i = 0; i < 20; ++i) relaybox.send(PlainEvent());
        ASSERT_TRUE(relaybox.session().waitForForgottenTasks(longEnough));
        EXPECT_EQ(collector.requests().size(), round * 20);
    }
}

}  // namespace
}  // namespace analytics
