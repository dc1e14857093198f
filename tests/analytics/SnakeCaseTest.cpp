// SPDX-License-Identifier: Apache-2.0

#include "analytics/SnakeCase.hpp"

#include <gtest/gtest.h>

namespace analytics {
namespace {

struct Row {
    std::string_view key, expected;
};

TEST(SnakeCase, PutsAnUnderscoreWhereAWordBegins) {
    for (const auto& [key, expected] : {
             Row{"", ""},
             Row{"widgetId", "widget_id"},
             Row{"deviceIdentifier", "device_identifier"},
             Row{"platformVersion", "platform_version"},
             Row{"userId", "user_id"},
             Row{"platform", "platform"},
             Row{"ABCDef", "abc_def"},
             Row{"version2Name", "version2_name"},
             Row{"userID2", "user_id_2"},
             Row{"HTTPServerId", "http_server_id"},
             Row{"already_snake_case", "already_snake_case"},
             Row{"A", "a"},
             Row{"ABC", "abc"},
             Row{"größeÄndern", "größeändern"},
         })
        EXPECT_EQ(snakeCased(key), expected) << key;
}

TEST(SnakeCase, LooksNoFurtherThanTheKeyHasCharactersAfterTheFirstPassMadeItLonger) {
    EXPECT_EQ(snakeCased("ABCDefG"), "abc_defg");
    EXPECT_EQ(snakeCased("ABCDefGh"), "abc_def_gh");
    EXPECT_EQ(snakeCased("A1B2cD"), "a_1_b_2cd");
}

TEST(SnakeCase, CountsPerceivedCharactersButLooksAtUTF16Units) {
    for (const auto& [key, expected] : {
             Row{"aB📦", "a_b📦"},
             Row{"📦aB", "📦ab"},
             Row{"📦aBc", "📦a_bc"},
             Row{"e\u0301aB", "e\u0301ab"},
             Row{"\u00E9aB", "\u00E9a_b"},
             Row{"👨‍👩‍👧aBcD", "👨‍👩‍👧abcd"},
             Row{"aBcD👨‍👩‍👧eF", "a_bc_d👨‍👩‍👧ef"},
         })
        EXPECT_EQ(snakeCased(key), expected) << key;
}

TEST(SnakeCase, OnlyLowersTheKeyWithoutTheFirstExpression) {
    auto expressions = SnakeCaseExpressions::standard();
    expressions.capitals = platform::RegularExpression::compile("(");
    EXPECT_EQ(snakeCased("ABCDefGhi", expressions), "abcdefghi");
}

TEST(SnakeCase, OnlyLowersTheKeyWithoutTheSecondExpression) {
    auto expressions = SnakeCaseExpressions::standard();
    expressions.words = platform::RegularExpression::compile("(");
    EXPECT_EQ(snakeCased("ABCDefGhi", expressions), "abcdefghi");
}

TEST(SnakeCase, TakesAKeyThatIsNoText) {
    EXPECT_EQ(snakeCased("aB\xFF"), "a_b\uFFFD");
}

TEST(EncoderSnakeCase, MakesAWordOfARunOfCapitals) {
    for (const auto& [key, expected] : {
             Row{"", ""},
             Row{"a", "a"},
             Row{"A", "a"},
             Row{"oneTwo", "one_two"},
             Row{"OneTwo", "one_two"},
             Row{"myURLProperty", "my_url_property"},
             Row{"userID", "user_id"},
             Row{"ABC", "a_bc"},
             Row{"aBC1d", "a_bc_1d"},
             Row{"already_snake_case", "already_snake_case"},
             Row{"äÖü", "äöü"},
         })
        EXPECT_EQ(encoderSnakeCased(key), expected) << key;
}

TEST(EncoderSnakeCase, LeavesEveryNameOfAnEventAsItIs) {
    for (const std::string_view key : {"widgetId", "widgetSize", "widgetType", "widgetState", "deviceModel",
                                       "platform", "platformVersion", "deviceIdentifier", "userId"})
        EXPECT_EQ(encoderSnakeCased(snakeCased(key)), snakeCased(key));
}

}  // namespace
}  // namespace analytics
