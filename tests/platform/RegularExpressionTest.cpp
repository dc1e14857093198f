// SPDX-License-Identifier: Apache-2.0

#include "platform/RegularExpression/RegularExpression.hpp"

#include <gtest/gtest.h>

namespace platform {
namespace {

std::string replaced(std::string_view pattern, std::string_view text, std::size_t range,
                     std::string_view replacement) {
    const auto expression = RegularExpression::compile(pattern);
    return expression ? expression->replacingMatches(text, range, replacement) : "does not compile";
}

TEST(RegularExpression, ReplacesEveryMatchInItsRange) {
    struct Row {
        std::string_view pattern, text;
        std::size_t range;
        std::string_view replacement, expected;
    };
    for (const auto& [pattern, text, range, replacement, expected] : {
             Row{"([a-z])([A-Z])", "fooBarBaz", 9, "$1_$2", "foo_Bar_Baz"},
             Row{"([a-z])([A-Z])", "fooBarBaz", 6, "$1_$2", "foo_BarBaz"},
             Row{"([a-z])([A-Z])", "fooBarBaz", 4, "$1_$2", "foo_BarBaz"},
             Row{"([a-z])([A-Z])", "fooBarBaz", 3, "$1_$2", "fooBarBaz"},
             Row{"([a-z])([A-Z])", "fooBarBaz", 0, "$1_$2", "fooBarBaz"},
             Row{"([a-z])([A-Z])", "fooBarBaz", 1'000'000'000'000, "$1_$2", "foo_Bar_Baz"},
             Row{"o", "foo", 3, "", "f"},
             Row{"x", "", 0, "y", ""},
             Row{"", "ab", 2, "-", "-a-b-"},
         })
        EXPECT_EQ(replaced(pattern, text, range, replacement), expected) << text << " to " << range;
}

TEST(RegularExpression, CountsItsRangeInUTF16Units) {
    EXPECT_EQ(replaced("a", "📦a", 2, "b"), "📦a");
    EXPECT_EQ(replaced("a", "📦a", 3, "b"), "📦b");
    EXPECT_EQ(replaced("a", "éa", 2, "b"), "éb");
}

TEST(RegularExpression, DoesNotSeeBehindItsRange) {
    EXPECT_EQ(replaced("a(?=b)", "ab", 1, "x"), "ab");
    EXPECT_EQ(replaced("a(?!b)", "ab", 1, "x"), "xb");
    EXPECT_EQ(replaced("a$", "ab", 1, "x"), "xb");
    EXPECT_EQ(replaced("^a", "ab", 1, "x"), "xb");
}

TEST(RegularExpression, KeepsTheTextWhoseRangeEndsInsideACharacter) {
    EXPECT_EQ(replaced("a", "a📦a", 2, "b"), "b📦a");
}

TEST(RegularExpression, DoesNotCompileABrokenPattern) {
    for (const std::string_view pattern : {"(", "[a", "*", "a{2", "\\", "(?<n"})
        EXPECT_FALSE(RegularExpression::compile(pattern)) << pattern;
}

TEST(RegularExpression, ChangesNothingForAGroupThatIsNotThere) {
    EXPECT_EQ(replaced("a", "aaa", 3, "$7"), "aaa");
}

}  // namespace
}  // namespace platform
