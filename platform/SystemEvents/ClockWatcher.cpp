// SPDX-License-Identifier: Apache-2.0

#include "platform/SystemEvents/ClockWatcher.hpp"

#include <sys/timerfd.h>
#include <time.h>
#include <unistd.h>

#include <cstdint>
#include <limits>
#include <utility>

namespace platform {
namespace {

using std::chrono::nanoseconds;

nanoseconds reading(clockid_t clock) {
    timespec time = {};
    ::clock_gettime(clock, &time);
    return std::chrono::seconds(time.tv_sec) + nanoseconds(time.tv_nsec);
}

}  // namespace

ClockReading ClockReading::now() {
    return {.realTime = reading(CLOCK_REALTIME),
            .monotonic = reading(CLOCK_MONOTONIC),
            .sinceBoot = reading(CLOCK_BOOTTIME)};
}

std::vector<SystemEvent> clockEvents(const ClockReading& before, const ClockReading& after) {
    const nanoseconds passed = after.sinceBoot - before.sinceBoot;
    const nanoseconds asleep = passed - (after.monotonic - before.monotonic);
    const nanoseconds jumped = after.realTime - before.realTime - passed;
    std::vector<SystemEvent> events;
    if (asleep >= std::chrono::milliseconds(500)) events.push_back(SystemEvent::resumed);
    if (std::chrono::abs(jumped) >= std::chrono::seconds(1)) events.push_back(SystemEvent::clockSet);
    return events;
}

void awaitClockJump(int descriptor) {
    // Later than any clock: only the jump ends the wait.
    const itimerspec never = {
        .it_interval = {},
        .it_value = {.tv_sec = std::numeric_limits<std::int32_t>::max() * std::int64_t{4}, .tv_nsec = 0}};
    ::timerfd_settime(descriptor, TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET, &never, nullptr);
}

Descriptor clockJumpDescriptor() {
    Descriptor timer(::timerfd_create(CLOCK_REALTIME, TFD_NONBLOCK | TFD_CLOEXEC));
    if (timer.isOpen()) awaitClockJump(timer);
    return timer;
}

ClockWatcher::ClockWatcher(const boost::asio::any_io_executor& executor, Descriptor descriptor, Clock clock,
                           std::function<void(SystemEvent)> happened)
    : clock_(std::move(clock)), happened_(std::move(happened)), last_(clock_()) {
    if (descriptor.isOpen()) kernel_.emplace(executor, descriptor.release(), [this] { look(); });
}

void ClockWatcher::look() {
    std::uint64_t ignored = 0;
    // Fails with ECANCELED after a jump, which is all that it has to say.
    (void)!::read(kernel_->descriptor(), &ignored, sizeof ignored);
    awaitClockJump(kernel_->descriptor());
    const ClockReading now = clock_();
    const auto events = clockEvents(std::exchange(last_, now), now);
    for (const SystemEvent event : events) happened_(event);
}

}  // namespace platform
