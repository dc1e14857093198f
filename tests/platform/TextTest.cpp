// SPDX-License-Identifier: Apache-2.0

#include "platform/Text/Text.hpp"

#include <gtest/gtest.h>

#include <numeric>
#include <random>
#include <thread>

namespace platform {
namespace {

struct Row {
    std::string text;
    std::size_t characters;
    std::size_t columns;
};

const Row rows[] = {
    {"", 0, 0},
    {"parcel", 6, 6},
    {"a\r\nb", 3, 2},
    {"\r\r\n\n", 3, 0},
    {"a\tb", 3, 2},
    {"\x1b[0m", 4, 3},
    {"naïve", 5, 5},
    {"e\u0301", 1, 1},
    {"日本語", 3, 6},
    {"ｱ", 1, 1},
    {"Ａ", 1, 2},
    {"한국", 2, 4},
    {"각", 1, 2},
    {"📦", 1, 2},
    {"❤", 1, 1},
    {"❤\uFE0F", 1, 2},
    {"👨‍👩‍👧‍👦", 1, 2},
    {"👍🏽", 1, 2},
    {"🇩🇪", 1, 2},
    {"🇩🇪🇫🇷", 2, 4},
    {"1\uFE0F\u20E3", 1, 2},
    {"שלום", 4, 4},
    {"نص", 2, 2},
    {"ไทย", 3, 3},
    {"\u200B", 1, 0},
    {"\u00AD", 1, 1},
    {"\u0301", 1, 0},
};

TEST(Text, CountsCharactersAsAReaderDoes) {
    for (const auto& row : rows) EXPECT_EQ(characterCount(row.text), row.characters) << row.text;
}

TEST(Text, MeasuresColumnsOfATerminal) {
    for (const auto& row : rows) EXPECT_EQ(terminalColumns(row.text), row.columns) << row.text;
}

TEST(Text, IsWrappedBetweenWords) {
    struct Wrapped {
        std::string text;
        std::size_t columns;
        std::string lines;
    };
    for (const auto& [text, columns, lines] : {
             Wrapped{"", 8, ""},
             Wrapped{"one two", 7, "one two"},
             Wrapped{"one two", 6, "one\n  two"},
             Wrapped{"one two three four", 9, "one two\n  three\n  four"},
             Wrapped{"one two three four", 11, "one two\n  three\n  four"},
             Wrapped{"one two three four", 12, "one two\n  three four"},
             Wrapped{"one two\n\nthree four\n", 7, "one two\n\nthree\n  four\n"},
             Wrapped{"  one two", 8, "  one\n    two"},
             Wrapped{"one   two    three", 9, "one   two\n  three"},
             Wrapped{"one two   ", 7, "one two"},
             Wrapped{"a https://server.example/page b", 10, "a\n  https://server.example/page\n  b"},
             Wrapped{"https://server.example/page", 10, "https://server.example/page"},
             Wrapped{"日本 語", 4, "日本\n  語"},
             Wrapped{"日本 語", 6, "日本\n  語"},
             Wrapped{"日本 語", 7, "日本 語"},
             Wrapped{"e\u0301e\u0301 e\u0301e\u0301", 5, "e\u0301e\u0301 e\u0301e\u0301"},
             Wrapped{"e\u0301e\u0301 e\u0301e\u0301", 4, "e\u0301e\u0301\n  e\u0301e\u0301"},
             Wrapped{"no\u00A0break here", 10, "no\u00A0break\n  here"},
             Wrapped{"a b c", 1, "a\nb\nc"},
             Wrapped{"a b", 0, "a\nb"},
         })
        EXPECT_EQ(wrappedToColumns(text, columns), lines) << text << " in " << columns;
}

TEST(Text, FallsIntoCharactersWithoutLosingAByte) {
    std::mt19937 random(3);
    for (int i = 0; i < 2'000; ++i) {
        std::string text;
        for (auto pieces = random() % 6; pieces > 0; --pieces)
            text += random() % 4 ? rows[random() % std::size(rows)].text
                                 : std::string(1, static_cast<char>(random() % 256));
        std::string joined;
        for (const auto character : characters(text)) {
            ASSERT_FALSE(character.empty());
            joined += character;
        }
        ASSERT_EQ(joined, text);
        ASSERT_EQ(characters(text).size(), characterCount(text));
        terminalColumns(text);
    }
}

TEST(Text, CountsInSeveralThreadsAtOnce) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([] {
            for (int step = 0; step < 500; ++step)
                EXPECT_EQ(characterCount("👨‍👩‍👧‍👦é日本"), 4u);
        });
    for (auto& thread : threads) thread.join();
}

TEST(Text, IsPutInLowerCaseWithoutALocale) {
    EXPECT_EQ(lowercased("ABC xyz 123"), "abc xyz 123");
    EXPECT_EQ(lowercased("ÄÖÜ ΣΟΦΟΣ ЖЁЛТЫЙ"), "äöü σοφος жёлтый");
    EXPECT_EQ(lowercased("TITLE I"), "title i");
    EXPECT_EQ(lowercased("İ"), "i\u0307");
    EXPECT_EQ(lowercased(""), "");
    EXPECT_EQ(lowercased("A\xff"), "a\uFFFD");
}

TEST(Text, IsPutInLowerCaseAtItsFirstCharacter) {
    EXPECT_EQ(lowercasingFirstCharacter("Delivered"), "delivered");
    EXPECT_EQ(lowercasingFirstCharacter("DHL"), "dHL");
    EXPECT_EQ(lowercasingFirstCharacter("Über ÄÖ"), "über ÄÖ");
    EXPECT_EQ(lowercasingFirstCharacter("E\u0301A"), "e\u0301A");
    EXPECT_EQ(lowercasingFirstCharacter("📦 A"), "📦 A");
    EXPECT_EQ(lowercasingFirstCharacter(""), "");
}

TEST(Text, IsValidUTF8OnlyWhereEveryByteIsInPlace) {
    for (const std::string& text : {std::string(), std::string("ascii"), std::string("é日📦"),
                                    std::string(3, '\0'), std::string("\xF4\x8F\xBF\xBF")})
        EXPECT_TRUE(isValidUTF8(text)) << text;
    for (const std::string_view text :
         {"\x80", "\xC3", "\xC0\x80", "\xE0\x80\x80", "\xED\xA0\x80", "\xF0\x80\x80\x80", "\xF4\x90\x80\x80",
          "\xFF", "a\xE2\x82", "\xE2\x82z"})
        EXPECT_FALSE(isValidUTF8(text)) << text;
}

}  // namespace
}  // namespace platform
