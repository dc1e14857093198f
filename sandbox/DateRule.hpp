// SPDX-License-Identifier: Apache-2.0

#pragma once

// Dates of a scenario, told relative to now, as in {"$now": "-1d", "at": "12:00"}.
//
// The account server's dates read as the wall clock of the person who looks at them, stamped +0000: the
// client moves every instant that it decodes back by its own offset from GMT, and so ends at that wall time
// in its zone. Only so does "delivered today" mean today in every zone and at every hour.

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace sandbox {

/// What the wall clock shows; it knows no zone.
using WallTime = std::chrono::local_seconds;

/// The wall clock of this process's zone (TZ, else the system's).
WallTime wallTime(std::chrono::system_clock::time_point now);

/// `shift` is any number of signed amounts of y, mo, d, h, m or s, as in "-1d", "+2h30m" or "-1y +3d"; a sign
/// holds until the next. A day that its month has not becomes the month's last. `at`, as HH:MM, then sets the
/// time of day. Throws Error for anything else.
std::string dateText(std::string_view shift, std::optional<std::string_view> at, WallTime now);

}  // namespace sandbox
