// SPDX-License-Identifier: Apache-2.0

#include "host/reader/ShownState.hpp"

#include <algorithm>
#include <utility>

namespace host {

bool knowsNothingYet(const LiveState& state, std::string_view keychainShown) {
    // A host that has just begun may not know it yet.
    const bool isOfAnother = !state.keychain.empty() && state.keychain != keychainShown;
    return state.isPlaceholder && !state.trouble && !isOfAnother;
}

LiveState nothingKnown() {
    return {.entry = widget::placeholderEntry(platform::Date::now(), ""), .isPlaceholder = true};
}

void ShownState::take(LiveState state) {
    if (isLost_ && !state_.isPlaceholder && knowsNothingYet(state, state_.keychain)) return;
    state_ = std::move(state);
    isLost_ = false;
}

void ShownState::lose(platform::Date now) {
    if (!std::exchange(isLost_, true) && !state_.isPlaceholder && !state_.asOf) state_.asOf = now;
    // By a clock that was set back it would be of a time to come, and kept for longer.
    if (state_.asOf) state_.asOf = std::min(*state_.asOf, now);
    if (state_.asOf && now >= state_.asOf->addingTimeInterval(LiveState::longestKept))
        state_ = nothingKnown();
}

}  // namespace host
