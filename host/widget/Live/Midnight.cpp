// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Live/Midnight.hpp"

#include <cmath>

#include "platform/Date/Ambient.hpp"

namespace host {

using platform::Date;

namespace {

constexpr double lengthOfDay = 86'400;

/// Days since 1970 as the person counts them.
double localDay(Date date) {
    const int offset = platform::Ambient::current().secondsFromGMT(date);
    return std::floor((date.timeIntervalSince1970() + offset) / lengthOfDay);
}

}  // namespace

Date midnightAfter(Date date) {
    const double today = localDay(date);
    double before = std::floor(date.timeIntervalSince1970());
    // No day is longer than this, whatever the zone does in it.
    double after = before + 2 * lengthOfDay;
    while (after - before > 1) {
        const double middle = std::floor((before + after) / 2);
        (localDay(Date::since1970(middle)) > today ? after : before) = middle;
    }
    return Date::since1970(after);
}

}  // namespace host
