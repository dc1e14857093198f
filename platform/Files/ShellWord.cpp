// SPDX-License-Identifier: Apache-2.0

#include "platform/Files/ShellWord.hpp"

#include <string_view>

namespace platform {

std::string shellWord(const std::string& text) {
    constexpr std::string_view plain =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789/._-+:@,";
    if (text.find_first_not_of(plain) == std::string::npos) return text;
    std::string word = "'";
    for (const char character : text) {
        if (character == '\'')
            word += "'\\''";
        else
            word += character;
    }
    return word + "'";
}

}  // namespace platform
