// SPDX-License-Identifier: Apache-2.0

#include "analytics/Relaybox.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include "tests/analytics/Events.hpp"
#include "tests/support/FixedAmbient.hpp"
#include "tests/support/RecordingLogSink.hpp"
#include "tests/support/ScriptedURLSession.hpp"

namespace analytics {
namespace {

using platform::Date;
using platform::HTTPHeaderField;
using platform::testing::FixedAmbient;
using platform::testing::RecordingLogSink;
using platform::testing::ScriptedURLSession;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* createdAtField = "X-Relaybox-Edge-Event-Created-At-Ms";
constexpr const char* sentAt = "X-Relaybox-Edge-Event-Sent-At-Ms";
constexpr const char* contentLanguage = "X-Relaybox-Edge-Content-Language";

class RelayboxTest : public ::testing::Test {
  protected:
    platform::URLRequest sentRequest(const RelayboxEventable& event = PlainEvent()) {
        relaybox.send(event);
        const auto requests = session->forgottenRequests();
        if (requests.size() != 1) throw std::logic_error("not exactly one request");
        return requests.front();
    }

    std::shared_ptr<ScriptedURLSession> session = std::make_shared<ScriptedURLSession>();
    const Relaybox relaybox{session, platform::URL::parse("https://events.vela.example/v1/produce").value()};
};

TEST_F(RelayboxTest, PostsTheEnvelopeToTheHostAsItIs) {
    const FixedAmbient ambient({.now = "2001-01-01T00:00:00Z"});
    const auto request = sentRequest();
    EXPECT_EQ(request.url.absoluteString(), "https://events.vela.example/v1/produce");
    EXPECT_EQ(request.httpMethod, "POST");
    EXPECT_EQ(request.timeoutInterval, std::chrono::seconds(60));
    EXPECT_EQ(request.httpBody, R"({"created_at":0,"payload":{"some_key":"value"},"schema_id":"plain/1.0"})");
}

TEST_F(RelayboxTest, SetsFourHeadersInTheirOrder) {
    const FixedAmbient ambient({.now = "2024-05-01T12:00:00.250Z", .languages = {"en-GB", "de"}});
    EXPECT_THAT(sentRequest().headers, ElementsAre(HTTPHeaderField{"Content-Type", "application/json"},
                                                   HTTPHeaderField{createdAtField, "1714564800250"},
                                                   HTTPHeaderField{sentAt, "1714564800250"},
                                                   HTTPHeaderField{contentLanguage, "en-GB"}));
}

TEST_F(RelayboxTest, ReadsTheClockOnceForTheEventAndOnceForTheSending) {
    FixedAmbient ambient({.now = "2024-05-01T12:00:00Z"});
    ambient.setTick(1.5);
    const auto request = sentRequest();
    EXPECT_EQ(request.value(createdAtField), "1714564800000");
    EXPECT_EQ(request.value(sentAt), "1714564801500");
    EXPECT_TRUE(request.httpBody.starts_with("{\"created_at\":736257600,")) << request.httpBody;
    EXPECT_EQ(ambient.now(), platform::testing::instant("2024-05-01T12:00:03Z"));
}

TEST_F(RelayboxTest, TruncatesMillisecondsTowardsZero) {
    struct Row {
        double secondsSince1970;
        std::string milliseconds;
    };
    FixedAmbient ambient;
    for (const auto& [seconds, milliseconds] : {
             Row{0.0019999, "1"},
             Row{-0.0019999, "-1"},
             Row{0, "0"},
             Row{-0.0004, "0"},
             Row{1'714'564'800.9999, "1714564800999"},
             Row{-62'135'596'800, "-62135596800000"},
             Row{253'402'300'799, "253402300799000"},
         }) {
        ambient.setNow(Date::since1970(seconds));
        relaybox.send(PlainEvent());
        EXPECT_EQ(session->forgottenRequests().back().value(createdAtField), milliseconds) << seconds;
    }
}

TEST_F(RelayboxTest, IsInEnglishWithoutAPreferredLanguage) {
    const FixedAmbient ambient({.languages = {}});
    EXPECT_EQ(sentRequest().value(contentLanguage), "en");
}

TEST_F(RelayboxTest, LogsOnceAndSendsNothingWhenAnEventCannotBeEncoded) {
    const FixedAmbient ambient;
    const RecordingLogSink log;
    relaybox.send(PlainEvent({{"key", PayloadArray{Date::now()}}}));
    EXPECT_THAT(session->requests(), IsEmpty());
    const platform::testing::LogLine expected = {.level = platform::LogLevel::error,
                                                 .subsystem = "com.tervaneinternal.pontal",
                                                 .category = "notification-service",
                                                 .message = "Failed to encode event: <private>"};
    EXPECT_EQ(log.lines(), std::vector{expected});
}

TEST_F(RelayboxTest, LogsNothingOfATextThatIsNoText) {
    const FixedAmbient ambient;
    const RecordingLogSink log;
    relaybox.send(PlainEvent({{"key", std::string("\xFFsecret")}}));
    EXPECT_THAT(session->requests(), IsEmpty());
    EXPECT_THAT(log.messages(), ElementsAre("Failed to encode event: <private>"));
}

TEST_F(RelayboxTest, LetsNoFailureOutToWhoSends) {
    struct Speechless final : RelayboxEventable {
        std::string_view schemaId() const override { return "speechless/1.0"; }
        Payload payload() const override { throw std::runtime_error("no payload"); }
    };
    struct Jammed final : ScriptedURLSession {
        void startDataTask(platform::URLRequest) override { throw std::bad_alloc(); }
    };
    const FixedAmbient ambient;
    EXPECT_NO_THROW(relaybox.send(Speechless()));
    EXPECT_NO_THROW(Relaybox(std::make_shared<Jammed>(), relaybox.hostURL()).send(PlainEvent()));
    EXPECT_THAT(session->requests(), IsEmpty());
}

TEST_F(RelayboxTest, SendsEveryEventItIsGiven) {
    const FixedAmbient ambient;
    for (int i = 0; i < 10; ++i) relaybox.send(PlainEvent());
    EXPECT_EQ(session->forgottenRequests().size(), 10u);
}

TEST_F(RelayboxTest, SendsFromSeveralThreadsAtOnce) {
    const FixedAmbient ambient;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([this] {
            for (int step = 0; step < 100; ++step) relaybox.send(PlainEvent());
        });
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(session->forgottenRequests().size(), 400u);
}

TEST_F(RelayboxTest, StopsTheProcessOnAClockOutsideOfAnyCalendar) {
    FixedAmbient ambient;
    for (const double seconds : {1e17, -1e17, std::numeric_limits<double>::infinity(), std::nan("")}) {
        ambient.setNow(Date::sinceReferenceDate(seconds));
        EXPECT_EXIT(relaybox.send(PlainEvent()), ::testing::KilledBySignal(SIGABRT),
                    "fatal error: the clock");
    }
}

}  // namespace
}  // namespace analytics
