// SPDX-License-Identifier: Apache-2.0

#pragma once

// When the last widget interaction event went out. In memory only: a new process may send at once. Reading
// and writing are separate steps, so two timelines that end at the same moment may both pass.

#include <atomic>
#include <limits>

#include "platform/Date/Date.hpp"

namespace widget {

class EventThrottle {
  public:
    /// The one that every provider of the process shares.
    static EventThrottle& processWide();

    /// Whether an event may go out at `now`; if so, `now` becomes the last event's time. Less than
    /// `minimumTimeBetweenEvents` seconds after the last one is too soon, and so is any time before it.
    bool admitsEvent(platform::Date now, double minimumTimeBetweenEvents);

  private:
    static constexpr double never = -std::numeric_limits<double>::infinity();
    /// Seconds since the reference date.
    std::atomic<double> lastEventDate_ = never;
};

}  // namespace widget
