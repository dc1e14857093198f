// SPDX-License-Identifier: Apache-2.0

#include "platform/JSON/JSONSerialization.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

namespace platform {
namespace {

namespace json = boost::json;

std::string rewritten(std::string_view text, JSONKeyOrder order = JSONKeyOrder::asStored) {
    try {
        return JSONSerialization::dataWithJSONObject(JSONSerialization::JSONObjectWithData(text), order);
    } catch (const JSONError&) {
        return "error";
    }
}

TEST(JSONReading, TakesEveryKindOfValue) {
    struct Row {
        std::string_view text, written;
    };
    for (const auto& [text, written] : {
             Row{"null", "null"},
             Row{" true ", "true"},
             Row{"\t[ 1 , \"a\" ,\n{ } ]\r\n", "[1,\"a\",{}]"},
             Row{"{\"b\":1,\"a\":{\"c\":[]}}", "{\"b\":1,\"a\":{\"c\":[]}}"},
             Row{"\"\\u00e9\\ud83d\\udce6\\/\\n\"", "\"é📦/\\n\""},
             Row{"\"\\u0000\"", "\"\\u0000\""},
             Row{"\xEF\xBB\xBF[]", "[]"},
             Row{"9223372036854775807", "9223372036854775807"},
             Row{"-9223372036854775808", "-9223372036854775808"},
             Row{"18446744073709551615", "18446744073709551615"},
             Row{"18446744073709551616", "1.8446744073709552e+19"},
             Row{"1.0", "1"},
             Row{"100000.0", "100000"},
             Row{"-0.0", "-0.0"},
             Row{"1e2", "100"},
             Row{"1e-400", "0"},
             Row{"0.1", "0.1"},
             Row{"5e-324", "5e-324"},
             Row{"1.7976931348623157e308", "1.7976931348623157e+308"},
             Row{"123456789.123456789123456789e3", "123456789123.45679"},
         })
        EXPECT_EQ(rewritten(text), written) << text;
}

TEST(JSONReading, TakesNothingMalformed) {
    for (const std::string_view text : {"",
                                        " ",
                                        "nul",
                                        "tru",
                                        "[1,]",
                                        "{\"a\":1,}",
                                        "{a:1}",
                                        "{\"a\"}",
                                        "[1",
                                        "\"a",
                                        "1 2",
                                        "[1]]",
                                        "01",
                                        "+1",
                                        "1.",
                                        ".5",
                                        "1e",
                                        "-",
                                        "NaN",
                                        "Infinity",
                                        "1e400",
                                        "-1e400",
                                        "'a'",
                                        "// x\n1",
                                        "\"\\x\"",
                                        "\"\\u12\"",
                                        "\"a\nb\"",
                                        "\"\\ud800\"",
                                        "\"\\udc00\"",
                                        "\"\\ud800x\"",
                                        "\"\\ud800\\ud800\"",
                                        "\"\xFF\"",
                                        "\"\xC0\x80\"",
                                        "\"\xED\xA0\x80\"",
                                        "{\"\xFF\":1}",
                                        "\xFE\xFF",
                                        "<html>"})
        EXPECT_EQ(rewritten(text), "error") << text;
    EXPECT_EQ(rewritten(std::string_view("1\0", 2)), "error");
    EXPECT_EQ(rewritten(std::string_view("\"a\0b\"", 5)), "error");
}

TEST(JSONReading, CountsTheLastOfDuplicateNames) {
    EXPECT_EQ(rewritten(R"({"a":1,"b":2,"a":3})", JSONKeyOrder::ascendingBytes), R"({"a":3,"b":2})");
}

std::string nested(std::size_t depth, char open, char close) {
    return std::string(depth, open) + std::string(depth, close);
}

TEST(JSONReading, GoesAsDeepAsTheLimitAndNoDeeper) {
    constexpr auto limit = JSONSerialization::maximumDepth;
    EXPECT_EQ(rewritten(nested(limit, '[', ']')), nested(limit, '[', ']'));
    EXPECT_EQ(rewritten(nested(limit + 1, '[', ']')), "error");
    EXPECT_EQ(rewritten(nested(100'000, '[', ']')), "error");
    EXPECT_EQ(rewritten(std::string(1'000'000, '[')), "error");
    std::string objects;
    for (std::size_t i = 0; i < 100'000; ++i) objects += "{\"a\":";
    EXPECT_EQ(rewritten(objects), "error");
}

TEST(JSONReading, NeverQuotesTheText) {
    try {
        JSONSerialization::JSONObjectWithData("secret-token");
        FAIL();
    } catch (const JSONError& error) {
        EXPECT_EQ(std::string(error.what()).find("secret"), std::string::npos);
    }
}

TEST(JSONReading, NeverTripsOverMutatedTexts) {
    std::mt19937 random(5);
    const std::string original =
        R"({"data":{"items":[{"id":"D-1","n":-12.5e3,"x":null},true,"\ud83d\udce6é"]}})";
    for (int i = 0; i < 20'000; ++i) {
        auto text = original;
        for (int change = 0; change < 3; ++change)
            text[random() % text.size()] = static_cast<char>(random() % 256);
        const auto once = rewritten(text);
        ASSERT_EQ(rewritten(once), once);
    }
}

TEST(JSONNumbers, SurviveBitByBit) {
    std::mt19937_64 random(6);
    for (int i = 0; i < 50'000; ++i) {
        const auto bits = random();
        double value = 0;
        std::memcpy(&value, &bits, sizeof value);
        if (!std::isfinite(value)) continue;
        const auto text = JSONSerialization::dataWithJSONObject(value);
        const auto read = JSONSerialization::JSONObjectWithData(text);
        ASSERT_EQ(read.to_number<double>(), value) << text;
    }
}

TEST(JSONNumbers, OfClocksSurviveBitByBit) {
    std::mt19937_64 random(7);
    std::uniform_real_distribution<double> clock(0, 2e9);
    for (int i = 0; i < 50'000; ++i) {
        const double value = clock(random);
        const auto text = JSONSerialization::dataWithJSONObject(value);
        ASSERT_EQ(JSONSerialization::JSONObjectWithData(text).to_number<double>(), value) << text;
        ASSERT_EQ(text.find('e'), std::string::npos) << text;
    }
}

TEST(JSONWriting, SortsKeysByBytesAtEveryLevel) {
    EXPECT_EQ(rewritten(R"({"b":{"z":1,"a":2},"B":[{"y":1,"x":2}],"é":3,"a_b":4,"aB":5})",
                        JSONKeyOrder::ascendingBytes),
              R"({"B":[{"x":2,"y":1}],"aB":5,"a_b":4,"b":{"a":2,"z":1},"é":3})");
}

TEST(JSONWriting, EscapesWhatATextMayNotHold) {
    std::string everyControl;
    for (char c = 0; c < 0x20; ++c) everyControl += c;
    const json::value value = json::string(everyControl + "\"\\/\x7F");
    EXPECT_EQ(
        JSONSerialization::dataWithJSONObject(value),
        "\"\\u0000\\u0001\\u0002\\u0003\\u0004\\u0005\\u0006\\u0007\\b\\t\\n\\u000b\\f\\r\\u000e\\u000f"
        "\\u0010\\u0011\\u0012\\u0013\\u0014\\u0015\\u0016\\u0017\\u0018\\u0019\\u001a\\u001b\\u001c\\u001d"
        "\\u001e\\u001f\\\"\\\\/\x7F\"");
}

TEST(JSONWriting, WritesNumbersAsAReaderWould) {
    struct Row {
        double value;
        std::string_view text;
    };
    for (const auto& [value, text] : {
             Row{0, "0"},
             Row{1, "1"},
             Row{-1.5, "-1.5"},
             Row{800'000'000, "800000000"},
             Row{738'763'200.123, "738763200.123"},
             Row{1e15, "1000000000000000"},
             Row{1e16, "10000000000000000"},
             Row{1e17, "1e+17"},
             Row{0.0001, "0.0001"},
             Row{0.00001, "1e-05"},
             Row{0.6, "0.6"},
             Row{0.30000000000000004, "0.30000000000000004"},
         })
        EXPECT_EQ(JSONSerialization::dataWithJSONObject(value), text);
}

TEST(JSONWriting, RefusesWhatJSONCannotCarry) {
    const auto infinity = std::numeric_limits<double>::infinity();
    const json::value unwritable[] = {
        json::array{infinity},
        json::array{-infinity},
        json::array{std::nan("")},
        "\xFF",
        json::object{{"\xED\xA0\x80", 1}},
        json::object{{"a", json::array{1, json::object{{"b", "\xFF"}}}}},
    };
    for (const auto& value : unwritable) {
        EXPECT_THROW(JSONSerialization::dataWithJSONObject(value), JSONError);
        EXPECT_THROW(JSONSerialization::requireWritable(value), JSONError);
    }
    JSONSerialization::requireWritable({{"é", {1, -1.5, nullptr, true, "text", json::object()}}});
}

}  // namespace
}  // namespace platform
