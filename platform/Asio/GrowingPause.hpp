// SPDX-License-Identifier: Apache-2.0

#pragma once

// How long to leave alone what does not work: a second at first, each time twice as long, an hour at most. A
// plain value.

#include <algorithm>
#include <chrono>
#include <utility>

namespace platform {

class GrowingPause {
  public:
    static constexpr std::chrono::seconds shortest{1};
    static constexpr std::chrono::seconds longest{3600};

    std::chrono::seconds next() { return std::exchange(next_, std::min(next_ * 2, longest)); }
    void reset() { next_ = shortest; }

  private:
    std::chrono::seconds next_ = shortest;
};

}  // namespace platform
