// SPDX-License-Identifier: Apache-2.0

#include "host/reader/TerminalText.hpp"

#include <gtest/gtest.h>

#include "platform/Text/Text.hpp"

namespace host {
namespace {

struct Row {
    std::string_view text;
    std::string_view expected;
};

TEST(TerminalSafe, TakesAwayWhatATerminalWouldObey) {
    const Row rows[] = {
        {"Plain shop", "Plain shop"},
        {"two\nlines\tand\ra bell\a", "two lines and a bell "},
        {"\x1b[31mred\x1b[0m", " [31mred [0m"},
        {"\x1b]8;;http://evil.example\x1b\\link", " ]8;;http://evil.example \\link"},
        {"\u009b31m", " 31m"},
        {"\u0085next", " next"},
        {"a\u202Eb\u202Cc", "abc"},
        {"a\u2066b\u2069c", "abc"},
        {"a\u2028b", "a b"},
        {"\x7f", " "},
        {"שלום", "שלום"},
        {"naïve 北京 👩‍🚀", "naïve 北京 👩‍🚀"},
    };
    for (const auto& row : rows) EXPECT_EQ(terminalSafe(row.text), row.expected) << row.text;
}

TEST(TerminalSafe, ReplacesIllFormedBytes) {
    const Row rows[] = {
        {"a\xff"
         "b",
         "a\uFFFDb"},
        {"\xC3", "\uFFFD"},
        {"\xE2\x82", "\uFFFD\uFFFD"},
        {"\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD"},
        {"\xC0\xAF", "\uFFFD\uFFFD"},
    };
    for (const auto& row : rows) EXPECT_EQ(terminalSafe(row.text), row.expected);
}

TEST(TerminalSafe, KeepsNulCharactersOut) {
    EXPECT_EQ(terminalSafe(std::string_view("a\0b", 3)), "a b");
}

TEST(TerminalSafeLines, KeepsLinesAndTakesAwayWhatElseATerminalWouldObey) {
    EXPECT_EQ(terminalSafeLines("Tea\u202e\u009b2J\none\x1b[2J\n"), "Tea 2J\none [2J\n");
    EXPECT_EQ(terminalSafeLines("\n\nlast"), "\n\nlast\n");
    EXPECT_EQ(terminalSafeLines(""), "");
}

TEST(TerminalSafeJSON, EscapesWhatATerminalObeysAndSaysTheSame) {
    const std::pair<std::string_view, std::string_view> rows[] = {
        {R"("Tea")", R"("Tea")"},
        {"{\n\t\"a\":1}", "{\n\t\"a\":1}"},
        {R"("\u0007 Tee\"")", R"("\u0007 Tee\"")"},
        {"\"\x7f\u0080\u009b\u009f\"", R"("\u007f\u0080\u009b\u009f")"},
        {"\"\u00a0\u0100é\U0001F600\"", "\"\u00a0\u0100é\U0001F600\""},
        {"\"\u2028\u2029\"", R"("\u2028\u2029")"},
        {"\"\u202a\u202e\u2066\u2069\"", R"("\u202a\u202e\u2066\u2069")"},
        {"\"\u200f\u2030\u206a\"", "\"\u200f\u2030\u206a\""},
    };
    for (const auto& [json, expected] : rows) EXPECT_EQ(terminalSafeJSON(json), expected);
}

TEST(TerminalSafeXML, EscapesWhatATerminalObeysAndSaysTheSame) {
    EXPECT_EQ(terminalSafeXML("<text\tx=\"1\">\x7f\u009b\u2028\u202e\u2069é</text>\n"),
              "<text\tx=\"1\">&#x007f;&#x009b;&#x2028;&#x202e;&#x2069;é</text>\n");
}

TEST(FittedToColumns, CutsByColumnsAndNotByBytes) {
    struct FitRow {
        std::string_view text;
        std::size_t columns;
        std::string_view expected;
    };
    const FitRow rows[] = {
        {"Parcel", 6, "Parcel"},
        {"Parcels", 6, "Parce…"},
        {"Parcel of tea", 8, "Parcel…"},
        {"北京小店", 8, "北京小店"},
        {"北京小店", 7, "北京小…"},
        {"北京小店", 6, "北京…"},
        {"e\u0301tude", 5, "e\u0301tude"},
        {"e\u0301tudes", 5, "e\u0301tud…"},
        {"👩‍🚀👩‍🚀", 3, "👩‍🚀…"},
        {"abc", 1, "…"},
        {"abc", 0, ""},
        {"", 0, ""},
    };
    for (const auto& row : rows) {
        const auto fitted = fittedToColumns(row.text, row.columns);
        EXPECT_EQ(fitted, row.expected);
        EXPECT_LE(platform::terminalColumns(fitted), row.columns);
    }
}

std::string repeated(std::string_view text, std::size_t count) {
    std::string result;
    for (std::size_t index = 0; index < count; ++index) result.append(text);
    return result;
}

TEST(FittedToColumns, DropsWhatIsBeyondTheLongestCharacter) {
    constexpr std::size_t many = 1'000'000;
    const auto acute = repeated("\u0301", many);
    EXPECT_EQ(fittedToColumns("ab" + acute + "c", 10), "ab" + repeated("\u0301", 63) + "c")
        << "129 bytes are more";
    EXPECT_EQ(fittedToColumns("ab" + acute + "cdef", 4), "ab" + repeated("\u0301", 63) + "c…");
    EXPECT_EQ(fittedToColumns("北" + acute + "京", 4), "北" + repeated("\u0301", 62) + "京");
    EXPECT_EQ(fittedToColumns("👩" + repeated("\u200d👩", many), 2), "👩" + repeated("\u200d👩", 17) + "\u200d");
    // Each of these is a character of its own, without a width.
    EXPECT_EQ(fittedToColumns("a" + repeated("\u200b", many) + "b", 10), "a" + repeated("\u200b", 42) + "b");
    EXPECT_EQ(fittedToColumns(repeated("\u200b", many), 10), repeated("\u200b", 42));
    // What people write stands as it is.
    for (const std::string_view whole :
         {"e\u0301", "👩🏻‍❤️‍💋‍👩🏽", "🏴󠁧󠁢󠁥󠁮󠁧󠁿",
          "👨‍👩‍👧‍👦",
          "z\u0335\u0322\u0321\u0328\u0300\u0301\u0302\u0303\u0304\u0305\u0306\u0307\u0308\u0309\u030a"})
        EXPECT_EQ(fittedToColumns(whole, 10), whole);
}

}  // namespace
}  // namespace host
