// SPDX-License-Identifier: Apache-2.0

#pragma once

// How a process that was asked to end finishes what it must not leave half done. The request comes as a
// signal or as a call; it ends the process at once where no activity is under way, else with the end of the
// last one, and after ten seconds in any case, whatever its threads are doing. An activity that would begin
// after the request does not. Safe from any thread.

#include <optional>
#include <utility>

namespace platform {

class ExpiringActivity {
  public:
    /// Under way until the end of the object; nothing once the process has been asked to end.
    static std::optional<ExpiringActivity> begin();

    /// Ends the process where it is the last one and a request waits for it.
    ~ExpiringActivity();
    ExpiringActivity(ExpiringActivity&& other) noexcept : isOver_(std::exchange(other.isOver_, true)) {}
    ExpiringActivity& operator=(ExpiringActivity&&) = delete;

  private:
    ExpiringActivity() = default;

    bool isOver_ = false;
};

/// Asks the process to end, with status 0. Returns only where an activity is under way.
void endAfterActivities();

/// From now on the signals INT, QUIT, TERM and HUP ask the process to end, even where this process was
/// started with them blocked; one that it was started to ignore stays ignored. Call it before there are
/// threads.
void endAfterActivitiesOnSignals();

}  // namespace platform
