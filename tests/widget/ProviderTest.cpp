// SPDX-License-Identifier: Apache-2.0

#include "widget/Provider.hpp"

#include <gtest/gtest.h>

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <thread>

#include "platform/JSON/JSONSerialization.hpp"
#include "presentation/StoredPackage.hpp"
#include "tests/support/Awaited.hpp"
#include "tests/support/FixedAmbient.hpp"
#include "tests/support/InMemoryUserDefaults.hpp"
#include "tests/support/ScriptedURLSession.hpp"
#include "widget/TrackingWidget.hpp"

namespace widget {
namespace {

namespace asio = boost::asio;
using platform::WidgetFamily;
using platform::testing::awaited;
using presentation::PackageList;
using presentation::StoredPackage;

std::shared_ptr<const presentation::Package> package(const std::string& name) {
    return std::make_shared<StoredPackage>(StoredPackage::Values{
        .shopName = name,
        .deepLinkingUrl = *platform::URL::parse("velaapp://order/" + name),
        .progress = 0.5F,
        .statusText = {.primary = "In transit"},
    });
}

/// A fetch that ends as it was told to, after the clock has moved on by `duration` seconds.
class FetchTwin final : public server::PackageFetching {
  public:
    explicit FetchTwin(platform::testing::FixedAmbient& ambient) : ambient_(ambient) {}

    asio::awaitable<std::optional<PackageList>> fetchPackages() override {
        ++fetches;
        asio::steady_timer turn(co_await asio::this_coro::executor, std::chrono::seconds(0));
        co_await turn.async_wait(asio::use_awaitable);
        ambient_.advance(duration);
        if (failure) std::rethrow_exception(failure);
        co_return packages;
    }

    std::optional<PackageList> packages = PackageList();
    std::exception_ptr failure;
    double duration = 0;
    int fetches = 0;

  private:
    platform::testing::FixedAmbient& ambient_;
};

class ProviderTest : public testing::Test {
  protected:
    Provider::Context context(WidgetFamily family = WidgetFamily::systemSmall) { return {.family = family}; }

    SimpleEntry snapshot() { return awaited(provider.snapshot(ConfigurationAppIntent{}, context())); }
    platform::Timeline<SimpleEntry> timeline(WidgetFamily family = WidgetFamily::systemSmall) {
        return awaited(provider.timeline(ConfigurationAppIntent{}, context(family)));
    }

    std::size_t eventsSent() { return session->forgottenRequests().size(); }
    boost::json::object lastPayload() {
        const auto body =
            platform::JSONSerialization::JSONObjectWithData(session->forgottenRequests().back().httpBody);
        return body.at("payload").as_object();
    }

