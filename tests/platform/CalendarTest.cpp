// SPDX-License-Identifier: Apache-2.0

#include "platform/Calendar/Calendar.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tests/support/FixedAmbient.hpp"

namespace platform {
namespace {

using testing::FixedAmbient;
using testing::instant;

struct Pair {
    std::string zone;
    std::string first;
    std::string second;
    bool same;
};

TEST(Calendar, ComparesDaysInTheAmbientZone) {
    for (const auto& [zone, first, second, same] : {
             Pair{"UTC", "2024-05-01T00:00:00Z", "2024-05-01T23:59:59.999Z", true},
             Pair{"UTC", "2024-05-01T23:59:59.999Z", "2024-05-02T00:00:00Z", false},
             Pair{"UTC", "2023-05-01T12:00:00Z", "2024-05-01T12:00:00Z", false},
             Pair{"Asia/Kolkata", "2024-05-01T18:29:59Z", "2024-05-01T18:30:00Z", false},
             Pair{"Asia/Kolkata", "2024-05-01T18:30:00Z", "2024-05-02T18:29:59Z", true},
             Pair{"America/New_York", "2024-03-10T05:00:00Z", "2024-03-11T03:59:59Z", true},
             Pair{"America/New_York", "2024-03-10T05:00:00Z", "2024-03-11T04:00:00Z", false},
             Pair{"America/New_York", "2024-11-03T04:00:00Z", "2024-11-04T04:59:59Z", true},
             Pair{"Pacific/Auckland", "2024-04-06T11:00:00Z", "2024-04-07T11:59:59Z", true},
             Pair{"UTC", "0001-01-01T00:00:00Z", "0001-01-01T23:00:00Z", true},
             Pair{"UTC", "9999-12-31T00:00:00Z", "9999-12-31T23:59:59Z", true},
         }) {
        const FixedAmbient ambient({.timeZone = zone});
        EXPECT_EQ(Calendar::current().isInSameDay(instant(first), instant(second)), same)
            << zone << ": " << first << " and " << second;
    }
}

TEST(Calendar, ComparesYearsInTheAmbientZone) {
    for (const auto& [zone, first, second, same] : {
             Pair{"UTC", "2024-01-01T00:00:00Z", "2024-12-31T23:59:59Z", true},
             Pair{"UTC", "2023-12-31T23:59:59Z", "2024-01-01T00:00:00Z", false},
             Pair{"Pacific/Auckland", "2023-12-31T10:59:59Z", "2023-12-31T11:00:00Z", false},
             Pair{"Pacific/Auckland", "2023-12-31T11:00:00Z", "2024-06-01T00:00:00Z", true},
             Pair{"America/New_York", "2024-01-01T04:59:59Z", "2023-06-01T00:00:00Z", true},
         }) {
        const FixedAmbient ambient({.timeZone = zone});
        EXPECT_EQ(Calendar::current().isInSameYear(instant(first), instant(second)), same)
            << zone << ": " << first << " and " << second;
    }
}

TEST(Calendar, CountsYearsAsTheLocaleDoes) {
    struct Row {
        std::string locale;
        std::string first;
        std::string second;
        bool same;
    };
    for (const auto& [locale, first, second, same] : {
             Row{"th_TH", "2024-01-01T00:00:00Z", "2024-12-31T00:00:00Z", true},
             Row{"fa_IR", "2024-03-19T12:00:00Z", "2024-03-20T12:00:00Z", false},
             Row{"fa_IR", "2023-12-31T12:00:00Z", "2024-01-01T12:00:00Z", true},
             Row{"ja_JP@calendar=japanese", "2019-04-30T12:00:00Z", "2019-05-01T12:00:00Z", false},
             Row{"ja_JP", "2019-04-30T12:00:00Z", "2019-05-01T12:00:00Z", true},
         }) {
        const FixedAmbient ambient({.locale = locale});
        EXPECT_EQ(Calendar::current().isInSameYear(instant(first), instant(second)), same) << locale;
    }
}

struct Sum {
    std::string zone;
    CalendarComponent component;
    int value;
    std::string date;
    std::string expected;
};

TEST(Calendar, AddsDaysOfTheCalendarAndHoursOfTheClock) {
    using enum CalendarComponent;
    for (const auto& [zone, component, value, date, expected] : {
             Sum{"UTC", day, -1, "2024-03-01T12:00:00.123Z", "2024-02-29T12:00:00.123Z"},
             Sum{"UTC", day, 1, "2023-12-31T12:00:00Z", "2024-01-01T12:00:00.000Z"},
             Sum{"America/New_York", day, 1, "2024-03-09T17:00:00Z", "2024-03-10T16:00:00.000Z"},
             Sum{"America/New_York", day, -1, "2024-03-10T16:00:00Z", "2024-03-09T17:00:00.000Z"},
             Sum{"America/New_York", day, -1, "2024-11-03T17:00:00Z", "2024-11-02T16:00:00.000Z"},
             Sum{"America/New_York", hour, 1, "2024-03-10T06:30:00Z", "2024-03-10T07:30:00.000Z"},
             Sum{"America/New_York", hour, 1, "2024-11-03T05:30:00Z", "2024-11-03T06:30:00.000Z"},
             Sum{"Pacific/Auckland", day, -1, "2024-04-07T12:00:00Z", "2024-04-06T11:00:00.000Z"},
             Sum{"UTC", hour, 1, "2024-12-31T23:59:59.999Z", "2025-01-01T00:59:59.999Z"},
             Sum{"UTC", hour, 1, "9999-12-31T22:00:00Z", "9999-12-31T23:00:00.000Z"},
             Sum{"UTC", day, -1, "0001-01-02T00:00:00Z", "0001-01-01T00:00:00.000Z"},
         }) {
        const FixedAmbient ambient({.timeZone = zone});
        const auto sum = Calendar::current().dateByAdding(component, value, instant(date));
        ASSERT_TRUE(sum) << zone << ": " << date;
        EXPECT_EQ(internetDateTime(*sum), expected) << zone << ": " << date;
    }
}

TEST(Calendar, KeepsWhatIsFinerThanAMillisecond) {
    const FixedAmbient ambient;
    const auto date = Date::sinceReferenceDate(700'000'000.123456);
    const auto later = Calendar::current().dateByAdding(CalendarComponent::hour, 1, date);
    EXPECT_NEAR(later->timeIntervalSinceReferenceDate(), 700'003'600.123456, 1e-6);
}

TEST(Calendar, HasNoDateBeyondItsRange) {
    const FixedAmbient ambient;
    const auto calendar = Calendar::current();
    const auto infinity = std::numeric_limits<double>::infinity();
    for (const double seconds : {1e15, -1e15, 1e300, infinity, -infinity, std::nan("")}) {
        const auto date = Date::sinceReferenceDate(seconds);
        EXPECT_FALSE(calendar.dateByAdding(CalendarComponent::hour, 1, date)) << seconds;
        EXPECT_FALSE(calendar.isInSameDay(date, date)) << seconds;
        EXPECT_FALSE(calendar.isInSameYear(date, date)) << seconds;
    }
}

TEST(Calendar, WorksInALocaleThatNobodyKnows) {
    const FixedAmbient ambient({.locale = "xx_YY"});
    EXPECT_TRUE(Calendar::current().isInSameDay(Date::now(), Date::now()));
}

}  // namespace
}  // namespace platform
