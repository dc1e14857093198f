// SPDX-License-Identifier: Apache-2.0

#include "host/reader/LiveRemark.hpp"

#include <array>
#include <cstdio>
#include <ctime>

#include "platform/Date/Ambient.hpp"
#include "platform/Date/SystemZone.hpp"

namespace host {

namespace {

/// As the clock on the wall shows it.
std::tm wallClock(platform::Date date) {
    const auto offset = platform::Ambient::current().secondsFromGMT(date);
    const auto local = static_cast<std::time_t>(date.timeIntervalSince1970()) + offset;
    std::tm parts = {};
    ::gmtime_r(&local, &parts);
    return parts;
}

}  // namespace

std::string asOfText(platform::Date asOf, platform::Date now) {
    constexpr std::array<const char*, 12> months = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                    "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    // The host tells its readers in the moment in which the zone changes.
    platform::SystemZone::refresh();
    const auto then = wallClock(asOf);
    const auto today = wallClock(now);
    std::array<char, 16> hour;
    std::snprintf(hour.data(), hour.size(), "%02d:%02d", then.tm_hour, then.tm_min);
    if (then.tm_yday == today.tm_yday && then.tm_year == today.tm_year)
        return std::string("as of ") + hour.data();
    return "as of " + std::to_string(then.tm_mday) + " " + months[static_cast<std::size_t>(then.tm_mon)] +
           " " + hour.data();
}

std::optional<std::string> liveRemark(const LiveState& state, platform::Date now) {
    if (!state.asOf && !state.trouble) return std::nullopt;
    std::string text = state.asOf ? asOfText(*state.asOf, now) : "";
    if (state.trouble) text.append(text.empty() ? "" : ": ").append(sentence(*state.trouble));
    return text;
}

}  // namespace host
