// SPDX-License-Identifier: Apache-2.0

#pragma once

// What a reader shows while live hosts come and go: a host that has just begun knows nothing yet, and that is
// no reason to show less than before. A plain value.

#include <string_view>

#include "host/protocol/LiveState.hpp"

namespace host {

/// Whether that is what a host that has just begun in place of another says of the sign-in to which what is
/// shown belongs, by the version of the keychain: no reason to show less.
bool knowsNothingYet(const LiveState& state, std::string_view keychainShown);

/// A placeholder, of now.
LiveState nothingKnown();

class ShownState {
  public:
    void take(LiveState state);
    /// There is no host: what is shown was true until now. Said again and again, it is kept for a day at
    /// most.
    void lose(platform::Date now);

    /// A placeholder before anything is known.
    const LiveState& state() const { return state_; }

  private:
    LiveState state_ = nothingKnown();
    bool isLost_ = false;
};

}  // namespace host
