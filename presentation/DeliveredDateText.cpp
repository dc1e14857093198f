// SPDX-License-Identifier: Apache-2.0

#include "presentation/DeliveredDateText.hpp"

#include <optional>

#include "platform/Calendar/Calendar.hpp"
#include "platform/DateFormatter/DateFormatter.hpp"
#include "presentation/Wording.hpp"

namespace presentation {
namespace {

const platform::DateFormatter& dayOfThisYear() {
    static const platform::DateFormatter formatter("MMM d");
    return formatter;
}

const platform::DateFormatter& dayOfAnotherYear() {
    static const platform::DateFormatter formatter("MMM d, yyyy");
    return formatter;
}

}  // namespace

std::string deliveredDateText(platform::Date date) {
    const platform::Calendar calendar = platform::Calendar::current();
    const platform::Date now = platform::Date::now();
    if (calendar.isInSameDay(date, now)) return std::string(Wording::deliveredToday);

    const std::optional<platform::Date> yesterday =
        calendar.dateByAdding(platform::CalendarComponent::day, -1, now);
    if (yesterday && calendar.isInSameDay(date, *yesterday)) return std::string(Wording::deliveredYesterday);

    const bool isThisYear = calendar.isInSameYear(date, now);
    return std::string(Wording::deliveredOn) +
           (isThisYear ? dayOfThisYear() : dayOfAnotherYear()).string(date);
}

}  // namespace presentation