    platform::testing::FixedAmbient ambient;
    std::shared_ptr<FetchTwin> fetch = std::make_shared<FetchTwin>(ambient);
    std::shared_ptr<platform::testing::ScriptedURLSession> session =
        std::make_shared<platform::testing::ScriptedURLSession>();
    platform::testing::InMemoryUserDefaults* suite = new platform::testing::InMemoryUserDefaults();
    server::SharedDefaults defaults{std::unique_ptr<platform::UserDefaults>(suite), "http://127.0.0.1:9"};
    EventThrottle throttle;
    Provider provider{std::make_shared<analytics::Relaybox>(
                          session, *platform::URL::parse("http://127.0.0.1:9/v1/produce")),
                      2.0,
                      {.packageFetch = [this] { return fetch; },
                       .sharedDefaults = [this]() -> const server::SharedDefaults& { return defaults; },
                       .throttle = throttle}};
};

TEST_F(ProviderTest, PlaceholderHasThreeSamplePackagesWhateverTheSignIn) {
    fetch->failure =
        std::make_exception_ptr(server::FetchPackagesError(server::FetchPackagesError::unauthorized));
    const auto entry = provider.placeholder(context());
    EXPECT_EQ(entry.date, ambient.now());
    const auto& packages = std::get<LoggedIn>(entry.widgetState).packages;
    ASSERT_EQ(packages.size(), 3u);
    const float progress[] = {0.4F, 0.8F, 0.4F};
    for (std::size_t index = 0; index < 3; ++index) {
        EXPECT_EQ(packages[index]->shopName(), "Shop Name");
        EXPECT_EQ(packages[index]->deepLinkingUrl().absoluteString(), "velaapp://home_orders");
        EXPECT_EQ(packages[index]->progress(), progress[index]);
        EXPECT_EQ(packages[index]->shopImage(), std::nullopt);
        EXPECT_EQ(packages[index]->productImage(), std::nullopt);
        EXPECT_EQ(packages[index]->statusText(),
                  (presentation::StatusPair{.primary = "primary", .secondary = "secondary"}));
    }
    EXPECT_EQ(fetch->fetches, 0);
}

TEST_F(ProviderTest, PlaceholderAsksForNoSource) {
    const Provider untouched(
        nullptr, 2.0,
        {.packageFetch = []() -> std::shared_ptr<server::PackageFetching> { std::abort(); },
         .sharedDefaults = []() -> const server::SharedDefaults& { std::abort(); },
         .throttle = throttle});
    untouched.placeholder(context());
}

TEST_F(ProviderTest, EveryFailureOfTheFetchIsNotLoggedIn) {
    const std::exception_ptr failures[] = {
        std::make_exception_ptr(server::FetchPackagesError(server::FetchPackagesError::unauthorized)),
        std::make_exception_ptr(server::FetchPackagesError(server::FetchPackagesError::noPackagesFound)),
        std::make_exception_ptr(server::FetchPackagesError(server::FetchPackagesError::refreshTokenError)),
        std::make_exception_ptr(server::FetchPackagesError(server::FetchPackagesError::unknown)),
        std::make_exception_ptr(std::runtime_error("anything else")),
        std::make_exception_ptr(std::bad_alloc()),
        std::make_exception_ptr("no exception of the standard library"),
    };
    for (const auto& failure : failures) {
        fetch->failure = failure;
        EXPECT_TRUE(std::holds_alternative<NotLoggedIn>(snapshot().widgetState));
        EXPECT_TRUE(std::holds_alternative<NotLoggedIn>(timeline().entries.front().widgetState));
    }
}

TEST_F(ProviderTest, AFetchWithNothingInItIsNoPackages) {
    for (const auto& nothing : {std::optional<PackageList>(), std::optional(PackageList())}) {
        fetch->packages = nothing;
        EXPECT_TRUE(std::holds_alternative<NoPackages>(snapshot().widgetState));
        EXPECT_TRUE(std::holds_alternative<NoPackages>(timeline().entries.front().widgetState));
    }
}

TEST_F(ProviderTest, PackagesReachTheEntryUncutAndInOrder) {
    for (const std::size_t count : {1u, 5u, 10u}) {
        PackageList packages;
        for (std::size_t index = 0; index < count; ++index)
            packages.push_back(package(std::to_string(index)));
        fetch->packages = packages;
        EXPECT_EQ(std::get<LoggedIn>(snapshot().widgetState).packages, packages);
        EXPECT_EQ(std::get<LoggedIn>(timeline().entries.front().widgetState).packages, packages);
    }
}

TEST_F(ProviderTest, ATimelineHasOneEntryAndReloadsAnHourAfterTheRequestBegan) {
    const auto requested = ambient.now();
    fetch->duration = 47;
    const auto result = timeline();
    ASSERT_EQ(result.entries.size(), 1u);
    EXPECT_EQ(result.policy.after, requested.addingTimeInterval(3600));
    EXPECT_EQ(result.entries.front().date, requested.addingTimeInterval(47));
}

TEST_F(ProviderTest, AnHourIsAnHourAcrossAChangeOfTheClocks) {
    ambient.setTimeZone("America/New_York");
    ambient.setNow("2024-03-10T06:30:00Z");
    const auto requested = ambient.now();
    EXPECT_EQ(timeline().policy.after, requested.addingTimeInterval(3600));
}

TEST_F(ProviderTest, ASnapshotIsDatedAfterTheFetch) {
    const auto requested = ambient.now();
    fetch->duration = 3;
    EXPECT_EQ(snapshot().date, requested.addingTimeInterval(3));
}

TEST_F(ProviderTest, EachRequestFetchesOnce) {
    snapshot();
    EXPECT_EQ(fetch->fetches, 1);
    timeline();
    EXPECT_EQ(fetch->fetches, 2);
}

TEST_F(ProviderTest, TwoTimelinesOneAndAHalfSecondsApartSendOneEvent) {
    timeline();
    ambient.advance(1.5);
    timeline();
    EXPECT_EQ(eventsSent(), 1u);
    ambient.advance(0.5);
    timeline();
    EXPECT_EQ(eventsSent(), 2u) << "the second, suppressed event moved the time of the last one";
}

TEST_F(ProviderTest, TwoTimelinesTwoSecondsApartSendTwoEvents) {
    ambient.setNow(platform::Date::sinceReferenceDate(0));
    timeline();
    ambient.advance(2.0);
    timeline();
    EXPECT_EQ(eventsSent(), 2u);
}

TEST_F(ProviderTest, AClockSetBackSuppressesEventsUntilItHasPassedTheLastOne) {
    ambient.setNow(platform::Date::sinceReferenceDate(1000));
    timeline();
    for (const double seconds : {0.0, 999.0, 1000.0, 1001.999}) {
        ambient.setNow(platform::Date::sinceReferenceDate(seconds));
        timeline();
        EXPECT_EQ(eventsSent(), 1u) << seconds;
    }
    ambient.setNow(platform::Date::sinceReferenceDate(1002));
    timeline();
    EXPECT_EQ(eventsSent(), 2u);
}

TEST_F(ProviderTest, ASnapshotSendsNoEventAndDoesNotMoveTheThrottle) {
    snapshot();
    EXPECT_EQ(eventsSent(), 0u);
    timeline();
    EXPECT_EQ(eventsSent(), 1u);
}

TEST_F(ProviderTest, TheThrottleIsSharedByEveryFamily) {
    timeline(WidgetFamily::systemSmall);
    timeline(WidgetFamily::systemLarge);
    EXPECT_EQ(eventsSent(), 1u);
}

/// The throttle of the process remembers earlier tests, so each begins at a later time.
platform::Date laterThanEver() {
    static double seconds = 1e9;
    return platform::Date::sinceReferenceDate(seconds += 1e6);
}

TEST_F(ProviderTest, TheProcessesThrottleIsSharedByEveryProvider) {
    const auto another = [this] {
        return Provider(provider.relaybox(), TrackingWidget::minimumTimeBetweenEvents,
                        {.packageFetch = [this] { return fetch; },
                         .sharedDefaults = [this]() -> const server::SharedDefaults& { return defaults; }});
    };
    const auto timelineOfAnother = [&] {
        const auto made = another();
        awaited(made.timeline(ConfigurationAppIntent{}, context()));
    };
    const auto start = laterThanEver();
    struct Row {
        double seconds;
        std::size_t eventsSoFar;
    };
    for (const auto& [seconds, events] : {Row{0, 1}, Row{0, 1}, Row{1.5, 1}, Row{1.999, 1}, Row{2.0, 2},
                                          Row{3.999, 2}, Row{4.0, 3}, Row{60, 4}}) {
        ambient.setNow(start.addingTimeInterval(seconds));
        std::thread(timelineOfAnother).join();
        EXPECT_EQ(eventsSent(), events) << seconds;
    }
}

TEST_F(ProviderTest, TimelinesAtOnceAreThrottledTogether) {
    asio::io_context io;
    std::vector<std::optional<platform::Timeline<SimpleEntry>>> timelines(platform::allWidgetFamilies.size());
    for (std::size_t index = 0; index < timelines.size(); ++index) {
        auto timeline =
            provider.timeline(ConfigurationAppIntent{}, context(platform::allWidgetFamilies[index]));
        asio::co_spawn(io, platform::testing::keepResult(std::move(timeline), timelines[index]),
                       asio::detached);
    }
    io.run();
    for (const auto& timeline : timelines) EXPECT_TRUE(timeline);
    EXPECT_EQ(fetch->fetches, static_cast<int>(timelines.size()));
    EXPECT_EQ(eventsSent(), 1u);
}

TEST_F(ProviderTest, TheEventNamesFamilyKindStateAndUser) {
    struct Row {
        WidgetFamily family;
        const char* identifier;
        const char* size;
    };
    const Row rows[] = {
        {WidgetFamily::systemSmall, "systemSmall.TrackingWidget", "systemSmall"},
        {WidgetFamily::accessoryInline, "accessoryInline.TrackingWidget", "accessoryInline"},
        {WidgetFamily::other, "other.TrackingWidget", "unknown"},
    };
    suite->setObject("userId", "12345");
    for (const auto& row : rows) {
        ambient.advance(10);
        timeline(row.family);
        const auto payload = lastPayload();
        EXPECT_EQ(payload.at("widget_id"), row.identifier);
        EXPECT_EQ(payload.at("widget_size"), row.size);
        EXPECT_EQ(payload.at("widget_type"), "TrackingWidget");
        EXPECT_EQ(payload.at("widget_state"), "noPackages");
        EXPECT_EQ(payload.at("user_id"), 12345);
    }
}

TEST_F(ProviderTest, TheEventReportsEachState) {
    timeline();
    EXPECT_EQ(lastPayload().at("widget_state"), "noPackages");
    ambient.advance(10);
    fetch->packages = PackageList{package("a")};
    timeline();
    EXPECT_EQ(lastPayload().at("widget_state"), "loggedIn");
    ambient.advance(10);
    fetch->failure = std::make_exception_ptr(std::runtime_error("no"));
    timeline();
    EXPECT_EQ(lastPayload().at("widget_state"), "notLoggedIn");
}

TEST_F(ProviderTest, WithoutAUserIdTheEventGoesOutWithoutOne) {
    timeline();
    EXPECT_EQ(eventsSent(), 1u);
    EXPECT_FALSE(lastPayload().contains("user_id"));
}

}  // namespace
}  // namespace widget
