// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Live/Midnight.hpp"

#include <gtest/gtest.h>

#include "tests/support/FixedAmbient.hpp"

namespace host {
namespace {

using platform::testing::FixedAmbient;
using platform::testing::instant;

struct Case {
    const char* zone;
    const char* date;
    const char* midnight;
};

TEST(Midnight, IsTheBeginningOfTheNextDayInThePersonsZone) {
    for (const auto& [zone, date, midnight] : {
             Case{"UTC", "2026-01-31T10:00:00Z", "2026-02-01T00:00:00Z"},
             Case{"UTC", "2026-01-31T23:59:59Z", "2026-02-01T00:00:00Z"},
             Case{"UTC", "2026-02-01T00:00:00Z", "2026-02-02T00:00:00Z"},
             Case{"Asia/Kolkata", "2026-01-31T10:00:00Z", "2026-01-31T18:30:00Z"},
             Case{"America/New_York", "2026-01-31T10:00:00Z", "2026-02-01T05:00:00Z"},
             // Summer time begins, and ends, in that night's morning.
             Case{"Europe/Berlin", "2026-03-28T12:00:00Z", "2026-03-28T23:00:00Z"},
             Case{"Europe/Berlin", "2026-03-29T12:00:00Z", "2026-03-29T22:00:00Z"},
             Case{"Europe/Berlin", "2026-10-25T12:00:00Z", "2026-10-25T23:00:00Z"},
             // A day that begins at one o'clock.
             Case{"Africa/Cairo", "2026-04-23T12:00:00Z", "2026-04-23T22:00:00Z"},
             Case{"America/Asuncion", "2023-09-30T12:00:00Z", "2023-10-01T04:00:00Z"},
             Case{"America/Santiago", "2026-09-05T12:00:00Z", "2026-09-06T04:00:00Z"},
             // A day whose last hour comes twice, and one whose first does.
             Case{"America/Asuncion", "2024-03-23T12:00:00Z", "2024-03-24T04:00:00Z"},
             Case{"Asia/Beirut", "2026-10-24T12:00:00Z", "2026-10-24T22:00:00Z"},
             Case{"America/Havana", "2026-10-31T12:00:00Z", "2026-11-01T04:00:00Z"},
             // A day that never was.
             Case{"Pacific/Apia", "2011-12-30T05:00:00Z", "2011-12-30T10:00:00Z"},
         }) {
        FixedAmbient::Settings settings;
        settings.timeZone = zone;
        const FixedAmbient ambient(settings);
        EXPECT_EQ(platform::internetDateTime(midnightAfter(instant(date))),
                  platform::internetDateTime(instant(midnight)))
            << zone << " " << date;
    }
}

}  // namespace
}  // namespace host
