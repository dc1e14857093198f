// SPDX-License-Identifier: Apache-2.0

#include "platform/Date/Date.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace platform {
namespace {

struct Instant {
    std::string text;
    double sinceReferenceDate;
};

const Instant instants[] = {
    {"2001-01-01T00:00:00.000Z", 0},
    {"1970-01-01T00:00:00.000Z", -978'307'200},
    {"0001-01-01T00:00:00.000Z", -63'113'904'000},
    {"9999-12-31T23:59:59.000Z", 252'423'993'599},
    {"2000-12-31T23:59:59.999Z", -0.001},
    {"2024-02-29T12:34:56.789Z", 730'902'896.789},
    {"1900-03-01T00:00:00.000Z", -3'182'198'400},
};

TEST(InternetDateTime, IsWrittenInUTCWithMilliseconds) {
    for (const auto& [text, seconds] : instants)
        EXPECT_EQ(internetDateTime(Date::sinceReferenceDate(seconds)), text);
}

TEST(InternetDateTime, ReadsWhatItWrites) {
    for (const auto& [text, seconds] : instants) {
        const auto date = dateFromInternetDateTime(text);
        ASSERT_TRUE(date) << text;
        EXPECT_NEAR(date->timeIntervalSinceReferenceDate(), seconds, 1e-4) << text;
    }
}

TEST(InternetDateTime, SurvivesWritingAndReadingToTheMillisecond) {
    std::mt19937_64 random(1);
    std::uniform_real_distribution<double> anySecond(-63'113'904'000, 252'423'993'599);
    for (int i = 0; i < 20'000; ++i) {
        const auto date = Date::sinceReferenceDate(anySecond(random));
        const auto text = internetDateTime(date);
        const auto read = dateFromInternetDateTime(text);
        ASSERT_TRUE(read) << text;
        ASSERT_NEAR(read->timeIntervalSinceReferenceDate(), date.timeIntervalSinceReferenceDate(), 0.00052)
            << text;
        ASSERT_EQ(internetDateTime(*read), text);
    }
}

TEST(InternetDateTime, RoundsToTheNearestMillisecondAcrossEveryCarry) {
    EXPECT_EQ(internetDateTime(Date::sinceReferenceDate(-0.0004)), "2001-01-01T00:00:00.000Z");
    EXPECT_EQ(internetDateTime(Date::sinceReferenceDate(0.0006)), "2001-01-01T00:00:00.001Z");
    EXPECT_EQ(internetDateTime(Date::sinceReferenceDate(31'535'999.9996)), "2002-01-01T00:00:00.000Z");
}

TEST(InternetDateTime, StaysWithinTheYearsThatFourDigitsCanName) {
    const auto written = [](double seconds) { return internetDateTime(Date::sinceReferenceDate(seconds)); };
    EXPECT_EQ(written(252'423'993'599.9999), "9999-12-31T23:59:59.999Z");
    EXPECT_EQ(written(1e300), "9999-12-31T23:59:59.999Z");
    EXPECT_EQ(written(std::numeric_limits<double>::infinity()), "9999-12-31T23:59:59.999Z");
    EXPECT_EQ(written(-1e300), "0001-01-01T00:00:00.000Z");
    EXPECT_EQ(written(std::nan("")).size(), 24u);
}

TEST(InternetDateTime, ReadsFractionsAndOffsetsOfEveryKind) {
    const Instant rows[] = {
        {"2001-01-01T00:00:00Z", 0},
        {"2001-01-01t00:00:00z", 0},
        {"2001-01-01T00:00:00.5Z", 0.5},
        {"2001-01-01T00:00:00.123456789123456789123456789Z", 0.123456789123456789},
        {"2001-01-01T05:30:00+05:30", 0},
        {"2000-12-31T19:00:00-05:00", 0},
        {"2001-01-01T00:00:00-00:00", 0},
        {"2001-01-01T23:59:00+23:59", 0},
        {"0001-01-01T00:00:00+01:00", -63'113'907'600},
    };
    for (const auto& [text, seconds] : rows) {
        const auto date = dateFromInternetDateTime(text);
        ASSERT_TRUE(date) << text;
        EXPECT_DOUBLE_EQ(date->timeIntervalSinceReferenceDate(), seconds) << text;
    }
}

TEST(InternetDateTime, ReadsNothingElse) {
    for (const std::string_view text : {
             "",
             "2001",
             "2001-01-01",
             "2001-01-01T00:00:00",
             "2001-01-01 00:00:00Z",
             " 2001-01-01T00:00:00Z",
             "2001-01-01T00:00:00Z ",
             "2001-01-01T00:00:00.Z",
             "2001-01-01T00:00:00,5Z",
             "2001-01-01T00:00Z",
             "2001-1-1T00:00:00Z",
             "2001-13-01T00:00:00Z",
             "2001-00-01T00:00:00Z",
             "2001-02-29T00:00:00Z",
             "1900-02-29T00:00:00Z",
             "2001-01-00T00:00:00Z",
             "2001-01-01T24:00:00Z",
             "2001-01-01T00:60:00Z",
             "2001-01-01T00:00:60Z",
             "2001-01-01T00:00:00+0530",
             "2001-01-01T00:00:00+05",
             "2001-01-01T00:00:00+24:00",
             "2001-01-01T00:00:00+05:60",
             "2001-01-01T00:00:00ZZ",
             "0000-01-01T00:00:00Z",
             "12001-01-01T00:00:00Z",
             "-001-01-01T00:00:00Z",
             "+001-01-01T00:00:00Z",
             "２００１-01-01T00:00:00Z",
         })
        EXPECT_FALSE(dateFromInternetDateTime(text)) << text;
    EXPECT_FALSE(dateFromInternetDateTime(std::string_view("2001-01-01T00:00:00Z\0", 21)));
}

TEST(InternetDateTime, NeverTripsOverMutatedTexts) {
    std::mt19937 random(2);
    for (int i = 0; i < 20'000; ++i) {
        std::string text = "2024-02-29T12:34:56.789+05:30";
        for (int change = 0; change < 3; ++change)
            text[random() % text.size()] = static_cast<char>(random() % 256);
        text.resize(random() % (text.size() + 1));
        if (const auto date = dateFromInternetDateTime(text)) {
            ASSERT_TRUE(std::isfinite(date->timeIntervalSince1970())) << text;
        }
    }
}

TEST(Date, CountsFromBothEpochs) {
    EXPECT_EQ(Date::since1970(0), Date::sinceReferenceDate(-978'307'200));
    EXPECT_EQ(Date::since1970(1.5).timeIntervalSince1970(), 1.5);
    EXPECT_EQ(Date::sinceReferenceDate(10).addingTimeInterval(-20), Date::sinceReferenceDate(-10));
    EXPECT_LT(Date::sinceReferenceDate(1), Date::sinceReferenceDate(2));
}

}  // namespace
}  // namespace platform
