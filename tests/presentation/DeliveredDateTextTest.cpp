// SPDX-License-Identifier: Apache-2.0

#include "presentation/DeliveredDateText.hpp"

#include <gtest/gtest.h>

#include <ctime>

#include "VelaApi/Sources/VelaApi/Module.hpp"
#include "tests/support/FixedAmbient.hpp"

namespace presentation {
namespace {

using platform::testing::FixedAmbient;
using platform::testing::instant;

struct Row {
    const char* zone;
    const char* now;
    const char* date;
    const char* expected;
};

void expectRows(const std::vector<Row>& rows) {
    for (const Row& row : rows) {
        const FixedAmbient surroundings({.now = row.now, .timeZone = row.zone});
        EXPECT_EQ(deliveredDateText(instant(row.date)), row.expected)
            << row.zone << ", seen at " << row.now << ": " << row.date;
    }
}

TEST(DeliveredDateText, SaysTodayFromMidnightToMidnight) {
    expectRows({
        {"GMT", "2024-06-15T12:00:00Z", "2024-06-15T00:00:00Z", "Delivered today"},
        {"GMT", "2024-06-15T12:00:00Z", "2024-06-15T23:59:59.999Z", "Delivered today"},
        {"GMT", "2024-06-15T00:00:00Z", "2024-06-15T23:59:59Z", "Delivered today"},
        {"America/New_York", "2024-06-15T12:00:00Z", "2024-06-15T04:00:00Z", "Delivered today"},
        {"America/New_York", "2024-06-15T12:00:00Z", "2024-06-16T03:59:59Z", "Delivered today"},
        {"Asia/Kolkata", "2024-06-15T12:00:00Z", "2024-06-14T18:30:00Z", "Delivered today"},
        {"Pacific/Auckland", "2024-06-15T12:00:00Z", "2024-06-15T12:00:00Z", "Delivered today"},
    });
}

TEST(DeliveredDateText, SaysYesterdayForOneMinuteBeforeMidnight) {
    expectRows({
        {"GMT", "2024-06-15T12:00:00Z", "2024-06-14T23:59:00Z", "Delivered yesterday"},
        {"America/New_York", "2024-06-15T12:00:00Z", "2024-06-15T03:59:00Z", "Delivered yesterday"},
        {"Asia/Kolkata", "2024-06-15T12:00:00Z", "2024-06-14T18:29:00Z", "Delivered yesterday"},
        {"Pacific/Auckland", "2024-06-15T12:00:00Z", "2024-06-15T11:59:00Z", "Delivered yesterday"},
        {"GMT", "2024-06-15T12:00:00Z", "2024-06-14T00:00:00Z", "Delivered yesterday"},
        {"GMT", "2024-06-15T12:00:00Z", "2024-06-13T23:59:59Z", "Delivered on Jun 13"},
    });
}

TEST(DeliveredDateText, SaysTheDayForEarlierAndLaterOnesOfThisYear) {
    expectRows({
        {"GMT", "2024-06-15T12:00:00Z", "2024-03-05T12:00:00Z", "Delivered on Mar 5"},
        {"GMT", "2024-06-15T12:00:00Z", "2024-01-01T00:00:00Z", "Delivered on Jan 1"},
        {"GMT", "2024-06-15T12:00:00Z", "2024-06-16T00:00:00Z", "Delivered on Jun 16"},
        {"GMT", "2024-06-15T12:00:00Z", "2024-12-31T23:59:59Z", "Delivered on Dec 31"},
    });
}

TEST(DeliveredDateText, SaysTheYearForDaysOfAnotherYear) {
    expectRows({
        {"GMT", "2024-06-15T12:00:00Z", "2023-12-30T12:00:00Z", "Delivered on Dec 30, 2023"},
        {"GMT", "2024-01-02T12:00:00Z", "2023-12-31T12:00:00Z", "Delivered on Dec 31, 2023"},
        {"GMT", "2024-01-01T12:00:00Z", "2023-12-31T12:00:00Z", "Delivered yesterday"},
        {"GMT", "2024-01-01T12:00:00Z", "2023-12-30T12:00:00Z", "Delivered on Dec 30, 2023"},
        {"GMT", "2024-06-15T12:00:00Z", "2025-01-01T00:00:00Z", "Delivered on Jan 1, 2025"},
        {"GMT", "2024-06-15T12:00:00Z", "1999-02-03T00:00:00Z", "Delivered on Feb 3, 1999"},
        {"GMT", "2024-06-15T12:00:00Z", "9999-12-31T23:59:59Z", "Delivered on Dec 31, 9999"},
        // The same instant is the new year in Auckland and the old one in New York.
        {"Pacific/Auckland", "2024-01-02T12:00:00Z", "2023-12-31T12:00:00Z", "Delivered on Jan 1"},
        {"America/New_York", "2024-01-02T12:00:00Z", "2024-01-01T04:00:00Z", "Delivered on Dec 31, 2023"},
        {"America/New_York", "2024-01-02T04:00:00Z", "2024-01-01T04:00:00Z", "Delivered yesterday"},
    });
}

TEST(DeliveredDateText, CountsDaysNotHoursWhenTheClocksChange) {
    expectRows({
        // A day of 23 hours: half past midnight, less 24 hours, is still two days back by the calendar.
        {"America/New_York", "2024-03-11T04:30:00Z", "2024-03-10T05:00:00Z", "Delivered yesterday"},
        {"America/New_York", "2024-03-11T04:30:00Z", "2024-03-10T04:59:59Z", "Delivered on Mar 9"},
        // A day of 25 hours.
        {"America/New_York", "2024-11-04T05:30:00Z", "2024-11-03T04:00:00Z", "Delivered yesterday"},
        {"America/New_York", "2024-11-04T04:30:00Z", "2024-11-03T04:00:00Z", "Delivered today"},
        {"America/New_York", "2024-11-04T04:59:00Z", "2024-11-02T04:00:00Z", "Delivered yesterday"},
        {"Pacific/Auckland", "2024-04-07T12:00:00Z", "2024-04-06T11:00:00Z", "Delivered yesterday"},
        {"Pacific/Auckland", "2024-09-29T11:30:00Z", "2024-09-28T12:00:00Z", "Delivered yesterday"},
        // The hour of now does not exist on the day before.
        {"America/New_York", "2024-03-11T06:30:00Z", "2024-03-10T12:00:00Z", "Delivered yesterday"},
    });
}

/// The days of the zone in force as the C library counts them.
struct LocalDays {
    static std::tm local(std::time_t seconds) {
        std::tm parts{};
        localtime_r(&seconds, &parts);
        return parts;
    }
    static long number(std::time_t seconds) {
        std::tm parts = local(seconds);
        parts.tm_hour = parts.tm_min = parts.tm_sec = 0;
        return timegm(&parts) / 86'400;
    }
};

std::string expectedText(std::time_t date, std::time_t now) {
    const long daysAgo = LocalDays::number(now) - LocalDays::number(date);
    if (daysAgo == 0) return "Delivered today";
    if (daysAgo == 1) return "Delivered yesterday";
    constexpr const char* months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                      "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const std::tm day = LocalDays::local(date);
    std::string text = std::string("Delivered on ") + months[day.tm_mon] + " " + std::to_string(day.tm_mday);
    if (day.tm_year != LocalDays::local(now).tm_year) text += ", " + std::to_string(day.tm_year + 1900);
    return text;
}

TEST(DeliveredDateText, AgreesWithTheCLibraryAroundEveryTurnOfDayYearAndClock) {
    for (const char* zone : {"UTC", "America/New_York", "Asia/Kolkata", "Pacific/Auckland"}) {
        for (const char* turn : {"2023-12-31T12:00:00Z", "2024-01-01T12:00:00Z", "2024-02-29T12:00:00Z",
                                 "2024-03-10T12:00:00Z", "2024-11-03T12:00:00Z", "2024-04-06T18:00:00Z",
                                 "2024-09-28T18:00:00Z", "2024-06-15T12:00:00Z"}) {
            for (int nowHour = -30; nowHour <= 30; nowHour += 3) {
                const platform::Date now = instant(turn).addingTimeInterval(nowHour * 3'600.0);
                const FixedAmbient surroundings({.now = platform::internetDateTime(now), .timeZone = zone});
                for (int halfHour = -120; halfHour <= 60; ++halfHour) {
                    const platform::Date date = now.addingTimeInterval(halfHour * 1'800.0);
                    EXPECT_EQ(deliveredDateText(date),
                              expectedText(static_cast<std::time_t>(date.timeIntervalSince1970()),
                                           static_cast<std::time_t>(now.timeIntervalSince1970())))
                        << zone << ", seen at " << platform::internetDateTime(now) << ": "
                        << platform::internetDateTime(date);
                }
            }
        }
    }
}

TEST(DeliveredDateText, TurnsAtMidnightOfTheMachinesOwnRules) {
    expectRows({
        // No summer time since 2022; since 2023 again; one zone for the country since March 2024.
        {"America/Mexico_City", "2026-07-15T12:00:00Z", "2026-07-15T06:00:00Z", "Delivered today"},
        {"America/Mexico_City", "2026-07-15T12:00:00Z", "2026-07-15T05:59:59Z", "Delivered yesterday"},
        {"Africa/Cairo", "2026-07-15T12:00:00Z", "2026-07-14T21:00:00Z", "Delivered today"},
        {"Africa/Cairo", "2026-07-15T12:00:00Z", "2026-07-14T20:59:59Z", "Delivered yesterday"},
        {"Asia/Almaty", "2026-07-15T12:00:00Z", "2026-07-14T19:00:00Z", "Delivered today"},
        {"Asia/Almaty", "2026-07-15T12:00:00Z", "2026-07-14T18:59:59Z", "Delivered yesterday"},
        {"America/Ciudad_Juarez", "2026-01-15T12:00:00Z", "2026-01-15T07:00:00Z", "Delivered today"},
        {"America/Ciudad_Juarez", "2026-01-15T12:00:00Z", "2026-01-15T06:59:59Z", "Delivered yesterday"},
    });
}

TEST(DeliveredDateText, TurnsAtMidnightOfAZoneThatIsARule) {
    expectRows({
        {"CST6", "2026-07-15T12:00:00Z", "2026-07-15T06:00:00Z", "Delivered today"},
        {"CST6", "2026-07-15T12:00:00Z", "2026-07-15T05:59:59Z", "Delivered yesterday"},
        {"<-03>3", "2026-07-15T12:00:00Z", "2026-07-15T03:00:00Z", "Delivered today"},
        {"<-03>3", "2026-07-15T12:00:00Z", "2026-07-15T02:59:59Z", "Delivered yesterday"},
        {"GMT-12", "2026-07-15T12:00:00Z", "2026-07-15T12:00:00Z", "Delivered today"},
        {"GMT-12", "2026-07-15T12:00:00Z", "2026-07-15T11:59:59Z", "Delivered yesterday"},
        {"EST5EDT,M3.2.0,M11.1.0", "2026-07-15T12:00:00Z", "2026-07-15T04:00:00Z", "Delivered today"},
        {"EST5EDT,M3.2.0,M11.1.0", "2026-07-15T12:00:00Z", "2026-07-15T03:59:59Z", "Delivered yesterday"},
        {"EST5EDT,M3.2.0,M11.1.0", "2026-01-15T12:00:00Z", "2026-01-15T05:00:00Z", "Delivered today"},
        {"EST5EDT,M3.2.0,M11.1.0", "2026-01-15T12:00:00Z", "2026-01-15T04:59:59Z", "Delivered yesterday"},
    });
}

TEST(DeliveredDateText, WritesEveryYearWithFourDigitsAtLeast) {
    expectRows({
        {"GMT", "2024-06-15T12:00:00Z", "0999-12-31T12:00:00Z", "Delivered on Dec 26, 0999"},
        {"GMT", "2024-06-15T12:00:00Z", "0012-06-15T12:00:00Z", "Delivered on Jun 17, 0012"},
        {"GMT", "2024-06-15T12:00:00Z", "1583-01-01T12:00:00Z", "Delivered on Jan 1, 1583"},
    });
}

std::string wordsForWireDate(const std::string& text) {
    return deliveredDateText(VelaApi::Module::customDecoder().decode<platform::Date>('"' + text + '"'));
}

TEST(DeliveredDateText, ReadsAYearBeforeTheThousandthFromTheWire) {
    const FixedAmbient surroundings({.now = "2024-06-15T12:00:00Z", .timeZone = "GMT"});
    EXPECT_EQ(wordsForWireDate("0950-06-15T12:00:00+0000"), "Delivered on Jun 15, 0950");
}

/// docs/decisions/0004: the wire's numbers are those of the person's own calendar.
TEST(DeliveredDateText, ReadsTheWireInTheCalendarOfThePerson) {
    struct WireRow {
        const char* locale;
        const char* wire;
        const char* expected;
    };
    for (const auto& [locale, wire, expected] : {
             WireRow{"en_US", "2024-06-15T12:00:00+0000", "Delivered today"},
             WireRow{"th_TH", "2024-06-15T12:00:00+0000", "Delivered on มิ.ย. 15, 2024"},
             WireRow{"th_TH", "2567-06-15T12:00:00+0000", "Delivered today"},
             WireRow{"th_TH", "2567-06-14T12:00:00+0000", "Delivered yesterday"},
             WireRow{"en_TH", "2024-06-15T12:00:00+0000", "Delivered on Jun 15, 2024"},
             WireRow{"fa_IR", "2024-06-15T12:00:00+0000", "Delivered on شهریور ۱۵, ۲۰۲۴"},
             WireRow{"fa_IR", "1403-03-26T12:00:00+0000", "Delivered today"},
             WireRow{"ar_SA", "2024-06-15T12:00:00+0000", "Delivered on جمادى الآخرة ١٥, ٢٠٢٤"},
             WireRow{"ar_SA", "1445-12-09T12:00:00+0000", "Delivered today"},
             // Those months have no such day there: the text is no date, and so it is now.
             WireRow{"fa_IR", "2024-12-31T12:00:00+0000", "Delivered today"},
             WireRow{"ar_SA", "2024-01-31T12:00:00+0000", "Delivered today"},
         }) {
        const FixedAmbient surroundings({.now = "2024-06-15T12:00:00Z", .timeZone = "GMT", .locale = locale});
        EXPECT_EQ(wordsForWireDate(wire), expected) << locale << " " << wire;
    }
}

TEST(DeliveredDateText, NamesMonthsAsTheLocaleDoes) {
    const std::tuple<const char*, const char*, const char*> locales[] = {
        {"en_US", "Delivered on Mar 5", "Delivered on Mar 5, 2023"},
        {"en_GB", "Delivered on Mar 5", "Delivered on Mar 5, 2023"},
        {"en_US_POSIX", "Delivered on Mar 5", "Delivered on Mar 5, 2023"},
        {"de_DE", "Delivered on März 5", "Delivered on März 5, 2023"},
        {"fr_FR", "Delivered on mars 5", "Delivered on mars 5, 2023"},
        {"es_ES", "Delivered on mar 5", "Delivered on mar 5, 2023"},
        {"ja_JP", "Delivered on 3月 5", "Delivered on 3月 5, 2023"},
        {"el_GR", "Delivered on Μαρ 5", "Delivered on Μαρ 5, 2023"},
        {"ar_EG", "Delivered on مارس ٥", "Delivered on مارس ٥, ٢٠٢٣"},
        // The Thai calendar counts the years from the Buddha's passing.
        {"th_TH", "Delivered on มี.ค. 5", "Delivered on มี.ค. 5, 2566"},
    };
    for (const auto& [locale, thisYear, yearBefore] : locales) {
        const FixedAmbient surroundings({.now = "2024-06-15T12:00:00Z", .timeZone = "GMT", .locale = locale});
        EXPECT_EQ(deliveredDateText(instant("2024-03-05T12:00:00Z")), thisYear) << locale;
        EXPECT_EQ(deliveredDateText(instant("2023-03-05T12:00:00Z")), yearBefore) << locale;
        EXPECT_EQ(deliveredDateText(instant("2024-06-14T12:00:00Z")), "Delivered yesterday") << locale;
    }
}

}  // namespace
}  // namespace presentation
