// SPDX-License-Identifier: Apache-2.0

#include "platform/SystemEvents/LinuxSystemEvents.hpp"

#include <gmock/gmock.h>

#include <filesystem>
#include <optional>

#include "platform/Asio/DescriptorWatch.hpp"
#include "tests/support/EventLoop.hpp"
#include "tests/support/PrivateBus.hpp"
#include "tests/support/RecordingLogSink.hpp"
#include "tests/support/ScopedEnvironment.hpp"
#include "tests/support/ScriptedService.hpp"

namespace platform::testing {
namespace {

namespace fs = std::filesystem;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class LinuxSystemEventsTest : public ::testing::Test {
  protected:
    void listen() {
        events_.emplace(loop_.executor(),
                        WatchedStores{.keychain = folder_.path() / "vela" / "keychain.sqlite",
                                      .defaults = folder_.path() / "suite" / "preferences.json",
                                      .zone = folder_.path() / "localtime"});
        events_->listen([this](SystemEvent event) { heard_.push_back(event); });
    }
    bool hears(SystemEvent event) {
        return loop_.runUntil([&] { return std::find(heard_.begin(), heard_.end(), event) != heard_.end(); });
    }
    /// Until what has been noted before is told.
    void settle() {
        bool isLater = false;
        Alarm later(loop_.executor(), [&] { isLater = true; });
        later.set(std::chrono::milliseconds(400));
        EXPECT_TRUE(loop_.runUntil([&] { return isLater; }));
    }

    TemporaryFolder folder_;
    PrivateBus bus_;
    ScopedEnvironment environment_{{"DBUS_SYSTEM_BUS_ADDRESS", bus_.address()},
                                   {"DBUS_SESSION_BUS_ADDRESS", bus_.address()}};
    RecordingLogSink log_;
    EventLoop loop_;
    std::vector<SystemEvent> heard_;
    std::optional<LinuxSystemEvents> events_;
};

TEST_F(LinuxSystemEventsTest, EachFileHasItsEvent) {
    listen();
    folder_.write("vela/keychain.sqlite", "items");
    EXPECT_TRUE(hears(SystemEvent::secretsChanged));
    folder_.write("suite/preferences.json", "{}");
    EXPECT_TRUE(hears(SystemEvent::defaultsChanged));
    fs::create_symlink("/usr/share/zoneinfo/Europe/Berlin", folder_.path() / "localtime");
    EXPECT_TRUE(hears(SystemEvent::zoneChanged));
}

TEST_F(LinuxSystemEventsTest, ABurstIsOneEventOfAKind) {
    folder_.write("vela/keychain.sqlite", "items");
    folder_.write("suite/preferences.json", "{}");
    listen();
    for (int round = 0; round < 100; ++round) {
        folder_.write("vela/keychain.sqlite", std::to_string(round));
        folder_.write("suite/preferences.json", std::to_string(round));
    }
    settle();
    EXPECT_THAT(heard_, ElementsAre(SystemEvent::secretsChanged, SystemEvent::defaultsChanged));
}

TEST_F(LinuxSystemEventsTest, WhatComesOneAfterTheOtherIsToldTogether) {
    folder_.write("vela/keychain.sqlite", "items");
    listen();
    constexpr std::size_t rounds = 50;
    for (std::size_t round = 0; round < rounds; ++round) {
        folder_.write("vela/keychain.sqlite", std::to_string(round));
        loop_.runReady();
    }
    settle();
    EXPECT_LT(heard_.size(), rounds / 2);
}

TEST_F(LinuxSystemEventsTest, TheMachineWakesWhenLogindSaysSoAndNotWhenItGoesToSleep) {
    listen();
    ScriptedService logind(bus_.address(), "org.freedesktop.login1");
    const auto say = [&](int isComing) {
        logind.signal("/org/freedesktop/login1", "org.freedesktop.login1.Manager", "PrepareForSleep", "b",
                      isComing);
    };
    say(1);
    settle();
    EXPECT_THAT(heard_, IsEmpty());
    say(0);
    EXPECT_TRUE(hears(SystemEvent::resumed));
}

TEST_F(LinuxSystemEventsTest, TheNetworkReturnsWhenNetworkManagerIsConnectedAgain) {
    constexpr std::uint32_t disconnected = 20;
    constexpr std::uint32_t connecting = 40;
    constexpr std::uint32_t connectedToSite = 60;
    constexpr std::uint32_t connected = 70;
    ScriptedService manager(bus_.address(), "org.freedesktop.NetworkManager");
    listen();
    const auto say = [&](std::uint32_t state) {
        manager.signal("/org/freedesktop/NetworkManager", "org.freedesktop.NetworkManager", "StateChanged",
                       "u", state);
        settle();
    };
    settle();
    for (const auto state :
         {connected, disconnected, connecting, connectedToSite, connected, connectedToSite})
        say(state);
    EXPECT_THAT(heard_, ElementsAre(SystemEvent::networkReturned, SystemEvent::networkReturned,
                                    SystemEvent::networkReturned))
        << "connected at first, then to a site, then wholly; not when it falls back";
}

TEST_F(LinuxSystemEventsTest, ABusThatIsStartedAgainIsHeardAgain) {
    listen();
    settle();
    bus_.stop();
    settle();
    bus_.start();
    EXPECT_TRUE(loop_.runUntil([&] {
        ScriptedService logind(bus_.address(), "org.freedesktop.login1");
        logind.signal("/org/freedesktop/login1", "org.freedesktop.login1.Manager", "PrepareForSleep", "b", 0);
        settle();
        return !heard_.empty();
    }));
    EXPECT_THAT(heard_, Contains(SystemEvent::resumed));
}

TEST_F(LinuxSystemEventsTest, WithoutABusFilesAreWatchedAllTheSame) {
    bus_.stop();
    listen();
    folder_.write("vela/keychain.sqlite", "items");
    EXPECT_TRUE(hears(SystemEvent::secretsChanged));
    EXPECT_THAT(log_.messages(), ElementsAre("the system bus cannot be used: No such file or directory"));
}

TEST(WatchedStores, AreThePersonsByTheEnvironment) {
    const ScopedEnvironment environment({{"XDG_DATA_HOME", "/data"},
                                         {"VELA_KEYCHAIN", std::nullopt},
                                         {"VELA_BUNDLE", "/nowhere"},
                                         {"TZ", std::nullopt}});
    const auto stores = WatchedStores::ofPerson();
    EXPECT_EQ(stores.keychain, "/data/vela/keychain.sqlite");
    EXPECT_EQ(stores.keyring, WatchedStores::Keyring::left);
    EXPECT_EQ(stores.zone, "/etc/localtime");
}

TEST(WatchedStores, WithTheDesktopsKeyringTheFileIsLeft) {
    const ScopedEnvironment environment({{"XDG_DATA_HOME", "/data"}, {"VELA_KEYCHAIN", "secret-service"}});
    const auto stores = WatchedStores::ofPerson();
    EXPECT_EQ(stores.keychain, std::nullopt);
    EXPECT_EQ(stores.keyring, WatchedStores::Keyring::watched);
}

}  // namespace
}  // namespace platform::testing
