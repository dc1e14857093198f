// SPDX-License-Identifier: Apache-2.0

#pragma once

// A key that is known only when it is written: a dictionary's name or an array's index. A plain value.

#include <cstddef>
#include <optional>
#include <string>
#include <utility>

#include "platform/JSON/CodingPath.hpp"

namespace analytics {

struct DynamicCodingKeys {
    std::string stringValue;
    std::optional<std::size_t> intValue = {};

    static DynamicCodingKeys name(std::string name) { return {.stringValue = std::move(name)}; }
    static DynamicCodingKeys index(std::size_t index) {
        return {.stringValue = "Index " + std::to_string(index), .intValue = index};
    }

    /// The link of this key in a path, which lives no longer than the key and `parent`.
    platform::CodingPath after(const platform::CodingPath& parent) const {
        if (intValue) return {parent, *intValue};
        return {parent, stringValue};
    }

    bool operator==(const DynamicCodingKeys&) const = default;
};

}  // namespace analytics
