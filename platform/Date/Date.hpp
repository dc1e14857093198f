// SPDX-License-Identifier: Apache-2.0

#pragma once

// A point in time. Held as seconds since 1 January 2001 00:00:00 UTC in double precision, which keeps the
// years 1 to 9999 to better than a tenth of a millisecond. A plain value; safe from any thread.

#include <compare>
#include <optional>
#include <string>
#include <string_view>

namespace platform {

class Date {
  public:
    /// Seconds from 1970-01-01T00:00:00Z to 2001-01-01T00:00:00Z.
    static constexpr double secondsBetween1970And2001 = 978'307'200.0;

    /// The current time, as the ambient clock gives it (see Ambient).
    static Date now();

    static constexpr Date sinceReferenceDate(double seconds) { return Date(seconds); }
    static constexpr Date since1970(double seconds) { return Date(seconds - secondsBetween1970And2001); }

    constexpr double timeIntervalSinceReferenceDate() const { return seconds_; }
    constexpr double timeIntervalSince1970() const { return seconds_ + secondsBetween1970And2001; }

    /// Seconds from `other` to this date; negative when this date is the earlier one.
    constexpr Date addingTimeInterval(double seconds) const { return Date(seconds_ + seconds); }

    constexpr auto operator<=>(const Date&) const = default;

  private:
    explicit constexpr Date(double seconds) : seconds_(seconds) {}
    double seconds_;
};

/// "2026-01-31T10:00:00.123Z": RFC 3339 in UTC, rounded to the nearest millisecond, proleptic Gregorian. A
/// date outside of the years 1 to 9999 is written as the nearest one in them.
std::string internetDateTime(Date date);

/// Reads what `internetDateTime` writes; the fraction may have any number of digits or be absent, and the
/// zone may be an offset as RFC 3339 has it. Nothing when the text is anything else.
std::optional<Date> dateFromInternetDateTime(std::string_view text);

}  // namespace platform
