// SPDX-License-Identifier: Apache-2.0

#include "sandbox/DateRule.hpp"

#include <charconv>
#include <cstdio>
#include <ctime>

#include "sandbox/Error.hpp"

namespace sandbox {
namespace {

using namespace std::chrono;

WallTime plusMonths(WallTime time, int count) {
    const local_days day = floor<days>(time);
    const year_month_day shifted = year_month_day(day) + months(count);
    const local_days lastOfMonth(shifted.year() / shifted.month() / last);
    return (shifted.ok() ? local_days(shifted) : lastOfMonth) + (time - day);
}

WallTime plus(WallTime time, int amount, std::string_view unit) {
    if (unit == "y") return plusMonths(time, 12 * amount);
    if (unit == "mo") return plusMonths(time, amount);
    if (unit == "d") return time + days(amount);
    if (unit == "h") return time + hours(amount);
    if (unit == "m") return time + minutes(amount);
    if (unit == "s") return time + seconds(amount);
    throw Error("unknown unit \"" + std::string(unit) + "\" of time");
}

bool isLetter(char character) {
    return character >= 'a' && character <= 'z';
}

WallTime shifted(WallTime time, std::string_view shift) {
    int sign = 1;
    while (!shift.empty()) {
        const char first = shift.front();
        if (first == '+' || first == '-' || first == ' ') {
            if (first != ' ') sign = first == '-' ? -1 : 1;
            shift.remove_prefix(1);
            continue;
        }
        int amount = 0;
        const auto number = std::from_chars(shift.data(), shift.data() + shift.size(), amount);
        if (number.ec != std::errc() || amount > 1'000'000) {
            throw Error("unreadable shift of time \"" + std::string(shift) + "\"");
        }
        shift.remove_prefix(static_cast<std::size_t>(number.ptr - shift.data()));
        std::size_t length = 0;
        while (length < shift.size() && isLetter(shift[length])) ++length;
        time = plus(time, sign * amount, shift.substr(0, length));
        shift.remove_prefix(length);
    }
    return time;
}

WallTime atTimeOfDay(WallTime time, std::string_view text) {
    int hour = 0;
    int minute = 0;
    int consumed = 0;
    const std::string copy(text);
    if (std::sscanf(copy.c_str(), "%2d:%2d%n", &hour, &minute, &consumed) != 2 ||
        consumed != static_cast<int>(copy.size()) || hour < 0 || hour > 23 || minute < 0 || minute > 59) {
        throw Error("unreadable time of day \"" + copy + "\"");
    }
    return floor<days>(time) + hours(hour) + minutes(minute);
}

}  // namespace

WallTime wallTime(system_clock::time_point now) {
    const std::time_t seconds = system_clock::to_time_t(now);
    std::tm parts = {};
    localtime_r(&seconds, &parts);
    const local_days day(year(parts.tm_year + 1900) / month(static_cast<unsigned>(parts.tm_mon + 1)) /
                         std::chrono::day(static_cast<unsigned>(parts.tm_mday)));
    return day + hours(parts.tm_hour) + minutes(parts.tm_min) + std::chrono::seconds(parts.tm_sec);
}

std::string dateText(std::string_view shift, std::optional<std::string_view> at, WallTime now) {
    WallTime time = shifted(now, shift);
    if (at) time = atTimeOfDay(time, *at);
    const local_days day = floor<days>(time);
    const year_month_day date(day);
    const hh_mm_ss clock(time - day);
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02d+0000", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                  static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                  static_cast<int>(clock.seconds().count()));
    return text;
}

}  // namespace sandbox
