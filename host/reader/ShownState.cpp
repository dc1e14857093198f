// SPDX-License-Identifier: Apache-2.0

#include "host/reader/ShownState.hpp"

#include <algorithm>
#include <utility>

namespace host {

void ShownState::take(LiveState state) {
    const bool knowsNothingYet = state.isPlaceholder && !state.trouble;
    const bool showsLess = isLost_ && knowsNothingYet && !state_.isPlaceholder;
    // A host says what changed: once more the same is said of somebody else.
    if (showsLess && !std::exchange(hasPassedOver_, true)) return;
    state_ = std::move(state);
    isLost_ = false;
}

void ShownState::lose(platform::Date now) {
    hasPassedOver_ = false;
    if (!std::exchange(isLost_, true) && !state_.isPlaceholder && !state_.asOf) state_.asOf = now;
    // By a clock that was set back it would be of a time to come, and kept for longer.
    if (state_.asOf) state_.asOf = std::min(*state_.asOf, now);
    if (state_.asOf && now >= state_.asOf->addingTimeInterval(LiveState::longestKept)) state_ = nothing();
}

}  // namespace host
