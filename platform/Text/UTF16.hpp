// SPDX-License-Identifier: Apache-2.0

#pragma once

// Text to ICU's form and back. For source files that use ICU. Pure functions, safe from any thread;
// ill-formed bytes are read as U+FFFD.

#include <unicode/unistr.h>

#include <string>
#include <string_view>

namespace platform {

inline icu::UnicodeString utf16(std::string_view text) {
    return icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int>(text.size())));
}

inline std::string utf8(const icu::UnicodeString& text) {
    std::string result;
    text.toUTF8String(result);
    return result;
}

}  // namespace platform
