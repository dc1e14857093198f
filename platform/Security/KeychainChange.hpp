// SPDX-License-Identifier: Apache-2.0

#pragma once

// A change of one item, for a store that gathers changes before it makes them. Plain values.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Security/KeychainItem.hpp"

namespace platform {

struct KeychainChange;
using KeychainChanges = std::vector<KeychainChange>;

struct KeychainChange {
    /// Nothing when `after` is new.
    std::optional<KeychainItem> before;
    /// Nothing when `before` is erased.
    std::optional<KeychainItem> after;

    /// As if it had been made in a store that holds `items`. Made twice it does what it does once.
    void applyTo(std::vector<KeychainItem>& items) const;

    /// Changes as bytes, and back. Decoding throws KeychainFailure for bytes that are not whole.
    static std::string encoded(const KeychainChanges& changes);
    static KeychainChanges decoded(std::string_view bytes);

    bool operator==(const KeychainChange&) const = default;
};

}  // namespace platform
