// SPDX-License-Identifier: Apache-2.0

#pragma once

// Notices when the real-time clock jumps and when the machine was suspended, by the kernel's word: both shift
// the clocks against each other, and either wakes a timer that waits for it. Belongs to one executor.

#include <boost/asio/any_io_executor.hpp>
#include <chrono>
#include <functional>
#include <optional>
#include <vector>

#include "platform/Asio/DescriptorWatch.hpp"
#include "platform/Files/Descriptor.hpp"
#include "platform/SystemEvents/SystemEvents.hpp"

namespace platform {

/// The kernel's three clocks at one moment.
struct ClockReading {
    std::chrono::nanoseconds realTime;
    /// Stands still while the machine is suspended.
    std::chrono::nanoseconds monotonic;
    std::chrono::nanoseconds sinceBoot;

    static ClockReading now();
};

/// What has happened between two readings: a suspension of half a second or more, a jump of a second or more.
std::vector<SystemEvent> clockEvents(const ClockReading& before, const ClockReading& after);

/// A timer that becomes readable when the real-time clock jumps, and never else.
Descriptor clockJumpDescriptor();
/// Sets such a timer again after it was read.
void awaitClockJump(int descriptor);

class ClockWatcher {
  public:
    using Clock = std::function<ClockReading()>;

    ClockWatcher(const boost::asio::any_io_executor& executor, std::function<void(SystemEvent)> happened)
        : ClockWatcher(executor, clockJumpDescriptor(), ClockReading::now, std::move(happened)) {}
    /// `descriptor` is any that becomes readable when it is time to look at `clock`.
    ClockWatcher(const boost::asio::any_io_executor& executor, Descriptor descriptor, Clock clock,
                 std::function<void(SystemEvent)> happened);

  private:
    void look();

    Clock clock_;
    std::function<void(SystemEvent)> happened_;
    ClockReading last_;
    std::optional<DescriptorWatch> kernel_;
};

}  // namespace platform
