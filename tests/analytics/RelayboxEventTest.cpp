// SPDX-License-Identifier: Apache-2.0

#include "analytics/RelayboxEvent.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <random>

#include "platform/JSON/CodingError.hpp"
#include "platform/JSON/JSONSerialization.hpp"
#include "tests/analytics/Events.hpp"
#include "tests/support/FixedAmbient.hpp"

namespace analytics {
namespace {

using platform::Date;
using platform::testing::FixedAmbient;
using platform::testing::instant;

TEST(RelayboxEvent, EnvelopesAnEventNow) {
    const FixedAmbient ambient({.now = "2024-05-01T12:00:00.250Z"});
    const auto envelope =
        RelayboxEvent::enveloping(PlainEvent({{"widgetId", "a"}, {"userId", 7}, {"gone", std::nullopt}}));
    EXPECT_EQ(envelope.schemaId, "plain/1.0");
    EXPECT_EQ(envelope.createdAt, instant("2024-05-01T12:00:00.250Z"));
    EXPECT_EQ(
        envelope.encoded(),
        R"({"created_at":736257600.25,"payload":{"gone":null,"user_id":7,"widget_id":"a"},"schema_id":"plain/1.0"})");
}

TEST(RelayboxEvent, KeepsTheLaterOfTwoNamesThatBecomeOne) {
    const FixedAmbient ambient;
    const auto envelope = RelayboxEvent::enveloping(PlainEvent({{"fooBar", 1}, {"foo_bar", 2}}));
    ASSERT_EQ(envelope.payload.size(), 1u);
    EXPECT_EQ(std::any_cast<int>(*envelope.payload.at("foo_bar")), 2);
}

std::string createdAt(Date date) {
    const auto text = RelayboxEvent{.schemaId = "", .payload = {}, .createdAt = date}.encoded();
    const std::string before = "{\"created_at\":";
    return text.substr(before.size(), text.find(',') - before.size());
}

TEST(RelayboxEvent, TellsItsTimeInSecondsSince2001) {
    EXPECT_EQ(createdAt(instant("2001-01-01T00:00:00Z")), "0");
    EXPECT_EQ(createdAt(instant("2000-12-31T23:59:59.500Z")), "-0.5");
    EXPECT_EQ(createdAt(instant("2026-05-10T13:20:00Z")), "800112000");
    EXPECT_EQ(createdAt(Date::sinceReferenceDate(785'000'000.1234567)), "785000000.1234567");
}

TEST(RelayboxEvent, TellsATimeThatReadsBackToItself) {
    std::mt19937_64 random(1);
    std::uniform_real_distribution<double> anySecond(-1e9, 2e9);
    for (int i = 0; i < 5'000; ++i) {
        const double seconds = anySecond(random);
        const auto text = createdAt(Date::sinceReferenceDate(seconds));
        ASSERT_EQ(platform::JSONSerialization::JSONObjectWithData(text).to_number<double>(), seconds) << text;
    }
}

TEST(RelayboxEvent, SortsNamesByBytesAtEveryLevel) {
    const FixedAmbient ambient({.now = "2001-01-01T00:00:00Z"});
    const auto envelope = RelayboxEvent::enveloping(PlainEvent(
        {{"b", PayloadArray{PayloadDictionary{{"z", 1}, {"é", 2}, {"a_b", 3}, {"a1", 4}}}}, {"a", 1}}));
    EXPECT_EQ(
        envelope.encoded(),
        R"({"created_at":0,"payload":{"a":1,"b":[{"a1":4,"a_b":3,"z":1,"é":2}]},"schema_id":"plain/1.0"})");
}

TEST(RelayboxEvent, IsNotEncodedWithAValueThatJSONCannotCarry) {
    const auto encoded = [](PayloadValue value) {
        return RelayboxEvent::enveloping(PlainEvent({{"key", std::move(value)}})).encoded();
    };
    EXPECT_THROW(encoded(platform::Date::now()), platform::EncodingError);
    EXPECT_THROW(encoded("\xFF"), platform::JSONError);
    EXPECT_THROW(encoded(std::numeric_limits<double>::infinity()), platform::JSONError);
}

}  // namespace
}  // namespace analytics
