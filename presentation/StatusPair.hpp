// SPDX-License-Identifier: Apache-2.0

#pragma once

// The one or two status lines of a package. A plain value.

#include <optional>
#include <string>

namespace presentation {

struct StatusPair {
    std::string primary;
    /// Absent: the package has one line only.
    std::optional<std::string> secondary = std::nullopt;

    bool operator==(const StatusPair&) const = default;
};

}  // namespace presentation
