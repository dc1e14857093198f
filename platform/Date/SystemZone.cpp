// SPDX-License-Identifier: Apache-2.0

#include "platform/Date/SystemZone.hpp"

#include <algorithm>
#include <cmath>
#include <ctime>
#include <limits>

namespace platform {

void SystemZone::refresh() {
    tzset();
}

int SystemZone::secondsFromGMT(Date date) {
    // The rules say nothing new beyond these instants, and the C library counts years in 32 bits.
    constexpr double furthest =
        std::min(8.64e12, static_cast<double>(std::numeric_limits<std::time_t>::max()));
    const double seconds = date.timeIntervalSince1970();
    if (std::isnan(seconds)) return 0;
    const auto time = static_cast<std::time_t>(std::floor(std::clamp(seconds, -furthest, furthest)));
    std::tm parts = {};
    return localtime_r(&time, &parts) ? static_cast<int>(parts.tm_gmtoff) : 0;
}

}  // namespace platform
