// SPDX-License-Identifier: Apache-2.0

#pragma once

// The wait for what somebody else holds.

#include <chrono>
#include <thread>

namespace platform {

struct Patience {
    std::chrono::milliseconds inAll;
    std::chrono::milliseconds pause;

    /// Whether `attempt` said true: it is made at once and after every pause, for the last time when the
    /// patience is at its end. Blocks the thread.
    template <typename Attempt>
    bool suffices(Attempt attempt) const {
        // Counted in pauses and not by the clock: who holds it stood still as long as the machine did.
        for (auto left = inAll; !attempt(); left -= pause) {
            if (left <= std::chrono::milliseconds(0)) return false;
            std::this_thread::sleep_for(pause);
        }
        return true;
    }
};

}  // namespace platform
