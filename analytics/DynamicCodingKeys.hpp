#pragma once

// A key that is known only when it is written: a dictionary's name or an array's index. A plain value.

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace analytics {

struct DynamicCodingKeys {
    std::string stringValue;
    std::optional<std::size_t> intValue = {};

    static DynamicCodingKeys name(std::string name) { return {.stringValue = std::move(name)}; }
    static DynamicCodingKeys index(std::size_t index) {
        return {.stringValue = "Index " + std::to_string(index), .intValue = index};
    }

    bool operator==(const DynamicCodingKeys&) const = default;
};

/// The keys that lead from a document's root to one of its containers.
using CodingPath = std::vector<DynamicCodingKeys>;

}  // namespace analytics
