// SPDX-License-Identifier: Apache-2.0

#include "platform/DateFormatter/DateFormatter.hpp"

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

constexpr const char* wireForm = "yyyy-MM-dd'T'HH:mm:ssZ";

TEST(DateFormatter, WritesInTheAmbientLocale) {
    struct Row {
        std::string locale;
        std::string text;
    };
    for (const auto& [locale, text] : {
             Row{"en_US", "Mar 5, 2024"},
             Row{"en_US_POSIX", "Mar 5, 2024"},
             Row{"de_DE", "März 5, 2024"},
             Row{"ja_JP", "3月 5, 2024"},
             Row{"ar_EG", "مارس ٥, ٢٠٢٤"},
             Row{"th_TH", "มี.ค. 5, 2567"},
             Row{"he_IL", "מרץ 5, 2024"},
         }) {
        const FixedAmbient ambient({.locale = locale});
        EXPECT_EQ(DateFormatter("MMM d, yyyy").string(instant("2024-03-05T12:00:00Z")), text) << locale;
    }
}

TEST(DateFormatter, WritesInTheAmbientZoneUnlessItHasItsOwn) {
    struct Row {
        std::string zone;
        std::string date;
        std::string text;
    };
    for (const auto& [zone, date, text] : {
             Row{"UTC", "2024-03-10T07:00:00Z", "2024-03-10T07:00:00+0000"},
             Row{"America/New_York", "2024-03-10T06:59:59Z", "2024-03-10T01:59:59-0500"},
             Row{"America/New_York", "2024-03-10T07:00:00Z", "2024-03-10T03:00:00-0400"},
             Row{"Asia/Kolkata", "2024-12-31T18:30:00Z", "2025-01-01T00:00:00+0530"},
             Row{"Pacific/Auckland", "2024-09-28T14:00:00Z", "2024-09-29T03:00:00+1300"},
             Row{"UTC", "9999-12-31T23:59:59Z", "9999-12-31T23:59:59+0000"},
         }) {
        const FixedAmbient ambient({.timeZone = zone});
        EXPECT_EQ(DateFormatter(wireForm).string(instant(date)), text) << zone;
        EXPECT_EQ(DateFormatter(wireForm, TimeZone::gmt()).string(instant("2024-03-10T07:00:00Z")),
                  "2024-03-10T07:00:00+0000");
    }
}

TEST(DateFormatter, FollowsTheAmbientLocaleAndZoneFromCallToCall) {
    FixedAmbient ambient;
    const DateFormatter formatter("MMM d HH:mm");
    const auto date = instant("2024-05-01T12:00:00Z");
    EXPECT_EQ(formatter.string(date), "May 1 12:00");
    ambient.setTimeZone("Asia/Kolkata");
    EXPECT_EQ(formatter.string(date), "May 1 17:30");
    ambient.setLocale("de_DE");
    EXPECT_EQ(formatter.string(date), "Mai 1 17:30");
}

TEST(DateFormatter, WritesNothingForADateThatIsNone) {
    const FixedAmbient ambient;
    const DateFormatter formatter(wireForm);
    const auto infinity = std::numeric_limits<double>::infinity();
    for (const double seconds : {std::nan(""), infinity, -infinity})
        EXPECT_EQ(formatter.string(Date::sinceReferenceDate(seconds)), "");
}

TEST(DateFormatter, ReadsWhatFollowsThePattern) {
    struct Row {
        std::string text;
        std::string date;
    };
    const FixedAmbient ambient;
    const DateFormatter formatter(wireForm, TimeZone::gmt());
    for (const auto& [text, date] : {
             Row{"2024-05-01T12:00:00+0000", "2024-05-01T12:00:00.000Z"},
             Row{"2024-05-01T12:00:00-0500", "2024-05-01T17:00:00.000Z"},
             Row{"2024-05-01T12:00:00+0530", "2024-05-01T06:30:00.000Z"},
             Row{"2024-02-29T23:59:59-2359", "2024-03-01T23:58:59.000Z"},
             Row{"0001-01-03T00:00:00+0000", "0001-01-01T00:00:00.000Z"},
             Row{"1500-03-01T00:00:00+0000", "1500-03-11T00:00:00.000Z"},
             Row{"9999-12-31T23:59:59+0000", "9999-12-31T23:59:59.000Z"},
             Row{"2024-05-01T12:00:00Z", "2024-05-01T12:00:00.000Z"},
             Row{"2024-05-01T12:00:00+05:30", "2024-05-01T06:30:00.000Z"},
             Row{"2024-05-01T12:00:00GMT", "2024-05-01T12:00:00.000Z"},
             Row{"٢٠٢٤-٠٥-٠١T١٢:٠٠:٠٠+0000", "2024-05-01T12:00:00.000Z"},
         }) {
        const auto read = formatter.date(text);
        ASSERT_TRUE(read) << text;
        EXPECT_EQ(internetDateTime(*read), date) << text;
    }
}

TEST(DateFormatter, ReadsNothingUnlessTheWholeTextFollowsThePattern) {
    const FixedAmbient ambient;
    const DateFormatter formatter(wireForm, TimeZone::gmt());
    for (const std::string& text : std::vector<std::string>{
             "",
             "yesterday",
             "2024-05-01",
             "2024-05-01T12:00:00",
             "2024-05-01T12:00:00+0000x",
             "2024-05-01T12:00:00+0000 ",
             "2024-05-01T12:00:00.123+0000",
             "2024-05-01t12:00:00+0000",
             "2024-05-01 12:00:00+0000",
             "2024-13-01T12:00:00+0000",
             "2024-00-01T12:00:00+0000",
             "2024-02-30T12:00:00+0000",
             "2023-02-29T12:00:00+0000",
             "2024-05-01T24:00:00+0000",
             "2024-05-01T12:60:00+0000",
             "2024-05-01T12:00:60+0000",
             "2024-05-01T12:00:00+2400",
             "2024-05-01T12:00:00+0060",
             "0000-01-01T00:00:00+0000",
             "\xff\xfe",
             std::string("2024-05-01T12:00:00+0000\0", 25),
             std::string(1'000'000, '2'),
         })
        EXPECT_FALSE(formatter.date(text)) << text.substr(0, 40);
}

TEST(DateFormatter, ReadsYearsAsTheLocaleCountsThem) {
    const FixedAmbient ambient({.locale = "th_TH"});
    const auto date = DateFormatter(wireForm, TimeZone::gmt()).date("2567-05-01T12:00:00+0000");
    ASSERT_TRUE(date);
    EXPECT_EQ(internetDateTime(*date), "2024-05-01T12:00:00.000Z");
}

TEST(DateFormatter, ServesSeveralThreadsAtOnce) {
    const FixedAmbient ambient;
    const DateFormatter formatter("MMM d, yyyy HH:mm:ss");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&, i] {
            for (int step = 0; step < 500; ++step) {
                const auto date = Date::sinceReferenceDate(i * 1e8 + step * 86'400);
                EXPECT_EQ(formatter.date(formatter.string(date)), date);
            }
        });
    for (auto& thread : threads) thread.join();
}

TEST(DateFormatter, KeepsWorkingAfterItWasMoved) {
    const FixedAmbient ambient;
    DateFormatter first("yyyy");
    const DateFormatter second(std::move(first));
    EXPECT_EQ(second.string(instant("2024-05-01T12:00:00Z")), "2024");
}

}  // namespace
}  // namespace platform
