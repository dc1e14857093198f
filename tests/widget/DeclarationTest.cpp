// SPDX-License-Identifier: Apache-2.0

#include <gtest/gtest.h>

#include "widget/ConfigurationAppIntent.hpp"
#include "widget/VelaWidgetBundle.hpp"
#include "widget/WidgetIdentifier.hpp"

namespace widget {
namespace {

using platform::WidgetFamily;

TEST(TrackingWidget, DeclaresItsValuesToTheHost) {
    const auto configuration = VelaWidgetBundle().body().body();
    EXPECT_EQ(configuration.kind, "TrackingWidget");
    EXPECT_EQ(configuration.displayName, "Tracking Widget");
    EXPECT_EQ(configuration.description, "Keep track of your packages with real-time updates.");
}

TEST(TrackingWidget, OffersFiveFamiliesMediumFirst) {
    const std::vector<WidgetFamily> expected = {WidgetFamily::systemMedium, WidgetFamily::systemSmall,
                                                WidgetFamily::systemLarge, WidgetFamily::accessoryRectangular,
                                                WidgetFamily::accessoryInline};
    EXPECT_EQ(TrackingWidget().body().supportedFamilies, expected);
}

TEST(TrackingWidget, LetsTwoSecondsPassBetweenEvents) {
    EXPECT_EQ(TrackingWidget().body().provider.minimumTimeBetweenEvents(), 2.0);
}

TEST(TrackingWidget, MakesANewProviderOnANewSessionAtEachDeclaration) {
    const auto one = TrackingWidget().body();
    const auto other = TrackingWidget().body();
    EXPECT_NE(one.provider.relaybox(), other.provider.relaybox());
    EXPECT_NE(&one.provider.relaybox()->session(), &other.provider.relaybox()->session());
    EXPECT_TRUE(one.provider.relaybox()->hostURL().absoluteString().ends_with("/v1/produce"));
    EXPECT_EQ(one.provider.relaybox()->hostURL(), other.provider.relaybox()->hostURL());
}

TEST(ConfigurationAppIntent, HasItsTitleMadeOnce) {
    EXPECT_EQ(ConfigurationAppIntent::title(), "Tracking Widget");
    EXPECT_EQ(&ConfigurationAppIntent::title(), &ConfigurationAppIntent::title());
}

TEST(AnalyticsName, NamesEveryFamilyAndCallsAnyOtherUnknown) {
    const std::pair<WidgetFamily, const char*> rows[] = {
        {WidgetFamily::systemSmall, "systemSmall"},
        {WidgetFamily::systemMedium, "systemMedium"},
        {WidgetFamily::systemLarge, "systemLarge"},
        {WidgetFamily::systemExtraLarge, "systemExtraLarge"},
        {WidgetFamily::accessoryCircular, "accessoryCircular"},
        {WidgetFamily::accessoryRectangular, "accessoryRectangular"},
        {WidgetFamily::accessoryInline, "accessoryInline"},
        {WidgetFamily::other, "unknown"},
    };
    static_assert(std::size(rows) == platform::allWidgetFamilies.size());
    for (const auto& [family, name] : rows) EXPECT_EQ(analyticsName(family), name);
}

TEST(AnalyticsName, NamesEveryState) {
    EXPECT_EQ(analyticsName(WidgetState(LoggedIn{})), "loggedIn");
    EXPECT_EQ(analyticsName(WidgetState(NotLoggedIn{})), "notLoggedIn");
    EXPECT_EQ(analyticsName(WidgetState(NoPackages{})), "noPackages");
}

TEST(WidgetIdentifier, JoinsFamilyAndKind) {
    for (const auto family : platform::allWidgetFamilies) {
        const WidgetIdentifier identifier = {.family = family, .widgetKind = TrackingWidget::kind};
        EXPECT_EQ(identifier.description(), std::string(platform::description(family)) + ".TrackingWidget");
    }
    EXPECT_EQ((WidgetIdentifier{.family = WidgetFamily::accessoryInline, .widgetKind = "TrackingWidget"})
                  .description(),
              "accessoryInline.TrackingWidget");
}

TEST(EventThrottle, LetsTheFirstEventOfAProcessThrough) {
    EventThrottle throttle;
    EXPECT_TRUE(throttle.admitsEvent(platform::Date::sinceReferenceDate(-1e9), 2.0));
    EXPECT_FALSE(throttle.admitsEvent(platform::Date::sinceReferenceDate(-1e9 + 1), 2.0));
    EXPECT_EQ(&EventThrottle::processWide(), &EventThrottle::processWide());
}

}  // namespace
}  // namespace widget
