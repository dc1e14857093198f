// SPDX-License-Identifier: Apache-2.0

#include "platform/SystemEvents/NetworkWatcher.hpp"

#include <gtest/gtest.h>
#include <sched.h>
#include <stdlib.h>

#include <fstream>
#include <string>

#include "tests/support/ChildProcess.hpp"
#include "tests/support/EventLoop.hpp"

namespace platform::testing {
namespace {

constexpr int cannot = 77;

bool ip(const std::string& arguments) {
    return ::system(("ip " + arguments + " >/dev/null 2>&1").c_str()) == 0;
}

/// In a network of its own, as root of it; 77 where the system gives none.
int inNetworkOfItsOwn(const std::function<int()>& work) {
    return runInChild([&work] {
        const auto user = std::to_string(::geteuid());
        const auto group = std::to_string(::getegid());
        if (::unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) return cannot;
        std::ofstream("/proc/self/setgroups") << "deny";
        std::ofstream("/proc/self/uid_map") << "0 " + user + " 1";
        std::ofstream("/proc/self/gid_map") << "0 " + group + " 1";
        if (!ip("link add wire0 type veth peer name wire1") || !ip("link set wire1 up")) return cannot;
        return work();
    });
}

struct WatchedNetwork {
    EventLoop loop;
    int returns = 0;
    NetworkWatcher watcher{loop.executor(), [this] { ++returns; }};

    bool tellsOf(const std::string& change) {
        loop.runReady();
        const int before = returns;
        return ip(change) && loop.runUntil([&] { return returns > before; });
    }
    /// The kernel tells in order: what the next event does not count, was none.
    bool isSilentAt(const std::string& change) {
        loop.runReady();
        const int before = returns;
        return ip(change) && (loop.runReady(), returns == before);
    }
};

#define EXPECT_DONE(status)                                                      \
    do {                                                                         \
        const int given = (status);                                              \
        if (given == cannot) GTEST_SKIP() << "no network of our own can be had"; \
        EXPECT_EQ(given, 0);                                                     \
    } while (false)

TEST(NetworkWatcher, TellsOfAnAddressAndOfADefaultRouteOnce) {
    EXPECT_DONE(inNetworkOfItsOwn([] {
        WatchedNetwork watched;
        if (!watched.isSilentAt("link set wire0 up")) return 1;
        if (!watched.tellsOf("addr add 10.9.0.1/24 dev wire0")) return 2;
        if (!watched.tellsOf("route add default via 10.9.0.2")) return 3;
        if (!watched.isSilentAt("route add 10.10.0.0/16 via 10.9.0.2")) return 4;
        return watched.isSilentAt("route replace default via 10.9.0.2") ? 0 : 5;
    }));
}

TEST(NetworkWatcher, TellsOfACableThatIsPutInAgainAndNotThatItIsPulled) {
    EXPECT_DONE(inNetworkOfItsOwn([] {
        ip("link set wire0 up");
        ip("addr add 10.9.0.1/24 dev wire0");
        ip("route add default via 10.9.0.2");
        WatchedNetwork watched;
        if (!watched.isSilentAt("link set wire1 down")) return 1;
        // The kernel may take a second to say so; put in again before, nothing would have been seen.
        const auto isPulled = [] { return ip("-o link show wire0 | grep -q NO-CARRIER"); };
        if (!watched.loop.runUntil(isPulled)) return 3;
        return watched.tellsOf("link set wire1 up") ? 0 : 2;
    }));
}

TEST(NetworkWatcher, WhatWasThereBeforeItIsNoReturn) {
    EXPECT_DONE(inNetworkOfItsOwn([] {
        ip("link set wire0 up");
        ip("addr add 10.9.0.1/24 dev wire0");
        WatchedNetwork watched;
        if (!watched.tellsOf("route add default via 10.9.0.2")) return 1;
        return watched.returns == 1 ? 0 : 2;
    }));
}

}  // namespace
}  // namespace platform::testing
