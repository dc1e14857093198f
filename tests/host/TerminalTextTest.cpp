#include "host/widget/TerminalText.hpp"

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

}  // namespace
}  // namespace host
