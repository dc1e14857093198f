// SPDX-License-Identifier: Apache-2.0

#include "VelaApi/Sources/VelaApi/DorvoSupport/GraphID.hpp"

#include <gtest/gtest.h>

#include <sstream>
#include <unordered_set>

namespace VelaApi {
namespace {

GraphID decodedID(std::string_view json) {
    return platform::JSONDecoder().decode<GraphID>(json);
}

TEST(GraphID, DecodesFromAStringAndEncodesBackToIt) {
    EXPECT_EQ(decodedID(R"("D-1")"), GraphID("D-1"));
    EXPECT_EQ(platform::JSONEncoder().encode(GraphID("D-1")), R"("D-1")");
}

TEST(GraphID, DecodesFromNothingButAString) {
    for (const char* json :
         {"1", "1.5", "true", "null", "[]", "{}", R"({"rawValue": "D-1"})", R"(["D-1"])"}) {
        EXPECT_THROW(decodedID(json), platform::DecodingError) << json;
    }
}

TEST(GraphID, KeepsOddCharacters) {
    for (const std::string& text :
         {std::string(), std::string("with space"), std::string("\"quotes\" and \\"),
          std::string("line\nbreak"), std::string("📦"), std::string("gid://orders/1?x=%20#y"),
          std::string("a\0b", 3)}) {
        const GraphID identifier(text);
        EXPECT_EQ(identifier.rawValue(), text);
        EXPECT_EQ(decodedID(platform::JSONEncoder().encode(identifier)), identifier) << text;
    }
}

TEST(GraphID, OfAnAbsentTextIsAbsent) {
    EXPECT_EQ(GraphID::fromRawValue(std::nullopt), std::nullopt);
    EXPECT_EQ(GraphID::fromRawValue("D-1"), GraphID("D-1"));
    EXPECT_EQ(GraphID::fromRawValue(""), GraphID(""));
}

TEST(GraphID, ComparesAndHashesByItsText) {
    const std::unordered_set<GraphID> identifiers = {"a", "b", "a"};
    EXPECT_EQ(identifiers.size(), 2U);
    EXPECT_EQ(std::hash<GraphID>()("a"), std::hash<GraphID>()(GraphID(std::string("a"))));
    EXPECT_NE(GraphID("a"), GraphID("A"));
    EXPECT_LT(GraphID("a"), GraphID("b"));
}

TEST(GraphID, PrintsAsItsTextAlone) {
    std::ostringstream stream;
    stream << GraphID("D-1");
    EXPECT_EQ(stream.str(), "D-1");
}

}  // namespace
}  // namespace VelaApi
