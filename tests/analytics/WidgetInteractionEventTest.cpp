// SPDX-License-Identifier: Apache-2.0

#include "analytics/WidgetInteractionEvent.hpp"

#include <gtest/gtest.h>

#include "analytics/DefaultsProvider.hpp"
#include "analytics/DeviceInfoProvider.hpp"
#include "analytics/RelayboxEvent.hpp"
#include "tests/support/FixedAmbient.hpp"
#include "tests/support/InMemoryUserDefaults.hpp"

namespace analytics {
namespace {

using platform::testing::FixedAmbient;
using platform::testing::InMemoryUserDefaults;

/// A device and a store for events.
class Surroundings {
  public:
    explicit Surroundings(boost::json::object stored = {})
        : defaults_(std::make_unique<InMemoryUserDefaults>(std::move(stored)), "") {}

    WidgetInteractionEvent event(std::optional<std::string> userId) const {
        return WidgetInteractionEvent(
            {.widgetId = "systemSmall.TrackingWidget",
             .widgetSize = "systemSmall",
             .widgetType = "TrackingWidget",
             .widgetState = "loggedIn",
             .userId = std::move(userId)},
            {.device = [this]() -> const platform::Device& { return device_; },
             .defaults = [this]() -> const server::SharedDefaults& { return defaults_; }});
    }

  private:
    platform::Device device_{"Laptop 14", "12"};
    server::SharedDefaults defaults_;
};

TEST(WidgetInteractionEvent, TellsTheWidgetAndTheDevice) {
    const FixedAmbient ambient({.now = "2001-01-01T00:00:01.500Z"});
    const Surroundings surroundings({{"installDeviceId", "install-1"}});
    EXPECT_EQ(
        RelayboxEvent::enveloping(surroundings.event("12345")).encoded(),
        R"({"created_at":1.5,"payload":{"device_identifier":"install-1","device_model":"Laptop 14",)"
        R"("platform":"ios","platform_version":"12","user_id":12345,)"
        R"("widget_id":"systemSmall.TrackingWidget","widget_size":"systemSmall","widget_state":"loggedIn",)"
        R"("widget_type":"TrackingWidget"},"schema_id":"vela_app_widget_interaction/1.0"})");
}

TEST(WidgetInteractionEvent, TellsAUserIdThatIsANumber) {
    struct Row {
        std::string stored;
        std::int64_t number;
    };
    for (const auto& [stored, number] : {
             Row{"12345", 12345},
             Row{"+7", 7},
             Row{"-7", -7},
             Row{"0", 0},
             Row{"-0", 0},
             Row{"007", 7},
             Row{"9223372036854775807", INT64_MAX},
             Row{"+9223372036854775807", INT64_MAX},
             Row{"-9223372036854775808", INT64_MIN},
             Row{std::string(100, '0') + "5", 5},
         }) {
        const auto payload = Surroundings().event(stored).payload();
        ASSERT_TRUE(payload.contains("userId")) << stored;
        EXPECT_EQ(std::any_cast<std::int64_t>(*payload.at("userId")), number) << stored;
    }
}

TEST(WidgetInteractionEvent, LeavesOutAUserIdThatIsNone) {
    using Stored = std::optional<std::string>;
    for (const auto& stored : {Stored(),
                               Stored(""),
                               Stored("abc"),
                               Stored(" 7"),
                               Stored("7 "),
                               Stored("+"),
                               Stored("-"),
                               Stored("+-7"),
                               Stored("-+7"),
                               Stored("--7"),
                               Stored("++7"),
                               Stored("7a"),
                               Stored("0x7"),
                               Stored("7.0"),
                               Stored("1e3"),
                               Stored("1_000"),
                               Stored("9223372036854775808"),
                               Stored("-9223372036854775809"),
                               Stored("99999999999999999999"),
                               Stored("٧"),
                               Stored("７"),
                               Stored("7\n"),
                               Stored(std::string("7\0", 2))})
        EXPECT_FALSE(Surroundings().event(stored).payload().contains("userId")) << stored.value_or("(none)");
}

TEST(WidgetInteractionEvent, KnowsNoDeviceIdentifierWhereNoneIsStored) {
    const auto identifier = [](boost::json::object stored) {
        return std::any_cast<std::string>(
            *Surroundings(std::move(stored)).event({}).payload().at("deviceIdentifier"));
    };
    EXPECT_EQ(identifier({}), "Unknown");
    EXPECT_EQ(identifier({{"installDeviceId", true}}), "Unknown");
    EXPECT_EQ(identifier({{"installDeviceId", ""}}), "");
    EXPECT_EQ(identifier({{"installDeviceId", 42}}), "42");
}

TEST(WidgetInteractionEvent, AsksForItsFactsAtEachPayload) {
    int asked = 0;
    const platform::Device device("Laptop 14", "12");
    const server::SharedDefaults defaults(std::make_unique<InMemoryUserDefaults>(), "");
    const WidgetInteractionEvent event(
        {.widgetId = "", .widgetSize = "", .widgetType = "", .widgetState = ""},
        {.device = [&]() -> const platform::Device& { return ++asked, device; },
         .defaults = [&]() -> const server::SharedDefaults& { return defaults; }});
    event.payload();
    event.payload();
    EXPECT_EQ(asked, 2);
}

TEST(DeviceInfoProvider, IsAnythingWithAModelAndAVersion) {
    struct Phone {
        std::string model() const { return "phone"; }
        std::string systemVersion() const { return "1"; }
    };
    static_assert(DeviceInfoProvider<Phone>);
    static_assert(!DeviceInfoProvider<std::string>);
    static_assert(!DefaultsProvider<Phone>);
}

}  // namespace
}  // namespace analytics
