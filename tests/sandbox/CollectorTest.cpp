// SPDX-License-Identifier: Apache-2.0

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>

#include "tests/sandbox/RunningSandbox.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using sandbox::HeaderField;
using testing::HasSubstr;
using tests::at;
using tests::Reply;
using tests::RunningSandbox;
using tests::serving;
using tests::text;

struct Event {
    std::vector<HeaderField> headers = {{"Content-Type", "application/json"},
                                        {"X-Relaybox-Edge-Event-Created-At-Ms", "978307200500"},
                                        {"X-Relaybox-Edge-Event-Sent-At-Ms", "978307200501"},
                                        {"X-Relaybox-Edge-Content-Language", "en-GB"}};
    std::string body =
        R"({"created_at":0.5004,"payload":{"device_identifier":"Unknown","device_model":"A","platform":"ios",)"
        R"("platform_version":"12","user_id":12345,"widget_id":"systemSmall.TrackingWidget",)"
        R"("widget_size":"systemSmall","widget_state":"loggedIn","widget_type":"TrackingWidget"},)"
        R"("schema_id":"vela_app_widget_interaction/1.0"})";

    Event with(const std::string& from, const std::string& to) const {
        Event changed = *this;
        const std::size_t place = changed.body.find(from);
        EXPECT_NE(place, std::string::npos) << from;
        changed.body.replace(place, from.size(), to);
        return changed;
    }
    Event withHeader(std::size_t index, const HeaderField& header) const {
        Event changed = *this;
        changed.headers[index] = header;
        return changed;
    }
};

Reply sendTo(const RunningSandbox& sandbox, const Event& event) {
    return sandbox.post("/v1/produce", event.headers, event.body);
}

TEST(Collector, TakesAndShowsAnEvent) {
    const RunningSandbox sandbox(serving("empty"));
    EXPECT_EQ(sendTo(sandbox, {}).status, 200);
    const auto event = at(sandbox.log(), "/events/0");
    EXPECT_EQ(text(at(event, "/outcome")), "accepted");
    EXPECT_EQ(at(event, "/body/payload/user_id").as_int64(), 12345);
    EXPECT_EQ(text(at(event, "/createdAt/header")), "2001-01-01T00:00:00.500Z");
    EXPECT_EQ(text(at(event, "/createdAt/body")), "2001-01-01T00:00:00.500Z");
    EXPECT_EQ(text(at(event, "/headers/2/name")), "X-Relaybox-Edge-Event-Created-At-Ms");
}

TEST(Collector, TakesAnEventWithoutAUserId) {
    const RunningSandbox sandbox(serving("empty"));
    EXPECT_EQ(sendTo(sandbox, Event().with(R"("user_id":12345,)", "")).status, 200);
}

TEST(Collector, RefusesWhatBreaksTheWireFormWithAReason) {
    const Event good;
    Event swapped = good;
    std::swap(swapped.headers[1], swapped.headers[2]);
    Event languageMissing = good;
    languageMissing.headers.pop_back();
    const struct {
        std::string name;
        Event event;
        std::string reason;
    } rows[] = {
        {"spelling", good.withHeader(0, {"Content-type", "application/json"}), "\"Content-Type\" is missing"},
        {"order", swapped, "out of order"},
        {"language missing", languageMissing, "Content-Language"},
        {"language", good.withHeader(3, {"X-Relaybox-Edge-Content-Language", "en_GB.UTF-8"}), "language tag"},
        {"content type", good.withHeader(0, {"Content-Type", "text/json"}), "content type"},
        {"fraction", good.withHeader(1, {"X-Relaybox-Edge-Event-Created-At-Ms", "978307200500.5"}),
         "decimal"},
        {"sent early", good.withHeader(2, {"X-Relaybox-Edge-Event-Sent-At-Ms", "978307200499"}), "before"},
        {"no JSON", good.with("{", ""), "not a JSON object"},
        {"unsorted", good.with(R"("created_at":0.5004,)", R"("zebra":0.5004,)"), "ascending"},
        {"a key too many", good.with(R"(,"schema_id")", R"(,"qux":1,"schema_id")"), "exactly"},
        {"schema", good.with("interaction/1.0", "interaction/2.0"), "schema"},
        {"time as text", good.with("0.5004", "\"0.5\""), "not a number"},
        {"other instant", good.with("0.5004", "978307200.5"), "different instants"},
        {"payload", good.with(R"("payload":{)", R"("payload":[],"payloads":{)"), "exactly"},
        {"user id as text", good.with("12345", "\"12345\""), "user_id"},
        {"platform", good.with("\"ios\"", "\"linux\""), "platform"},
        {"state", good.with("loggedIn", "asleep"), "widget_state"},
        {"type", good.with("\"widget_type\":\"TrackingWidget\"", "\"widget_type\":\"Clock\""), "widget_type"},
        {"widget id", good.with("systemSmall.Tracking", "systemLarge.Tracking"), "widget_id"},
        {"device model missing", good.with(R"("device_model":"A",)", ""), "device_model"},
        {"unknown payload key", good.with(R"("platform":"ios")", R"("pkg":1,"platform":"ios")"), "too many"},
    };
    const RunningSandbox sandbox(serving("empty"));
    for (const auto& row : rows) {
        const Reply reply = sendTo(sandbox, row.event);
        EXPECT_EQ(reply.status, 422) << row.name;
        EXPECT_THAT(reply.body, HasSubstr(row.reason)) << row.name;
    }
    const auto log = sandbox.log();
    EXPECT_EQ(at(log, "/eventCount").to_number<std::size_t>(), std::size(rows));
    EXPECT_EQ(text(at(log, "/events/0/outcome")), "refused");
}

}  // namespace
