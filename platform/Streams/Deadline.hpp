// SPDX-License-Identifier: Apache-2.0

#pragma once

// By when something must be over, all its waits together. A plain value.

#include <chrono>
#include <string>

namespace platform {

class Deadline {
  public:
    using TimePoint = std::chrono::steady_clock::time_point;

    /// `limit` from now, by a clock that nobody can set.
    explicit Deadline(std::chrono::milliseconds limit);

    /// The nearer of this one and one that is `limit` from now.
    Deadline within(std::chrono::milliseconds limit) const;

    TimePoint end() const { return end_; }
    /// What is left of it; 0 once it has passed.
    std::chrono::milliseconds rest() const;
    /// What it was made with, as a person reads it: "150 s", "300 ms".
    std::string limitInWords() const;

  private:
    std::chrono::milliseconds limit_;
    TimePoint end_;
};

}  // namespace platform
