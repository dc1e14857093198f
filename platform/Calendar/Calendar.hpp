// SPDX-License-Identifier: Apache-2.0

#pragma once

// Calendar arithmetic in the person's own calendar, locale and zone (ICU's calendar for the ambient locale).
// A plain value; safe from any thread.

#include <optional>
#include <string>

#include "platform/Date/Date.hpp"

namespace platform {

enum class CalendarComponent { hour, day };

class Calendar {
  public:
    /// The calendar of the ambient locale as it stands now. Its zone is the ambient one at the time of each
    /// question.
    static Calendar current();

    bool isInSameDay(Date first, Date second) const;
    /// Same era and same year of that era.
    bool isInSameYear(Date first, Date second) const;

    /// `date` with `value` of the component added, without wrapping: a day is a day of the calendar, not 24
    /// hours. Nothing when the calendar cannot represent the result.
    std::optional<Date> dateByAdding(CalendarComponent component, int value, Date date) const;

  private:
    explicit Calendar(std::string locale) : locale_(std::move(locale)) {}
    std::string locale_;
};

}  // namespace platform
