// SPDX-License-Identifier: Apache-2.0

#include "platform/Text/ASCII.hpp"

#include <gtest/gtest.h>

namespace platform {
namespace {

TEST(ASCII, ChangesTheCaseOfItsLettersAndOfNothingElse) {
    for (int byte = 0; byte < 256; ++byte) {
        const auto character = static_cast<char>(byte);
        const bool isUpper = byte >= 'A' && byte <= 'Z', isLower = byte >= 'a' && byte <= 'z';
        EXPECT_EQ(lowercasedASCII(character), isUpper ? static_cast<char>(byte + 32) : character) << byte;
        EXPECT_EQ(uppercasedASCII(character), isLower ? static_cast<char>(byte - 32) : character) << byte;
        EXPECT_EQ(isASCIILetter(character), isUpper || isLower) << byte;
        EXPECT_EQ(isASCIIDigit(character), byte >= '0' && byte <= '9') << byte;
    }
    EXPECT_EQ(lowercasedASCII(std::string_view("ÄZ[@")), "Äz[@");
}

TEST(ASCII, ReadsHexadecimalDigitsOfEitherCase) {
    const std::string_view digits = "0123456789abcdef";
    for (int byte = 0; byte < 256; ++byte) {
        const auto character = static_cast<char>(byte);
        const auto value = digits.find(lowercasedASCII(character));
        EXPECT_EQ(hexadecimalDigit(character), value == digits.npos ? -1 : static_cast<int>(value)) << byte;
        EXPECT_EQ(isHexadecimalDigit(character), value != digits.npos) << byte;
    }
}

TEST(ASCII, ComparesWithoutCase) {
    EXPECT_TRUE(equalsWithoutCase("Content-Type", "content-tYPE"));
    EXPECT_TRUE(equalsWithoutCase("", ""));
    for (const char* other : {"", "Content-Typ", "Content-Types", "Content_Type", "Content-Typé"})
        EXPECT_FALSE(equalsWithoutCase("Content-Type", other)) << other;
    EXPECT_FALSE(equalsWithoutCase("[", "{"));
}

TEST(ASCII, TrimsBothEndsAndNothingBetween) {
    EXPECT_EQ(trimmed(" \r\n\ta b\t "), "a b");
    EXPECT_EQ(trimmed("ab"), "ab");
    EXPECT_EQ(trimmed(" \t"), "");
    EXPECT_EQ(trimmed(""), "");
    EXPECT_EQ(trimmed("\n a\n", " "), "\n a\n");
}

}  // namespace
}  // namespace platform
