// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Notifications/DesktopNotifier.hpp"

#include <gmock/gmock.h>

#include <algorithm>
#include <optional>

#include "platform/Asio/DescriptorWatch.hpp"
#include "tests/host/notifications/RecordingService.hpp"
#include "tests/support/EventLoop.hpp"
#include "tests/support/PrivateBus.hpp"
#include "tests/support/RecordingLogSink.hpp"
#include "tests/support/ScopedEnvironment.hpp"

namespace host {
namespace {

using platform::testing::EventLoop;
using platform::testing::PrivateBus;
using platform::testing::ScopedEnvironment;
using ::testing::ElementsAre;
using ::testing::SizeIs;

class DesktopNotifierTest : public ::testing::Test {
  protected:
    void serve(RecordingService::Kind kind) { service_.emplace(bus_.address(), kind); }
    void show(const std::string& name, const std::string& status, const std::string& detail = "") {
        notifier_.show(
            {.link = "velaapp://delivery/" + name, .title = name, .status = status, .detail = detail});
    }
    std::vector<Notified> shown(std::size_t count) {
        EXPECT_TRUE(loop_.runUntil([&] { return service_->shown().size() >= count; }));
        settle();
        return service_->shown();
    }
    void settle() {
        bool isLater = false;
        platform::Alarm later(loop_.executor(), [&] { isLater = true; });
        later.set(std::chrono::milliseconds(100));
        EXPECT_TRUE(loop_.runUntil([&] { return isLater; }));
    }

