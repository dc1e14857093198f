// SPDX-License-Identifier: Apache-2.0

#include "VelaApi/Sources/VelaApi/DorvoSupport/Input.hpp"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

namespace VelaApi {
namespace {

struct Search {
    Input<std::string> text;

    static constexpr auto fields() { return std::tuple(platform::field("text", &Search::text)); }
};

std::string encoded(Input<std::string> text) {
    return platform::JSONEncoder().encode(Search{.text = std::move(text)});
}

TEST(Input, OfAnAbsentValueIsUndefined) {
    EXPECT_EQ(Input<int>::orUndefined(std::nullopt), Input<int>::undefined());
    EXPECT_EQ(Input<int>::orUndefined(3), Input<int>::value(3));
    EXPECT_NE(Input<int>::orUndefined(std::nullopt), Input<int>::value(std::nullopt));
}

TEST(Input, GivesItsOptionalValue) {
    EXPECT_EQ(Input<int>::undefined().optionalValue(), std::nullopt);
    EXPECT_EQ(Input<int>::value(std::nullopt).optionalValue(), std::nullopt);
    EXPECT_EQ(Input<int>::value(3).optionalValue(), 3);
}

TEST(Input, IsEqualOnlyInStateAndValue) {
    const std::vector<Input<int>> inputs = {Input<int>::undefined(), Input<int>::value(std::nullopt),
                                            Input<int>::value(0), Input<int>::value(1)};
    for (std::size_t one = 0; one < inputs.size(); ++one) {
        for (std::size_t other = 0; other < inputs.size(); ++other) {
            EXPECT_EQ(inputs[one] == inputs[other], one == other) << one << " and " << other;
        }
    }
}

TEST(Input, EncodesAValueAsItselfAnAbsentOneAsNullAndUndefinedNotAtAll) {
    EXPECT_EQ(encoded(Input<std::string>::value("boots")), R"({"text":"boots"})");
    EXPECT_EQ(encoded(Input<std::string>::value(std::nullopt)), R"({"text":null})");
    EXPECT_EQ(encoded(Input<std::string>::undefined()), "{}");
}

TEST(Input, UndefinedOnItsOwnIsNoJSON) {
    EXPECT_EQ(platform::JSONEncoder().encode(Input<std::string>::value(std::nullopt)), "null");
    EXPECT_THROW(platform::JSONEncoder().encode(Input<std::string>::undefined()), platform::EncodingError);
}

}  // namespace
}  // namespace VelaApi
