// SPDX-License-Identifier: Apache-2.0

#pragma once

// Questions about text that ASCII alone can answer, as wire formats put them. Other bytes stand for
// themselves. Pure functions, safe from any thread.

#include <algorithm>
#include <string>
#include <string_view>

namespace platform {

constexpr char lowercasedASCII(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

constexpr char uppercasedASCII(char character) {
    return character >= 'a' && character <= 'z' ? static_cast<char>(character - 'a' + 'A') : character;
}

constexpr bool isASCIILetter(char character) {
    return lowercasedASCII(character) >= 'a' && lowercasedASCII(character) <= 'z';
}

constexpr bool isASCIIDigit(char character) {
    return character >= '0' && character <= '9';
}

/// 0 to 15, in either case; -1 for any other character.
constexpr int hexadecimalDigit(char character) {
    if (isASCIIDigit(character)) return character - '0';
    const char lower = lowercasedASCII(character);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

constexpr bool isHexadecimalDigit(char character) {
    return hexadecimalDigit(character) >= 0;
}

constexpr bool equalsWithoutCase(std::string_view first, std::string_view second) {
    return std::equal(first.begin(), first.end(), second.begin(), second.end(),
                      [](char a, char b) { return lowercasedASCII(a) == lowercasedASCII(b); });
}

inline std::string lowercasedASCII(std::string_view text) {
    std::string result(text);
    for (char& character : result) character = lowercasedASCII(character);
    return result;
}

/// `text` without any of `blanks` at its ends.
constexpr std::string_view trimmed(std::string_view text, std::string_view blanks = " \t\r\n") {
    const auto first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

}  // namespace platform
