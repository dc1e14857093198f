// SPDX-License-Identifier: Apache-2.0

#pragma once

// What a reader shows while live hosts come and go: a host that has just begun knows nothing yet, and that is
// no reason to show less than before. A plain value.

#include <optional>

#include "host/protocol/LiveState.hpp"

namespace host {

class ShownState {
  public:
    void take(LiveState state);
    /// There is no host: what is shown was true until now. Said again and again, it is kept for a day at
    /// most.
    void lose(platform::Date now);

    /// A placeholder before anything is known.
    const LiveState& state() const { return state_; }

  private:
    static LiveState nothing() {
        return {.entry = widget::placeholderEntry(platform::Date::now(), ""), .isPlaceholder = true};
    }

    LiveState state_ = nothing();
    bool isLost_ = false;
    /// The present host's first state that knew nothing.
    bool hasPassedOver_ = false;
};

}  // namespace host
