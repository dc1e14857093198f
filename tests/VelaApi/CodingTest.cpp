// SPDX-License-Identifier: Apache-2.0

#include "platform/JSON/Coding.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <tuple>

namespace platform {
namespace {

struct Point {
    std::int32_t x;
    std::optional<double> y = std::nullopt;

    static constexpr auto fields() { return std::tuple(field("x", &Point::x), field("y", &Point::y)); }
    bool operator==(const Point&) const = default;
};

template <class T>
std::optional<DecodingErrorKind> failure(std::string_view json) {
    try {
        JSONDecoder().decode<T>(json);
        return std::nullopt;
    } catch (const DecodingError& error) {
        return error.kind();
    }
}

TEST(Coding, ABoolComesFromTrueAndFalseAlone) {
    EXPECT_TRUE(JSONDecoder().decode<bool>("true"));
    EXPECT_FALSE(JSONDecoder().decode<bool>("false"));
    for (const char* json : {"0", "1", "1.0", R"("true")", "[]", "{}"}) {
        EXPECT_EQ(failure<bool>(json), DecodingErrorKind::typeMismatch) << json;
    }
    EXPECT_EQ(failure<bool>("null"), DecodingErrorKind::valueNotFound);
}

TEST(Coding, AnIntegerIsExactOrCorrupt) {
    EXPECT_EQ(JSONDecoder().decode<std::int32_t>("2147483647"), 2147483647);
    EXPECT_EQ(JSONDecoder().decode<std::int32_t>("-2147483648"), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(JSONDecoder().decode<std::int32_t>("2.0"), 2);
    EXPECT_EQ(JSONDecoder().decode<std::int64_t>("9223372036854775807"),
              std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(JSONDecoder().decode<std::uint64_t>("18446744073709551615"),
              std::numeric_limits<std::uint64_t>::max());
    for (const char* json : {"2147483648", "-2147483649", "2.5", "18446744073709551615", "1e30", "-1e30"}) {
        EXPECT_EQ(failure<std::int32_t>(json), DecodingErrorKind::dataCorrupted) << json;
    }
    EXPECT_EQ(failure<std::int64_t>("9223372036854775808"), DecodingErrorKind::dataCorrupted);
    EXPECT_EQ(failure<std::uint64_t>("-1"), DecodingErrorKind::dataCorrupted);
    for (const char* json : {R"("1")", "true", "[]"}) {
        EXPECT_EQ(failure<std::int32_t>(json), DecodingErrorKind::typeMismatch) << json;
    }
}

TEST(Coding, ADoubleComesFromAnyNumber) {
    EXPECT_EQ(JSONDecoder().decode<double>("1"), 1.0);
    EXPECT_EQ(JSONDecoder().decode<double>("-0.5"), -0.5);
    EXPECT_EQ(JSONDecoder().decode<double>("18446744073709551615"), 18446744073709551615.0);
    EXPECT_EQ(failure<double>("true"), DecodingErrorKind::typeMismatch);
}

TEST(Coding, ADateIsSecondsSince2001UnlessARuleSaysOtherwise) {
    EXPECT_EQ(JSONDecoder().decode<Date>("1.5"), Date::sinceReferenceDate(1.5));
    EXPECT_EQ(JSONEncoder().encode(Date::sinceReferenceDate(1.5)), "1.5");
    const JSONDecoder decoder([](const Decoder& value) { return Date::since1970(value.decode<double>()); });
    EXPECT_EQ(decoder.decode<Date>("10"), Date::since1970(10));
    const JSONEncoder encoder([](Date, Encoder& value) { value.write(std::string_view("then")); });
    EXPECT_EQ(encoder.encode(std::vector<Date>{Date::since1970(0)}), R"(["then"])");
}

TEST(Coding, AnOptionalElementMayBeNullAndAnyOtherMayNot) {
    using Optionals = std::vector<std::optional<std::int32_t>>;
    EXPECT_EQ(JSONDecoder().decode<Optionals>("[1, null]"), (Optionals{1, std::nullopt}));
    EXPECT_EQ(JSONEncoder().encode(Optionals{1, std::nullopt}), "[1,null]");
    EXPECT_EQ(failure<std::vector<std::int32_t>>("[1, null]"), DecodingErrorKind::valueNotFound);
}

TEST(Coding, ARecordFollowsItsListOfFields) {
    EXPECT_EQ(JSONDecoder().decode<Point>(R"({"y": 2, "x": 1})"), (Point{1, 2.0}));
    EXPECT_EQ(JSONDecoder().decode<Point>(R"({"x": 1, "y": null, "z": 3})"), (Point{.x = 1}));
    EXPECT_EQ(JSONEncoder().encode(Point{1, 2.5}), R"({"x":1,"y":2.5})");
    EXPECT_EQ(JSONEncoder().encode(Point{.x = 1}), R"({"x":1})");
    EXPECT_EQ(failure<Point>(R"({"y": 2})"), DecodingErrorKind::keyNotFound);
    EXPECT_EQ(failure<Point>("[]"), DecodingErrorKind::typeMismatch);
}

TEST(Coding, SortsKeysWhenAskedTo) {
    struct Backwards {
        bool b;
        bool a;
        static constexpr auto fields() {
            return std::tuple(field("b", &Backwards::b), field("a", &Backwards::a));
        }
    };
    EXPECT_EQ(JSONEncoder().encode(Backwards{true, false}), R"({"b":true,"a":false})");
    EXPECT_EQ(JSONEncoder(JSONKeyOrder::ascendingBytes).encode(Backwards{true, false}),
              R"({"a":false,"b":true})");
}

TEST(Coding, MalformedTextIsCorruptAtTheTop) {
    for (const char* json : {"", "{", "nul", R"({"x": 1)", "{} {}", "\"\xff\"", R"("\ud800")"}) {
        EXPECT_EQ(failure<Point>(json), DecodingErrorKind::dataCorrupted) << json;
    }
    EXPECT_EQ(failure<Point>(std::string(100'000, '[')), DecodingErrorKind::dataCorrupted);
}

TEST(Coding, RefusesToEncodeWhatJSONCannotCarry) {
    for (const double number :
         {std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
          std::numeric_limits<double>::quiet_NaN()}) {
        try {
            JSONEncoder().encode(std::vector<Point>{{.x = 1}, {.x = 2, .y = number}});
            FAIL();
        } catch (const EncodingError& error) {
            EXPECT_THAT(error.codingPath(), testing::ElementsAre("[1]", "y"));
        }
    }
    EXPECT_THROW(JSONEncoder().encode(std::string("\xff")), EncodingError);
}

TEST(Coding, EveryKindOfDecodingErrorHasWordsOfItsOwn) {
    std::vector<std::string> all;
    for (const auto kind : {DecodingErrorKind::keyNotFound, DecodingErrorKind::valueNotFound,
                            DecodingErrorKind::typeMismatch, DecodingErrorKind::dataCorrupted}) {
        EXPECT_THAT(all, testing::Not(testing::Contains(words(kind))));
        all.emplace_back(words(kind));
        EXPECT_EQ(DecodingError(kind, {"a", "[0]", "b"}).what(), all.back() + " at a[0].b");
        EXPECT_EQ(DecodingError(kind, {}).what(), all.back() + " at the top level");
    }
}

TEST(Coding, AnElementThatWritesNothingIsLeftOut) {
    struct Silent {
        void encode(Encoder&) const {}
    };
    EXPECT_EQ(JSONEncoder().encode(std::vector<Silent>(2)), "[]");
    EXPECT_THROW(JSONEncoder().encode(Silent{}), EncodingError);
}

TEST(Coding, TellsWhetherAKeyIsThere) {
    struct Keys {
        bool hasA, hasB;
        static Keys decode(const Decoder& decoder) {
            const KeyedDecodingContainer container = decoder.container();
            return {container.contains("a"), container.contains("b")};
        }
    };
    const Keys keys = JSONDecoder().decode<Keys>(R"({"a": null})");
    EXPECT_TRUE(keys.hasA);
    EXPECT_FALSE(keys.hasB);
}

}  // namespace
}  // namespace platform
