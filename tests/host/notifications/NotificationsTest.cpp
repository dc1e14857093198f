// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Notifications/Notifications.hpp"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <optional>

#include "platform/Asio/Pause.hpp"
#include "tests/host/notifications/RecordingService.hpp"
#include "tests/host/notifications/ShownPackages.hpp"
#include "tests/support/EventLoop.hpp"
#include "tests/support/PrivateBus.hpp"
#include "tests/support/RecordingLogSink.hpp"
#include "tests/support/ScopedEnvironment.hpp"

namespace host {
namespace {

namespace fs = std::filesystem;
using platform::testing::EventLoop;
using platform::testing::PrivateBus;
using platform::testing::ScopedEnvironment;
using platform::testing::TemporaryFolder;
using Change = LiveHost::Change;

class NotificationsTest : public ::testing::Test {
  protected:
    NotificationsTest() { begin(); }

    void begin() {
        notifications_.emplace(
            loop_.executor(), folder_.path() / "vela-widget",
            [this]() -> boost::asio::awaitable<bool> {
                ++asked_;
                while (isSlow_) co_await platform::pause(std::chrono::milliseconds(5));
                co_return isWanted_;
            },
            [this] { return hasPlace_ && looksWithPlace_-- > 0; });
    }
    void take(const std::vector<ShownPackage>& packages, Change change = Change::replaced) {
        notifications_->take(showing(packages), change);
        loop_.runReady();
    }
    bool shows(std::size_t count) {
        return loop_.runUntil([&] { return service_.shown().size() == count; });
    }
    fs::path memory() const { return folder_.path() / "vela-widget" / Notifications::fileName; }

