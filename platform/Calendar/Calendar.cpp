// SPDX-License-Identifier: Apache-2.0

#include "platform/Calendar/Calendar.hpp"

#include <unicode/calendar.h>

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <vector>

#include "platform/Calendar/ICUTimeZone.hpp"
#include "platform/Date/Ambient.hpp"

namespace platform {

namespace {

std::unique_ptr<icu::Calendar> makeCalendar(const std::string& locale) {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::Calendar> calendar(icu::Calendar::createInstance(
        icuTimeZone(TimeZone::current()).release(), icu::Locale(locale.c_str()), status));
    if (U_FAILURE(status)) throw std::runtime_error("ICU has no calendar for the locale");
    calendar->setLenient(false);
    return calendar;
}

/// A calendar of one's own to work on. Making one takes far longer than copying one.
std::unique_ptr<icu::Calendar> workingCalendar(const std::string& locale) {
    static std::mutex mutex;
    static std::map<std::string, std::unique_ptr<const icu::Calendar>> calendars;
    const std::lock_guard lock(mutex);
    auto& calendar = calendars[locale];
    if (!calendar) calendar = makeCalendar(locale);
    return std::unique_ptr<icu::Calendar>(calendar->clone());
}

bool setTime(icu::Calendar& calendar, Date date) {
    const double seconds = date.timeIntervalSince1970();
    UErrorCode status = U_ZERO_ERROR;
    if (std::isfinite(seconds)) calendar.setTime(seconds * 1000, status);
    return std::isfinite(seconds) && U_SUCCESS(status);
}

bool agree(icu::Calendar& calendar, Date first, Date second,
           std::initializer_list<UCalendarDateFields> fields) {
    UErrorCode status = U_ZERO_ERROR;
    std::vector<std::int32_t> values;
    for (const auto date : {first, second}) {
        if (!setTime(calendar, date)) return false;
        for (const auto field : fields) values.push_back(calendar.get(field, status));
    }
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(fields.size());
    return U_SUCCESS(status) && std::equal(values.begin(), middle, middle);
}

UCalendarDateFields field(CalendarComponent component) {
    switch (component) {
        case CalendarComponent::hour: return UCAL_HOUR_OF_DAY;
        case CalendarComponent::day: return UCAL_DAY_OF_MONTH;
    }
    return UCAL_DAY_OF_MONTH;
}

}  // namespace

Calendar Calendar::current() {
    return Calendar(Ambient::current().localeIdentifier());
}

bool Calendar::isInSameDay(Date first, Date second) const {
    return agree(*workingCalendar(locale_), first, second,
                 {UCAL_ERA, UCAL_YEAR, UCAL_MONTH, UCAL_DAY_OF_MONTH});
}

bool Calendar::isInSameYear(Date first, Date second) const {
    return agree(*workingCalendar(locale_), first, second, {UCAL_ERA, UCAL_YEAR});
}

std::optional<Date> Calendar::dateByAdding(CalendarComponent component, int value, Date date) const {
    const auto calendar = workingCalendar(locale_);
    if (!setTime(*calendar, date)) return std::nullopt;
    UErrorCode status = U_ZERO_ERROR;
    const double before = calendar->getTime(status);
    calendar->add(field(component), value, status);
    const double after = calendar->getTime(status);
    if (U_FAILURE(status)) return std::nullopt;
    // ICU counts whole milliseconds; the difference is added, so that what is finer survives.
    return date.addingTimeInterval((after - before) / 1000);
}

}  // namespace platform
