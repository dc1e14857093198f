// SPDX-License-Identifier: Apache-2.0

#include "platform/Files/ShellWord.hpp"

namespace platform {

std::string shellQuoted(std::string_view text) {
    std::string quoted = "'";
    for (const char character : text) {
        if (character == '\'')
            quoted += "'\\''";
        else
            quoted += character;
    }
    return quoted + "'";
}

std::string shellWord(std::string_view text) {
    constexpr std::string_view plain =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789/._-+:@,%";
    const bool isPlain = text.find_first_not_of(plain) == std::string_view::npos;
    return isPlain ? std::string(text) : shellQuoted(text);
}

}  // namespace platform
