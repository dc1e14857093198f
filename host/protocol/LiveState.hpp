// SPDX-License-Identifier: Apache-2.0

#pragma once

// What a live host shows: the one answer to all of its readers. A plain value.

#include <optional>
#include <string_view>

#include "platform/Date/Date.hpp"
#include "widget/SimpleEntry.hpp"

namespace host {

/// Why what is shown is not what the server has.
enum class LiveTrouble {
    serverUnreachable,
    signInExpired,
    keychainLocked,
    keychainUnreadable,
    extensionFailed,
};
std::string_view name(LiveTrouble trouble);

struct LiveState {
    widget::SimpleEntry entry;
    /// Nothing is known yet: the entry is the placeholder, to be drawn redacted.
    bool isPlaceholder = false;
    /// When the entry was true, where it is kept through a failure.
    std::optional<platform::Date> asOf = std::nullopt;
    std::optional<LiveTrouble> trouble = std::nullopt;
};

}  // namespace host
