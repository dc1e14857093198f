// SPDX-License-Identifier: Apache-2.0

#include "platform/SystemEvents/ClockWatcher.hpp"

#include <gmock/gmock.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include "tests/support/EventLoop.hpp"

namespace platform::testing {
namespace {

using std::chrono::hours;
using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using std::chrono::seconds;
using ::testing::ElementsAre;

constexpr ClockReading before = {.realTime = hours(400'000), .monotonic = hours(5), .sinceBoot = hours(6)};

/// `awake` and `asleep` later, the real-time clock having been put on by `jump`.
ClockReading after(nanoseconds awake, nanoseconds asleep, nanoseconds jump) {
    return {.realTime = before.realTime + awake + asleep + jump,
            .monotonic = before.monotonic + awake,
            .sinceBoot = before.sinceBoot + awake + asleep};
}

struct Passage {
    const char* name;
    nanoseconds awake;
    nanoseconds asleep;
    nanoseconds jump;
    std::vector<SystemEvent> events;
};

TEST(ClockEvents, TellASuspensionFromAJump) {
    const std::vector<Passage> passages = {
        {"an hour as any other", hours(1), {}, {}, {}},
        {"a night's sleep", seconds(1), hours(8), {}, {SystemEvent::resumed}},
        {"half a second's sleep", seconds(1), milliseconds(500), {}, {SystemEvent::resumed}},
        {"less", seconds(1), milliseconds(499), {}, {}},
        {"put on an hour", seconds(1), {}, hours(1), {SystemEvent::clockSet}},
        {"put back a year", seconds(1), {}, -hours(8766), {SystemEvent::clockSet}},
        {"put on a second", seconds(1), {}, seconds(1), {SystemEvent::clockSet}},
        {"stepped by less, as time servers do", seconds(1), {}, milliseconds(-999), {}},
        {"asleep, and then set",
         seconds(1),
         hours(8),
         seconds(-40),
         {SystemEvent::resumed, SystemEvent::clockSet}},
    };
    for (const auto& passage : passages)
        EXPECT_EQ(clockEvents(before, after(passage.awake, passage.asleep, passage.jump)), passage.events)
            << passage.name;
}

TEST(ClockWatcher, LooksAtTheClocksWhenTheKernelSaysSoAndTellsEachEventOnce) {
    EventLoop loop;
    const int kernel = ::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    ClockReading now = before;
    int looks = 0;
    std::vector<SystemEvent> events;
    ClockWatcher watcher(
        loop.executor(), Descriptor(kernel),
        [&] {
            ++looks;
            return now;
        },
        [&](SystemEvent event) { events.push_back(event); });
    const std::uint64_t one = 1;
    now = after(seconds(1), hours(8), {});
    ASSERT_GT(::write(kernel, &one, sizeof one), 0);
    EXPECT_TRUE(loop.runUntil([&] { return looks == 2; }));
    ASSERT_GT(::write(kernel, &one, sizeof one), 0);
    EXPECT_TRUE(loop.runUntil([&] { return looks == 3; }));
    EXPECT_THAT(events, ElementsAre(SystemEvent::resumed));
}

TEST(ClockJumpDescriptor, IsSilentWhileNobodySetsTheClock) {
    const Descriptor timer = clockJumpDescriptor();
    ASSERT_TRUE(timer.isOpen());
    pollfd looked = {.fd = timer, .events = POLLIN, .revents = 0};
    EXPECT_EQ(::poll(&looked, 1, 0), 0);
}

}  // namespace
}  // namespace platform::testing
