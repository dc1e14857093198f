// SPDX-License-Identifier: Apache-2.0

#include "VelaApi/Sources/VelaApi/DorvoSupport/DateRules.hpp"

#include <gtest/gtest.h>

#include "VelaApi/Sources/VelaApi/Module.hpp"
#include "tests/support/FixedAmbient.hpp"

namespace VelaApi {
namespace {

using platform::testing::FixedAmbient;
using platform::testing::instant;

constexpr const char* june = "2024-06-15T10:20:30.456Z";

platform::Date decodedDate(const std::string& text) {
    return Module::customDecoder().decode<platform::Date>('"' + text + '"');
}

std::string encoded(platform::Date date) {
    return Module::customEncoder().encode(date);
}

struct ZoneRow {
    const char* zone;
    const char* text;
    const char* expected;
};

TEST(DateRules, ADecodedInstantIsMovedBackByTheDevicesOffset) {
    const ZoneRow rows[] = {
        {"GMT", "2024-05-01T12:00:00+0000", "2024-05-01T12:00:00Z"},
        {"GMT", "2024-05-01T12:00:00-0500", "2024-05-01T17:00:00Z"},
        {"GMT", "2024-05-01T12:00:00+0530", "2024-05-01T06:30:00Z"},
        {"Etc/GMT-2", "2024-05-01T12:00:00+0000", "2024-05-01T10:00:00Z"},
        {"Etc/GMT+5", "2024-05-01T12:00:00+0000", "2024-05-01T17:00:00Z"},
        {"America/New_York", "2024-01-15T12:00:00+0000", "2024-01-15T17:00:00Z"},
        {"America/New_York", "2024-07-15T12:00:00+0000", "2024-07-15T16:00:00Z"},
        // The clocks go forward at 07:00 and back at 06:00 GMT: the offset is the one at the parsed instant.
        {"America/New_York", "2024-03-10T06:59:59+0000", "2024-03-10T11:59:59Z"},
        {"America/New_York", "2024-03-10T07:00:00+0000", "2024-03-10T11:00:00Z"},
        {"America/New_York", "2024-11-03T05:59:59+0000", "2024-11-03T09:59:59Z"},
        {"America/New_York", "2024-11-03T06:00:00+0000", "2024-11-03T11:00:00Z"},
        {"Asia/Kolkata", "2024-05-01T12:00:00+0000", "2024-05-01T06:30:00Z"},
        {"Asia/Kolkata", "2024-05-01T12:00:00+0530", "2024-05-01T01:00:00Z"},
        {"Pacific/Auckland", "2024-01-01T00:00:00+0000", "2023-12-31T11:00:00Z"},
        {"Pacific/Auckland", "2024-04-06T13:59:59+0000", "2024-04-06T00:59:59Z"},
        {"Pacific/Auckland", "2024-04-06T14:00:00+0000", "2024-04-06T02:00:00Z"},
        {"Pacific/Auckland", "2024-09-28T14:00:00+0000", "2024-09-28T01:00:00Z"},
        // Zones that changed their rules lately, and zones that are rules.
        {"America/Mexico_City", "2026-07-15T12:00:00+0000", "2026-07-15T18:00:00Z"},
        {"Asia/Almaty", "2026-07-15T12:00:00+0000", "2026-07-15T07:00:00Z"},
        {"America/Ciudad_Juarez", "2026-01-15T12:00:00+0000", "2026-01-15T19:00:00Z"},
        {"CST6", "2024-05-01T12:00:00+0000", "2024-05-01T18:00:00Z"},
        {"GMT-2", "2024-05-01T12:00:00+0000", "2024-05-01T10:00:00Z"},
        {"<-03>3", "2024-05-01T12:00:00+0000", "2024-05-01T15:00:00Z"},
        {"EST5EDT,M3.2.0,M11.1.0", "2024-03-10T06:59:59+0000", "2024-03-10T11:59:59Z"},
        {"EST5EDT,M3.2.0,M11.1.0", "2024-03-10T07:00:00+0000", "2024-03-10T11:00:00Z"},
        {"GMT", "2023-12-31T23:59:59+0000", "2023-12-31T23:59:59Z"},
        {"GMT", "2024-02-29T00:00:00+0000", "2024-02-29T00:00:00Z"},
        {"GMT", "9999-12-31T23:59:59+0000", "9999-12-31T23:59:59Z"},
    };
    for (const ZoneRow& row : rows) {
        const FixedAmbient surroundings({.now = june, .timeZone = row.zone});
        EXPECT_EQ(platform::internetDateTime(decodedDate(row.text)),
                  platform::internetDateTime(instant(row.expected)))
            << row.zone << " " << row.text;
    }
}

TEST(DateRules, YearsAndMonthsAreThoseOfTheLocalesCalendar) {
    for (const auto& [locale, text, expected] : {
             ZoneRow{"en_US", "2024-05-01T12:00:00+0000", "2024-05-01T12:00:00Z"},
             ZoneRow{"th_TH", "2567-05-01T12:00:00+0000", "2024-05-01T12:00:00Z"},
             ZoneRow{"fa_IR", "1403-02-12T12:00:00+0000", "2024-05-01T12:00:00Z"},
             ZoneRow{"ar_SA", "1445-10-22T12:00:00+0000", "2024-05-01T12:00:00Z"},
             ZoneRow{"ja_JP", "2024-05-01T12:00:00+0000", "2024-05-01T12:00:00Z"},
             ZoneRow{"ar_EG", "2024-05-01T12:00:00+0000", "2024-05-01T12:00:00Z"},
         }) {
        const FixedAmbient surroundings({.now = june, .timeZone = "GMT", .locale = locale});
        EXPECT_EQ(platform::internetDateTime(decodedDate(text)),
                  platform::internetDateTime(instant(expected)))
            << locale << " " << text;
    }
}

TEST(DateRules, ATextThatDoesNotParseIsNow) {
    for (const char* zone : {"GMT", "America/New_York", "Asia/Kolkata", "Pacific/Auckland"}) {
        const FixedAmbient surroundings({.now = june, .timeZone = zone});
        for (const char* text : {
                 "2024-05-01",
                 "yesterday",
                 "",
                 " ",
                 "2024-05-01T12:00:00",
                 "2024-05-01 12:00:00+0000",
                 "2024-05-01T12:00+0000",
                 "2024-05-01T12:00:00.000+0000",
                 "2024-05-01T12:00:00+0000 ",
                 "2024-05-01T12:00:00+0000x",
                 "2024-13-01T12:00:00+0000",
                 "2024-02-30T12:00:00+0000",
                 "2023-02-29T12:00:00+0000",
                 "2024-05-01T24:00:00+0000",
                 "2024-05-01T12:60:00+0000",
                 "1714564800",
                 "null",
                 "\\u0000",
                 "📦",
             }) {
            EXPECT_EQ(decodedDate(text), instant(june)) << zone << " " << text;
        }
    }
}

TEST(DateRules, OnlyAStringIsADate) {
    const FixedAmbient surroundings({.now = june});
    for (const char* json : {"0", "1714564800.5", "true", "null", "[]", "{}"}) {
        EXPECT_THROW(Module::customDecoder().decode<platform::Date>(json), platform::DecodingError) << json;
    }
}

TEST(DateRules, AnEncodedInstantIsShownInTheDevicesZoneWithoutShift) {
    const ZoneRow rows[] = {
        {"GMT", "2024-05-01T12:00:00Z", R"("2024-05-01T12:00:00+0000")"},
        {"Europe/Paris", "2024-05-01T12:00:00Z", R"("2024-05-01T14:00:00+0200")"},
        {"America/New_York", "2024-01-01T04:59:59Z", R"("2023-12-31T23:59:59-0500")"},
        {"America/New_York", "2024-11-03T05:30:00Z", R"("2024-11-03T01:30:00-0400")"},
        {"America/New_York", "2024-11-03T06:30:00Z", R"("2024-11-03T01:30:00-0500")"},
        {"Asia/Kolkata", "2024-05-01T12:00:00Z", R"("2024-05-01T17:30:00+0530")"},
        {"Pacific/Auckland", "2023-12-31T11:00:00Z", R"("2024-01-01T00:00:00+1300")"},
        {"Africa/Cairo", "2026-07-15T12:00:00Z", R"("2026-07-15T15:00:00+0300")"},
        {"CST6", "2024-05-01T12:00:00Z", R"("2024-05-01T06:00:00-0600")"},
        {"<+1245>-12:45", "2024-05-01T12:00:00Z", R"("2024-05-02T00:45:00+1245")"},
    };
    for (const ZoneRow& row : rows) {
        const FixedAmbient surroundings({.now = june, .timeZone = row.zone});
        EXPECT_EQ(encoded(instant(row.text)), row.expected) << row.zone << " " << row.text;
    }
}

TEST(DateRules, EncodingFollowsAChangeOfZone) {
    const platform::Date date = instant("2024-05-01T12:00:00Z");
    {
        const FixedAmbient surroundings({.now = june, .timeZone = "Asia/Kolkata"});
        EXPECT_EQ(encoded(date), R"("2024-05-01T17:30:00+0530")");
    }
    const FixedAmbient surroundings({.now = june, .timeZone = "GMT"});
    EXPECT_EQ(encoded(date), R"("2024-05-01T12:00:00+0000")");
}

TEST(DateRules, EncodingIsNotTheInverseOfDecoding) {
    const FixedAmbient surroundings({.now = june, .timeZone = "Etc/GMT-2"});
    EXPECT_EQ(encoded(decodedDate("2024-05-01T12:00:00+0000")), R"("2024-05-01T12:00:00+0200")");
}

TEST(DateRules, TheYearsOneToNineThousandNineHundredNinetyNineSurvive) {
    const FixedAmbient surroundings({.now = june});
    for (const char* text :
         {"0001-01-01T00:00:00+0000", "1066-10-14T09:00:00+0000", "1582-10-04T00:00:00+0000",
          "1582-10-15T00:00:00+0000", "1969-12-31T23:59:59+0000", "2038-01-19T03:14:08+0000",
          "9999-12-31T23:59:59+0000"}) {
        EXPECT_EQ(encoded(decodedDate(text)), '"' + std::string(text) + '"');
    }
}

TEST(DateRules, EveryDayOfTwoYearsDecodesToItself) {
    const FixedAmbient surroundings({.now = june});
    platform::Date day = instant("2023-01-01T00:00:00Z");
    for (int count = 0; count < 731; ++count) {
        const std::string text = platform::internetDateTime(day);
        EXPECT_EQ(decodedDate(text.substr(0, 19) + "+0000"), day) << text;
        day = day.addingTimeInterval(86'399);
    }
}

TEST(Module, GivesNewCodersAndOneSettableResolver) {
    const std::shared_ptr<BaseCustomScalarResolver> original = Module::customScalarResolver();
    EXPECT_NE(original, nullptr);
    EXPECT_EQ(Module::customScalarResolver(), original);

    struct OwnResolver : BaseCustomScalarResolver {};
    const auto own = std::make_shared<OwnResolver>();
    Module::customScalarResolver() = own;
    EXPECT_EQ(Module::customScalarResolver(), own);
    Module::customScalarResolver() = original;
}

}  // namespace
}  // namespace VelaApi
