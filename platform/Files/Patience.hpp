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
        const auto deadline = std::chrono::steady_clock::now() + inAll;
        while (!attempt()) {
            if (std::chrono::steady_clock::now() >= deadline) return false;
            std::this_thread::sleep_for(pause);
        }
        return true;
    }
};

}  // namespace platform
