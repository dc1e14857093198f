// SPDX-License-Identifier: Apache-2.0

#pragma once

// Header fields by their names, which compare without case, in ASCII (RFC 9110 section 5.1). Pure functions.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Text/ASCII.hpp"
#include "platform/URLSession/URLRequest.hpp"

namespace platform {

inline std::optional<std::string> fieldValue(const std::vector<HTTPHeaderField>& fields,
                                             std::string_view name) {
    for (const HTTPHeaderField& field : fields) {
        if (equalsWithoutCase(field.name, name)) return field.value;
    }
    return std::nullopt;
}

}  // namespace platform
