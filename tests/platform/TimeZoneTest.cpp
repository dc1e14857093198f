// SPDX-License-Identifier: Apache-2.0

#include "platform/Calendar/TimeZone.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <thread>
#include <vector>

#include "tests/support/FixedAmbient.hpp"

namespace platform {
namespace {

using testing::FixedAmbient;
using testing::instant;

TEST(TimeZone, KnowsItsOffsetAtEveryInstant) {
    struct Row {
        std::string zone;
        std::string date;
        int seconds;
    };
    for (const auto& [zone, date, seconds] : {
             Row{"UTC", "2024-07-01T00:00:00Z", 0},
             Row{"GMT", "2024-07-01T00:00:00Z", 0},
             Row{"America/New_York", "2024-01-01T00:00:00Z", -18'000},
             Row{"America/New_York", "2024-03-10T06:59:59Z", -18'000},
             Row{"America/New_York", "2024-03-10T07:00:00Z", -14'400},
             Row{"America/New_York", "2024-11-03T05:59:59Z", -14'400},
             Row{"America/New_York", "2024-11-03T06:00:00Z", -18'000},
             Row{"America/New_York", "1966-04-24T06:59:59.5Z", -18'000},
             Row{"America/New_York", "1966-04-24T07:00:00Z", -14'400},
             Row{"America/New_York", "1850-01-01T00:00:00Z", -17'762},
             Row{"America/New_York", "0001-01-01T00:00:00Z", -17'762},
             Row{"America/New_York", "9999-07-01T00:00:00Z", -14'400},
             Row{"Asia/Kolkata", "2024-07-01T00:00:00Z", 19'800},
             Row{"Pacific/Auckland", "2024-04-06T13:59:59Z", 46'800},
             Row{"Pacific/Auckland", "2024-04-06T14:00:00Z", 43'200},
             Row{"Pacific/Auckland", "2024-09-28T14:00:00Z", 46'800},
             Row{"Asia/Kathmandu", "2024-07-01T00:00:00Z", 20'700},
             Row{"Pacific/Apia", "2011-12-30T09:59:59Z", -36'000},
             Row{"Pacific/Apia", "2011-12-30T10:00:00Z", 50'400},
         }) {
        const FixedAmbient ambient({.timeZone = zone});
        EXPECT_EQ(TimeZone::current().secondsFromGMT(instant(date)), seconds) << zone << " at " << date;
    }
}

TEST(TimeZone, AnswersForInstantsBeyondAnyCalendar) {
    const FixedAmbient ambient({.timeZone = "America/New_York"});
    const auto zone = TimeZone::current();
    const auto infinity = std::numeric_limits<double>::infinity();
    for (const double seconds : {1e18, -1e18, 1e300, -1e300, infinity, -infinity, std::nan("")})
        EXPECT_LE(std::abs(zone.secondsFromGMT(Date::sinceReferenceDate(seconds))), 86'400) << seconds;
}

TEST(TimeZone, FollowsTheAmbientZone) {
    FixedAmbient ambient({.timeZone = "Asia/Kolkata"});
    const auto zone = TimeZone::current();
    EXPECT_EQ(zone.secondsFromGMT(Date::now()), 19'800);
    ambient.setTimeZone("Pacific/Auckland");
    EXPECT_EQ(zone.secondsFromGMT(Date::now()), 43'200);
    EXPECT_EQ(TimeZone::gmt().secondsFromGMT(Date::now()), 0);
}

TEST(TimeZone, AnswersSeveralThreadsAtOnce) {
    const FixedAmbient ambient({.timeZone = "Asia/Kolkata"});
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([] {
            for (int second = 0; second < 2'000; ++second)
                EXPECT_EQ(TimeZone::current().secondsFromGMT(Date::sinceReferenceDate(second)), 19'800);
        });
    for (auto& thread : threads) thread.join();
}

}  // namespace
}  // namespace platform
