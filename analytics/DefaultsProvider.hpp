// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <concepts>

#include "platform/UserDefaults/UserDefaults.hpp"

namespace analytics {

/// A source of stored defaults.
template <typename Source>
concept DefaultsProvider = requires(const Source& source) {
    { source.store() } -> std::convertible_to<const platform::UserDefaults&>;
};

}  // namespace analytics
