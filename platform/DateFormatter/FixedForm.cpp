// SPDX-License-Identifier: Apache-2.0

#include "platform/DateFormatter/FixedForm.hpp"

#include <algorithm>
#include <array>
#include <chrono>

#include "platform/Date/PosixLocale.hpp"
#include "platform/Text/ASCII.hpp"

namespace platform {

namespace {

/// In ascending order.
constexpr std::array<std::string_view, 40> languages = {
    "af", "bg", "ca", "cs", "cy", "da", "de", "el", "en", "es", "et", "eu", "fi", "fr",
    "ga", "gl", "he", "hr", "hu", "id", "is", "it", "ja", "ko", "lt", "lv", "nb", "nl",
    "nn", "pl", "pt", "ro", "ru", "sk", "sl", "sr", "sv", "tr", "uk", "zh",
};

/// Where another calendar is the common one, whatever the language.
constexpr std::array<std::string_view, 4> regionsOfOtherCalendars = {"AF", "IR", "SA", "TH"};

/// The first whole year of the Gregorian calendar.
constexpr int firstGregorianYear = 1583;

bool hasTheForm(std::string_view text) {
    constexpr std::string_view form = "0000-00-00T00:00:00+0000";
    return std::equal(text.begin(), text.end(), form.begin(), form.end(), [](char c, char expected) {
        if (expected == '0') return isASCIIDigit(c);
        if (expected == '+') return c == '+' || c == '-';
        return c == expected;
    });
}

int number(std::string_view digits) {
    int value = 0;
    for (const char digit : digits) value = value * 10 + (digit - '0');
    return value;
}

}  // namespace

bool FixedForm::holdsIn(std::string_view localeIdentifier) {
    if (localeIdentifier == "en_US_POSIX") return true;
    if (localeIdentifier.find('@') != std::string_view::npos) return false;
    const auto locale = PosixLocale::parse(localeIdentifier);
    return locale && std::binary_search(languages.begin(), languages.end(), locale->language) &&
           std::find(regionsOfOtherCalendars.begin(), regionsOfOtherCalendars.end(), locale->region) ==
               regionsOfOtherCalendars.end();
}

std::optional<Date> FixedForm::parse(std::string_view text) {
    using std::chrono::sys_days;
    if (!hasTheForm(text)) return std::nullopt;
    const int year = number(text.substr(0, 4));
    const std::chrono::year_month_day date(
        std::chrono::year(year), std::chrono::month(static_cast<unsigned>(number(text.substr(5, 2)))),
        std::chrono::day(static_cast<unsigned>(number(text.substr(8, 2)))));
    const int hour = number(text.substr(11, 2));
    const int minute = number(text.substr(14, 2));
    const int second = number(text.substr(17, 2));
    const int offsetHours = number(text.substr(20, 2));
    const int offsetMinutes = number(text.substr(22, 2));
    if (year < firstGregorianYear || !date.ok() || hour > 23 || minute > 59 || second > 59 ||
        offsetHours > 23 || offsetMinutes > 59)
        return std::nullopt;

    constexpr sys_days reference = std::chrono::year(2001) / 1 / 1;
    const int offset = (offsetHours * 60 + offsetMinutes) * (text[19] == '-' ? -60 : 60);
    return Date::sinceReferenceDate(double((sys_days(date) - reference).count()) * 86'400 + hour * 3600 +
                                    minute * 60 + second - offset);
}

}  // namespace platform
