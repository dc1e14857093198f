// SPDX-License-Identifier: Apache-2.0

#include "platform/Files/Patience.hpp"

#include <gtest/gtest.h>

namespace platform {
namespace {

using std::chrono::milliseconds;

constexpr Patience patience = {.inAll = milliseconds(50), .pause = milliseconds(10)};

TEST(Patience, MakesOneAttemptAtOnceAndOneAfterEveryPause) {
    int attempts = 0;
    EXPECT_FALSE(patience.suffices([&] { return ++attempts == 0; }));
    EXPECT_EQ(attempts, 6);
}

TEST(Patience, IsNotSpentWhileTheMachineStandsStill) {
    int attempts = 0;
    EXPECT_TRUE(patience.suffices([&] {
        if (++attempts == 1) std::this_thread::sleep_for(2 * patience.inAll);
        return attempts == 3;
    }));
}

TEST(Patience, IsNotNeededForWhatSucceedsAtOnce) {
    constexpr Patience none = {.inAll = milliseconds(0), .pause = milliseconds(10)};
    EXPECT_TRUE(none.suffices([] { return true; }));
    EXPECT_FALSE(none.suffices([] { return false; }));
}

}  // namespace
}  // namespace platform
