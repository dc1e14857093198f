// SPDX-License-Identifier: Apache-2.0

#include "platform/Asio/DescriptorWatch.hpp"

#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <memory>
#include <optional>

#include "platform/Asio/GrowingPause.hpp"
#include "tests/support/EventLoop.hpp"

namespace platform::testing {
namespace {

using std::chrono::seconds;

void raise(int descriptor) {
    const std::uint64_t one = 1;
    ASSERT_EQ(::write(descriptor, &one, sizeof one), static_cast<ssize_t>(sizeof one));
}

TEST(DescriptorWatch, CallsAsLongAsThereIsSomethingToRead) {
    EventLoop loop;
    const int event = ::eventfd(2, EFD_NONBLOCK | EFD_SEMAPHORE | EFD_CLOEXEC);
    int calls = 0;
    DescriptorWatch watch(loop.executor(), event, [&] {
        std::uint64_t ignored = 0;
        if (::read(event, &ignored, sizeof ignored) > 0) ++calls;
    });
    EXPECT_TRUE(loop.runUntil([&] { return calls == 2; }));
}

TEST(DescriptorWatch, CallsNobodyAfterItsEndThoughTheCallWasOnItsWay) {
    EventLoop loop;
    int calls = 0;
    const int event = ::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    auto watch = std::make_unique<DescriptorWatch>(loop.executor(), event, [&] { ++calls; });
    const int other = ::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    // Both are ready in the same round; whichever is called first ends the other.
    std::unique_ptr<DescriptorWatch> ending;
    ending = std::make_unique<DescriptorWatch>(loop.executor(), other, [&] {
        watch.reset();
        ending.reset();
        calls = 0;
    });
    raise(other);
    raise(event);
    EXPECT_TRUE(loop.runUntil([&] { return !watch; }));
    loop.runReady();
    EXPECT_EQ(calls, 0);
}

TEST(Alarm, SetAnewGoesOffOnce) {
    EventLoop loop;
    int calls = 0;
    Alarm alarm(loop.executor(), [&] { ++calls; });
    alarm.set(seconds(0));
    alarm.set(seconds(0));
    EXPECT_TRUE(alarm.isSet());
    EXPECT_TRUE(loop.runUntil([&] { return !alarm.isSet(); }));
    loop.runReady();
    EXPECT_EQ(calls, 1);
}

TEST(Alarm, ClearedOrDestroyedNeverGoesOff) {
    EventLoop loop;
    int calls = 0;
    Alarm cleared(loop.executor(), [&] { ++calls; });
    cleared.set(seconds(0));
    cleared.clear();
    std::optional<Alarm> destroyed;
    destroyed.emplace(loop.executor(), [&] { ++calls; });
    destroyed->set(seconds(0));
    destroyed.reset();
    bool isLater = false;
    Alarm later(loop.executor(), [&] { isLater = true; });
    later.set(std::chrono::milliseconds(1));
    EXPECT_TRUE(loop.runUntil([&] { return isLater; }));
    EXPECT_EQ(calls, 0);
}

TEST(GrowingPause, DoublesUpToAnHourAndBeginsAnew) {
    GrowingPause pause;
    for (int expected = 1; expected < 3600; expected *= 2) EXPECT_EQ(pause.next(), seconds(expected));
    EXPECT_EQ(pause.next(), seconds(3600));
    EXPECT_EQ(pause.next(), seconds(3600));
    pause.reset();
    EXPECT_EQ(pause.next(), seconds(1));
}

}  // namespace
}  // namespace platform::testing
