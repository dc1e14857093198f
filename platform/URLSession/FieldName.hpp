#pragma once

// Names of HTTP header fields compare without case, in ASCII (RFC 9110 section 5.1). Pure functions.

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/URLSession/URLRequest.hpp"

namespace platform {

constexpr char lowercasedASCII(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

constexpr bool isSameFieldName(std::string_view first, std::string_view second) {
    return std::equal(first.begin(), first.end(), second.begin(), second.end(),
                      [](char a, char b) { return lowercasedASCII(a) == lowercasedASCII(b); });
}

inline std::optional<std::string> fieldValue(const std::vector<HTTPHeaderField>& fields,
                                             std::string_view name) {
    for (const HTTPHeaderField& field : fields) {
        if (isSameFieldName(field.name, name)) return field.value;
    }
    return std::nullopt;
}

}  // namespace platform