    PrivateBus bus_;
    ScopedEnvironment environment_{{"DBUS_SESSION_BUS_ADDRESS", bus_.address()}};
    platform::testing::RecordingLogSink log_;
    EventLoop loop_;
    std::optional<RecordingService> service_;
    std::vector<std::pair<std::string, std::string>> opened_;
    DesktopNotifier notifier_{loop_.executor(), [this](const std::string& link, const std::string& token) {
                                  opened_.emplace_back(link, token);
                              }};
};

TEST_F(DesktopNotifierTest, ShowsWhoAndWhat) {
    serve({});
    show("Shop", "Delivered", "by noon");
    const auto all = shown(1);
    ASSERT_THAT(all, SizeIs(1));
    EXPECT_EQ(all[0].title, "Shop");
    EXPECT_EQ(all[0].text, "Delivered\nby noon");
    EXPECT_TRUE(all[0].hasActions);
    EXPECT_FALSE(all[0].isSilent);
    EXPECT_EQ(all[0].urgency, 1) << "normal";
}

TEST_F(DesktopNotifierTest, ShowsNothingThatATerminalWouldObey) {
    serve({.hasMarkup = false});
    show("A\x1b[2J", "now\x07", "or\nlater");
    const auto all = shown(1);
    ASSERT_THAT(all, SizeIs(1));
    for (const auto& text : {all[0].title, all[0].text})
        for (const char control : {'\x1b', '\x07'}) EXPECT_EQ(text.find(control), std::string::npos);
    EXPECT_EQ(std::count(all[0].text.begin(), all[0].text.end(), '\n'), 1) << "between status and detail";
}

TEST_F(DesktopNotifierTest, CutsWhateverAShopIsCalled) {
    serve({});
    const std::string longName(80'000, 'n');
    show(longName, longName, longName);
    const auto all = shown(1);
    ASSERT_THAT(all, SizeIs(1));
    const auto cut = std::string(119, 'n') + "…";
    EXPECT_EQ(all[0].title, cut);
    EXPECT_EQ(all[0].text, cut + "\n" + cut);
}

TEST_F(DesktopNotifierTest, EscapesForAServiceThatReadsMarkupAndForNoOther) {
    serve({});
    show("A & B", "<b>now</b>");
    auto all = shown(1);
    EXPECT_EQ(all.at(0).title, "A & B") << "titles are never markup";
    EXPECT_EQ(all.at(0).text, "&lt;b&gt;now&lt;/b&gt;");
    service_.reset();
    serve({.hasMarkup = false});
    show("C", "<b>now</b>");
    all = shown(1);
    EXPECT_EQ(all.at(0).text, "<b>now</b>");
    EXPECT_FALSE(all.at(0).hasActions);
}

TEST_F(DesktopNotifierTest, ReplacesWhatItShowedOfThatLinkAndNothingElse) {
    serve({});
    show("One", "near");
    shown(1);
    show("Two", "near");
    shown(2);
    show("One", "Delivered");
    const auto all = shown(3);
    EXPECT_EQ(all[1].replaces, 0U);
    EXPECT_EQ(all[2].replaces, 41U);
}

TEST_F(DesktopNotifierTest, ReplacesNothingOfAServiceThatCountsAnew) {
    serve({});
    show("One", "near");
    shown(1);
    service_.reset();
    // Once this cannot be shown, the bus has said before that the service has gone.
    show("Two", "near");
    ASSERT_TRUE(loop_.runUntil([&] { return !log_.messages().empty(); }));
    serve({});
    settle();
    show("One", "Delivered");
    EXPECT_EQ(shown(1).at(0).replaces, 0U) << "the number is another's there";
}

TEST_F(DesktopNotifierTest, WhatComesWhileAnotherIsOnItsWayReplacesIt) {
    serve({});
    show("One", "near");
    show("One", "nearer");
    show("One", "Delivered");
    const auto all = shown(2);
    ASSERT_THAT(all, SizeIs(2));
    EXPECT_EQ(all[1].replaces, 41U);
    EXPECT_EQ(all[1].text, "Delivered");
}

TEST_F(DesktopNotifierTest, OneThatIsClosedWhileTheNextIsOnItsWayTakesNothingAlong) {
    serve({});
    show("One", "near");
    shown(1);
    service_->say("NotificationClosed", "uu", 41U, 2U);
    show("One", "nearer");
    show("One", "Delivered");
    const auto all = shown(3);
    ASSERT_THAT(all, SizeIs(3));
    EXPECT_EQ(all[1].replaces, 0U);
    EXPECT_EQ(all[2].replaces, 42U);
    EXPECT_EQ(all[2].text, "Delivered");
}

TEST_F(DesktopNotifierTest, AClickOpensTheLinkWithTheDesktopsLeave) {
    serve({});
    show("One", "near");
    shown(1);
    service_->say("ActivationToken", "us", 41U, "token");
    service_->say("ActionInvoked", "us", 41U, "default");
    ASSERT_TRUE(loop_.runUntil([&] { return !opened_.empty(); }));
    EXPECT_THAT(opened_, ElementsAre(std::pair<std::string, std::string>("velaapp://delivery/One", "token")));
}

TEST_F(DesktopNotifierTest, TheDesktopsLeaveIsForOneClick) {
    serve({});
    show("One", "near");
    shown(1);
    service_->say("ActivationToken", "us", 41U, "token");
    service_->say("ActionInvoked", "us", 41U, "default");
    service_->say("ActionInvoked", "us", 41U, "default");
    ASSERT_TRUE(loop_.runUntil([&] { return opened_.size() == 2; }));
    EXPECT_EQ(opened_[0].second, "token");
    EXPECT_EQ(opened_[1].second, "");
}

TEST_F(DesktopNotifierTest, TheClicksOfOthersAreNotOurs) {
    serve({});
    show("One", "near");
    shown(1);
    service_->say("ActionInvoked", "us", 7U, "default");
    service_->say("ActionInvoked", "us", 41U, "other");
    service_->say("NotificationClosed", "uu", 41U, 2U);
    service_->say("ActionInvoked", "us", 41U, "default");
    settle();
    EXPECT_THAT(opened_, SizeIs(0));
}

TEST_F(DesktopNotifierTest, IsSilentWhereThePersonIsNotToBeDisturbed) {
    serve({.isInhibited = true});
    show("One", "near");
    const auto all = shown(1);
    EXPECT_TRUE(all.at(0).isSilent);
    EXPECT_EQ(all.at(0).urgency, 0) << "low";
}

TEST_F(DesktopNotifierTest, IsHeardWhereTheServiceSaysThatThePersonMayBeDisturbed) {
    serve({.isInhibited = false});
    show("One", "near");
    const auto all = shown(1);
    EXPECT_FALSE(all.at(0).isSilent);
    EXPECT_EQ(all.at(0).urgency, 1);
}

TEST_F(DesktopNotifierTest, ReplacesWhatStillShowsAfterOneThatCouldNotBeShown) {
    serve({});
    show("One", "near");
    shown(1);
    service_->refuse(true);
    show("One", "nearer");
    ASSERT_TRUE(loop_.runUntil([&] { return service_->asked() == 2; }));
    settle();
    service_->refuse(false);
    show("One", "Delivered");
    EXPECT_EQ(shown(2).at(1).replaces, 41U);
}

TEST_F(DesktopNotifierTest, WithdrawsAllThatIsShownAndWhatIsOnItsWay) {
    serve({});
    show("One", "near");
    shown(1);
    show("Two", "near");
    notifier_.withdrawAll();
    ASSERT_TRUE(loop_.runUntil([&] { return !service_->closed().empty(); }));
    settle();
    EXPECT_THAT(service_->closed(), ElementsAre(41U));
    EXPECT_FALSE(service_->isStartedToClose());
    EXPECT_THAT(service_->shown(), SizeIs(1)) << "the second was not shown at all";
}

TEST_F(DesktopNotifierTest, WithdrawsWhatTheServiceIsAboutToShow) {
    serve({.isSlow = true});
    show("One", "near");
    ASSERT_TRUE(loop_.runUntil([&] { return service_->asked() == 1; }));
    notifier_.withdrawAll();
    EXPECT_TRUE(loop_.runUntil([&] { return !service_->closed().empty(); }));
    show("One", "near");
    EXPECT_EQ(shown(2).at(1).replaces, 0U) << "what is gone is replaced by nothing";
}

TEST_F(DesktopNotifierTest, AServiceThatHangsHoldsNobodyUp) {
    serve({.hangs = true});
    show("One", "near");
    ASSERT_TRUE(loop_.runUntil([&] { return service_->calls("Notify") == 1; }));
    bool isServed = false;
    platform::Alarm other(loop_.executor(), [&] { isServed = true; });
    other.set(std::chrono::milliseconds(0));
    EXPECT_TRUE(loop_.runUntil([&] { return isServed; }));
}

TEST_F(DesktopNotifierTest, WithoutAServiceNothingIsShownAndTheLogSaysSoOnce) {
    show("One", "near");
    show("Two", "near");
    ASSERT_TRUE(loop_.runUntil([&] { return !log_.messages().empty(); }));
    settle();
    EXPECT_THAT(log_.messages(), SizeIs(1));
    serve({});
    show("One", "Delivered");
    EXPECT_EQ(shown(1).at(0).replaces, 0U);
}

}  // namespace
}  // namespace host