    PrivateBus bus_;
    ScopedEnvironment environment_{{"DBUS_SESSION_BUS_ADDRESS", bus_.address()}};
    platform::testing::RecordingLogSink log_;
    TemporaryFolder folder_;
    RecordingService service_{bus_.address(), {}};
    EventLoop loop_;
    bool isWanted_ = true;
    bool hasPlace_ = true;
    /// How often it finds its place still there.
    int looksWithPlace_ = 1'000;
    bool isSlow_ = false;
    int asked_ = 0;
    std::optional<Notifications> notifications_;
};

TEST_F(NotificationsTest, ShowsWhatHappensWhereItIsWanted) {
    take({{"Shop", 0.6F}});
    take({{"Shop", 1.0F}});
    EXPECT_TRUE(shows(1));
}

TEST_F(NotificationsTest, ShowsAndRemembersNothingWhereItIsNotWanted) {
    isWanted_ = false;
    take({{"Shop", 0.6F}});
    take({{"Shop", 1.0F}});
    EXPECT_GT(asked_, 0);
    EXPECT_FALSE(fs::exists(memory()));
    isWanted_ = true;
    take({{"Shop", 1.0F, "Failure"}});
    EXPECT_TRUE(shows(1));
    EXPECT_EQ(service_.shown().at(0).text, "Failure\nby noon");
}

TEST_F(NotificationsTest, AsksNobodyWhileNothingHappens) {
    take({{"Shop", 0.2F}});
    take({{"Shop", 0.6F}});
    EXPECT_EQ(asked_, 0);
    EXPECT_FALSE(fs::exists(memory())) << "nothing was told";
}

TEST_F(NotificationsTest, TellsNothingTwiceThoughTheHostBeginsAnew) {
    take({{"Shop", 0.6F}, {"Other", 0.6F}});
    take({{"Shop", 1.0F}, {"Other", 0.6F}});
    ASSERT_TRUE(shows(1));
    begin();
    take({{"Shop", 1.0F}, {"Other", 1.0F}});
    ASSERT_TRUE(shows(2));
    EXPECT_EQ(service_.shown().at(1).title, "Other");
}

TEST_F(NotificationsTest, RemembersForThePersonAlone) {
    take({{"Shop", 0.6F}});
    take({{"Shop", 1.0F}});
    struct stat found = {};
    ASSERT_EQ(::stat(memory().c_str(), &found), 0);
    EXPECT_EQ(found.st_mode & 0777U, 0600U);
}

TEST_F(NotificationsTest, ASignOutTakesEverythingAway) {
    take({{"Shop", 0.6F}});
    take({{"Shop", 1.0F}});
    ASSERT_TRUE(shows(1));
    // The service's number has to have come back.
    EXPECT_TRUE(loop_.runUntil([&] {
        notifications_->take({.entry = showing({}).entry}, Change::forgotten);
        loop_.runReady();
        return !service_.closed().empty();
    }));
    EXPECT_FALSE(fs::exists(memory()));
}

TEST_F(NotificationsTest, TellsAndRemembersNothingOfAPersonWhoSignsOutMeanwhile) {
    isSlow_ = true;
    take({{"Shop", 0.6F}});
    take({{"Shop", 1.0F}});
    ASSERT_EQ(asked_, 1);
    notifications_->take({.entry = showing({}).entry}, Change::forgotten);
    isSlow_ = false;
    take({{"Other", 0.6F}});
    take({{"Other", 1.0F}});
    ASSERT_TRUE(shows(1));
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(200);
    loop_.runUntil([&] { return std::chrono::steady_clock::now() > end; });
    ASSERT_EQ(service_.shown().size(), 1U);
    EXPECT_EQ(service_.shown().at(0).title, "Other");
}

TEST_F(NotificationsTest, RemembersWhatItToldNothingOfAsWell) {
    take({{"Shop", 0.6F}});
    take({{"Shop", 1.0F}});
    ASSERT_TRUE(shows(1));
    take({{"Shop", 1.0F}, {"New", 0.2F}});
    begin();
    take({{"Shop", 1.0F}, {"New", 0.8F}});
    ASSERT_TRUE(shows(2)) << "what came last was known to the host before";
    EXPECT_EQ(service_.shown().at(1).title, "New");
}

TEST_F(NotificationsTest, GoesOnRememberingWhereTheHostBeforeDid) {
    take({{"Shop", 0.6F}});
    take({{"Shop", 1.0F}});
    ASSERT_TRUE(shows(1));
    begin();
    take({{"Shop", 1.0F}, {"New", 0.2F}});
    begin();
    take({{"Shop", 1.0F}, {"New", 0.8F}});
    ASSERT_TRUE(shows(2));
    EXPECT_EQ(service_.shown().at(1).title, "New");
}

TEST_F(NotificationsTest, RemembersNothingAfterASignOutBeforeSomethingIsTold) {
    take({{"Shop", 0.6F}});
    take({{"Shop", 1.0F}});
    ASSERT_TRUE(shows(1));
    notifications_->take({.entry = showing({}).entry}, Change::forgotten);
    take({{"Other", 0.2F}});
    EXPECT_FALSE(fs::exists(memory()));
}

TEST_F(NotificationsTest, TellsNothingForAHostThatLosesItsPlaceMeanwhile) {
    isSlow_ = true;
    take({{"Shop", 0.6F}});
    take({{"Shop", 1.0F}});
    ASSERT_EQ(asked_, 1);
    hasPlace_ = isSlow_ = false;
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(300);
    loop_.runUntil([&] { return std::chrono::steady_clock::now() > end; });
    EXPECT_EQ(service_.shown().size(), 0U);
}

TEST_F(NotificationsTest, MakesNothingInAPlaceThatIsLostBeforeItWrites) {
    take({{"Shop", 0.6F}});
    // One look before it tells, none before it writes.
    looksWithPlace_ = 1;
    take({{"Shop", 1.0F}});
    EXPECT_EQ(asked_, 1);
    EXPECT_FALSE(fs::exists(memory().parent_path()));
}

TEST_F(NotificationsTest, PutsNothingInAPlaceThatIsLostWhileItWrites) {
    take({{"Shop", 0.6F}});
    // None before what is written takes its name.
    looksWithPlace_ = 2;
    take({{"Shop", 1.0F}});
    EXPECT_EQ(asked_, 1);
    ASSERT_TRUE(fs::exists(memory().parent_path()));
    EXPECT_TRUE(fs::is_empty(memory().parent_path()));
}

TEST_F(NotificationsTest, LeavesTheMemoryOfBeforeInAPlaceThatIsLostWhileItWrites) {
    take({{"Shop", 0.6F}});
    take({{"Shop", 1.0F}});
    ASSERT_TRUE(shows(1));
    const auto before = folder_.read("vela-widget/" + std::string(Notifications::fileName));
    // What it tells nothing of is remembered as well.
    for (const int looks : {0, 1}) {
        looksWithPlace_ = looks;
        take({{"Shop", 1.0F}, {"New " + std::to_string(looks), 0.2F}});
        EXPECT_EQ(folder_.read("vela-widget/" + std::string(Notifications::fileName)), before) << looks;
    }
    looksWithPlace_ = 2;
    take({{"Shop", 1.0F}, {"Newest", 0.2F}});
    EXPECT_NE(folder_.read("vela-widget/" + std::string(Notifications::fileName)), before);
}

TEST_F(NotificationsTest, AMemoryThatIsTooLongIsNone) {
    take({{"Shop", 0.6F}, {"Other", 0.6F}});
    take({{"Shop", 1.0F}, {"Other", 0.6F}});
    ASSERT_TRUE(shows(1));
    const auto name = fs::path("vela-widget") / Notifications::fileName;
    const auto before = folder_.read(name);
    folder_.write(name, before + std::string(70'000, ' '));
    begin();
    take({{"Shop", 1.0F}, {"Other", 1.0F}});
    take({{"Shop", 1.0F, "Failure"}, {"Other", 1.0F}});
    ASSERT_TRUE(shows(2));
    EXPECT_EQ(service_.shown().at(1).title, "Shop") << "what came before was the first look";
}

TEST_F(NotificationsTest, TellsAndChangesNothingForAHostThatHasLostItsPlace) {
    take({{"Shop", 0.6F}, {"Other", 0.6F}});
    take({{"Shop", 1.0F}, {"Other", 0.6F}});
    ASSERT_TRUE(shows(1));
    const auto before = folder_.read(fs::path("vela-widget") / Notifications::fileName);
    hasPlace_ = false;
    take({{"Shop", 1.0F}, {"Other", 0.7F}});
    take({{"Shop", 1.0F}, {"Other", 1.0F}});
    EXPECT_EQ(folder_.read(fs::path("vela-widget") / Notifications::fileName), before);
    isWanted_ = false;
    take({{"Shop", 1.0F, "Failure"}, {"Other", 1.0F}});
    notifications_->take({.entry = showing({}).entry}, Change::forgotten);
    EXPECT_TRUE(fs::exists(memory())) << "it is another host's";
    hasPlace_ = isWanted_ = true;
    begin();
    take({{"Shop", 1.0F}, {"Other", 1.0F}});
    ASSERT_TRUE(shows(2)) << "the other one";
    EXPECT_EQ(service_.shown().at(1).title, "Other");
}

TEST_F(NotificationsTest, AMemoryThatOthersMayReadIsNone) {
    take({{"Shop", 0.6F}});
    take({{"Shop", 1.0F}});
    ASSERT_TRUE(shows(1));
    fs::permissions(memory(), fs::perms::others_read, fs::perm_options::add);
    begin();
    take({{"Shop", 1.0F, "Failure"}});
    take({{"Shop", 1.0F, "Delivered"}});
    ASSERT_TRUE(shows(2));
    EXPECT_EQ(service_.shown().at(1).text, "Delivered\nby noon") << "what came before was the first look";
}

TEST_F(NotificationsTest, AMemoryThatIsBrokenIsNone) {
    take({{"Shop", 0.6F}});
    folder_.write(fs::path("vela-widget") / Notifications::fileName, "{\"packages\": {");
    begin();
    take({{"Shop", 1.0F}});
    take({{"Shop", 1.0F, "Failure"}});
    ASSERT_TRUE(shows(1));
    EXPECT_EQ(service_.shown().at(0).text, "Failure\nby noon");
}

TEST_F(NotificationsTest, WhereNothingCanBeRememberedItIsToldAllTheSame) {
    folder_.write("vela-widget", "a file where the folder should be");
    begin();
    take({{"Shop", 0.6F}});
    take({{"Shop", 1.0F}});
    EXPECT_TRUE(shows(1));
    EXPECT_FALSE(log_.messages().empty());
}

TEST(LinkOpening, HasTheCompanionOpenTheLinkWithTheDesktopsLeave) {
    const auto opening = linkOpening("velaapp://delivery/1", "token", Confinement::none);
    EXPECT_EQ(opening.program, companionProgram());
    EXPECT_THAT(opening.arguments, ::testing::ElementsAre("vela-companion", "open", "velaapp://delivery/1"));
    EXPECT_EQ(opening.variables.at("XDG_ACTIVATION_TOKEN"), "token");
    EXPECT_TRUE(linkOpening("velaapp://delivery/1", "", Confinement::none).variables.empty());
}

TEST(LinkOpening, OfAServiceIsTheServiceManagers) {
    const auto opening = linkOpening("velaapp://delivery/1", "token", Confinement::ofService);
    EXPECT_EQ(opening.program, "/usr/bin/systemd-run");
    EXPECT_THAT(
        opening.arguments,
        ::testing::ElementsAre("systemd-run", "--user", "--collect", "--quiet",
                               // What the journal keeps names no order.
                               "--description=A link of the widget", "--setenv=DESKTOP_STARTUP_ID=token",
                               "--setenv=XDG_ACTIVATION_TOKEN=token", companionProgram().string(), "open",
                               "velaapp://delivery/1"));
}

}  // namespace
}  // namespace host
