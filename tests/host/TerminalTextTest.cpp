#include "host/TerminalText.hpp"

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
