// SPDX-License-Identifier: Apache-2.0

#include "analytics/PayloadCoding.hpp"

#include <gtest/gtest.h>

#include <boost/json/serialize.hpp>
#include <cstdint>
#include <limits>

#include "analytics/DynamicCodingKeys.hpp"
#include "platform/Date/Date.hpp"
#include "platform/JSON/CodingError.hpp"

namespace analytics {
namespace {

namespace json = boost::json;

using Components = std::vector<std::string>;

const platform::CodingPath top = {};
const platform::CodingPath root(top, "payload");

json::value encoded(PayloadValue value) {
    return encodedPayload({{"key", std::move(value)}}, root).at("key");
}

TEST(PayloadCoding, EncodesEveryAcceptedKind) {
    EXPECT_EQ(encoded(std::string("text")), json::value("text"));
    EXPECT_EQ(encoded(std::string_view("text")), json::value("text"));
    EXPECT_EQ(encoded("text"), json::value("text"));
    EXPECT_EQ(encoded(7).get_int64(), 7);
    EXPECT_EQ(encoded(-7L).get_int64(), -7);
    EXPECT_EQ(encoded(std::numeric_limits<long long>::min()).get_int64(),
              std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(encoded(0.5).get_double(), 0.5);
    EXPECT_EQ(encoded(1.0).get_double(), 1.0);
    EXPECT_TRUE(encoded(true).get_bool());
    EXPECT_FALSE(encoded(false).get_bool());
    EXPECT_EQ(encoded(PayloadDictionary()), json::value(json::object()));
    EXPECT_EQ(encoded(PayloadArray()), json::value(json::array()));
}

TEST(PayloadCoding, EncodesDictionariesAndArraysAllTheWayDown) {
    const PayloadDictionary inner = {{"b", PayloadArray{1, "two", 3.5, false}},
                                     {"a", PayloadDictionary{{"c", "d"}}}};
    EXPECT_EQ(json::serialize(encoded(PayloadArray{inner, PayloadArray(1, PayloadArray{})})),
              R"([{"a":{"c":"d"},"b":[1,"two",3.5E0,false]},[[]]])");
}

TEST(PayloadCoding, PutsNamesInsideDictionariesInTheEncodersSnakeCase) {
    EXPECT_EQ(json::serialize(encoded(PayloadDictionary{{"myURLProperty", 1}})), R"({"my_url_property":1})");
}

TEST(PayloadCoding, WritesNullForAMissingValueAtTheTop) {
    EXPECT_EQ(json::serialize(encodedPayload({{"missing", std::nullopt}}, root)), R"({"missing":null})");
}

struct Unencodable {
    std::string description;
    PayloadValue value;
};

const Unencodable unencodables[] = {
    {"nothing", PayloadValue()},
    {"an empty optional", std::optional<std::string>()},
    {"an optional text", std::optional<std::string>("text")},
    {"null", nullptr},
    {"a date", platform::Date::sinceReferenceDate(0)},
    {"a single-precision number", 1.5F},
    {"an unsigned integer", 1U},
    {"a byte", std::uint8_t{1}},
    {"a wide text", std::wstring(L"text")},
    {"a list of another kind", std::vector<int>{1}},
    {"a payload with missing values", Payload{{"a", std::nullopt}}},
};

Components pathOfFailure(PayloadValue value) {
    try {
        encodedPayload({{"key", std::move(value)}}, root);
    } catch (const platform::EncodingError& error) {
        EXPECT_EQ(error.debugDescription(), "Invalid value type");
        return error.codingPath();
    }
    ADD_FAILURE() << "was encoded";
    return {};
}

TEST(PayloadCoding, FailsForEveryOtherKindWithThePathOfThePayload) {
    for (const auto& [description, value] : unencodables) {
        SCOPED_TRACE(description);
        EXPECT_EQ(pathOfFailure(value), root.components());
    }
}

TEST(PayloadCoding, FailsInsideADictionaryWithThePathOfTheDictionary) {
    const Components expected = {"payload", "key"};
    for (const auto& [description, value] : unencodables) {
        SCOPED_TRACE(description);
        EXPECT_EQ(pathOfFailure(PayloadDictionary{{"fine", 1}, {"wrong", value}}), expected);
    }
}

TEST(PayloadCoding, FailsInsideAnArrayWithThePathOfTheArray) {
    const Components expected = {"payload", "key"};
    for (const auto& [description, value] : unencodables) {
        SCOPED_TRACE(description);
        EXPECT_EQ(pathOfFailure(PayloadArray{1, value}), expected);
    }
}

TEST(PayloadCoding, FailsDeepInsideWithTheWholePath) {
    const Components expected = {"payload", "key", "[1]", "list"};
    EXPECT_EQ(pathOfFailure(PayloadArray{
                  1, PayloadDictionary{{"list", PayloadArray{platform::Date::sinceReferenceDate(0)}}}}),
              expected);
}

TEST(DynamicCodingKeys, NameTheIndexOfAnArray) {
    EXPECT_EQ(DynamicCodingKeys::index(3).stringValue, "Index 3");
    EXPECT_EQ(DynamicCodingKeys::index(3).intValue, 3u);
    EXPECT_EQ(DynamicCodingKeys::name("a").intValue, std::nullopt);
}

}  // namespace
}  // namespace analytics
