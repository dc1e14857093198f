// SPDX-License-Identifier: Apache-2.0

#include "sandbox/DateRule.hpp"

#include <gtest/gtest.h>

#include "sandbox/Error.hpp"

namespace {

using namespace std::chrono_literals;

const sandbox::WallTime leapDay =
    std::chrono::local_days(std::chrono::year(2024) / 2 / 29) + 12h + 30min + 15s;

TEST(DateRule, TellsDatesFromNow) {
    const struct {
        std::string shift;
        std::optional<std::string> at;
        std::string text;
    } rows[] = {
        {"", {}, "2024-02-29T12:30:15+0000"},         {"-1d", {}, "2024-02-28T12:30:15+0000"},
        {"+1d", "00:05", "2024-03-01T00:05:00+0000"}, {"-2h30m", {}, "2024-02-29T10:00:15+0000"},
        {"-1y", {}, "2023-02-28T12:30:15+0000"},      {"+1mo", {}, "2024-03-29T12:30:15+0000"},
        {"-1y +3d", {}, "2023-03-03T12:30:15+0000"},  {"+16s", {}, "2024-02-29T12:30:31+0000"},
        {"-2000y", {}, "0024-02-29T12:30:15+0000"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(sandbox::dateText(row.shift, row.at, leapDay), row.text) << row.shift;
    }
}

TEST(DateRule, RefusesWhatItCannotRead) {
    for (const std::string shift : {"yesterday", "-1", "-1w", "--d", "1d!", "99999999999d"}) {
        EXPECT_THROW(sandbox::dateText(shift, {}, leapDay), sandbox::Error) << shift;
    }
    for (const std::string at : {"noon", "24:00", "12:60", "12", "12:30:15"}) {
        EXPECT_THROW(sandbox::dateText("", at, leapDay), sandbox::Error) << at;
    }
}

}  // namespace
