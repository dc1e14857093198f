// SPDX-License-Identifier: Apache-2.0

#include "sandbox/Message.hpp"

#include <charconv>

namespace sandbox {

std::string_view Request::path() const {
    return std::string_view(target).substr(0, target.find('?'));
}

std::optional<int> Request::number(std::string_view parameter) const {
    std::string_view rest = std::string_view(target).substr(path().size());
    while (!rest.empty()) {
        rest.remove_prefix(1);
        const std::string_view pair = rest.substr(0, rest.find('&'));
        rest.remove_prefix(pair.size());
        const std::size_t equals = pair.find('=');
        if (equals == std::string_view::npos || pair.substr(0, equals) != parameter) continue;
        const std::string_view digits = pair.substr(equals + 1);
        int number = 0;
        const auto end = std::from_chars(digits.data(), digits.data() + digits.size(), number);
        if (end.ec == std::errc() && end.ptr == digits.data() + digits.size()) return number;
    }
    return std::nullopt;
}

std::optional<std::string_view> Request::value(std::string_view field) const {
    for (const HeaderField& header : headers) {
        if (equalsWithoutCase(header.name, field)) return header.value;
    }
    return std::nullopt;
}

}  // namespace sandbox
