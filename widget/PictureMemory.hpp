// SPDX-License-Identifier: Apache-2.0

#pragma once

// What became of the pictures that were read lately: their bytes, or that they could not be had, so that the
// next drawing of the same entry neither asks nor waits for them again. Bounded in number, bytes and time.
// Safe from any thread.

#include <chrono>
#include <cstddef>
#include <deque>
#include <mutex>
#include <optional>
#include <string>

#include "platform/URL/URL.hpp"

namespace widget {

class PictureMemory {
  public:
    using TimePoint = std::chrono::steady_clock::time_point;

    /// URLs, and bytes in all, the URLs' own included. Beyond either, the oldest goes.
    static constexpr std::size_t mostURLs = 64;
    static constexpr std::size_t mostBytes = std::size_t{8} << 20;
    /// A longer picture is not kept: it would take the place of all others.
    static constexpr std::size_t mostBytesOfOne = std::size_t{2} << 20;
    /// How long a picture is kept, and how long one that failed is not asked for again: the drawings of one
    /// command fall into that, and a network that comes back is soon noticed.
    static constexpr std::chrono::seconds ageOfPicture = std::chrono::minutes(5);
    static constexpr std::chrono::seconds ageOfFailure = std::chrono::minutes(1);

    /// A picture's bytes, or nothing for one that could not be had.
    using Outcome = std::optional<std::string>;

    /// Nothing for a URL of which nothing is known.
    std::optional<Outcome> outcome(const platform::URL& url,
                                   TimePoint now = std::chrono::steady_clock::now()) const;
    void note(const platform::URL& url, const Outcome& outcome,
              TimePoint now = std::chrono::steady_clock::now());

  private:
    struct Entry {
        platform::URL url;
        Outcome outcome;
        TimePoint since;
    };
    static std::size_t bytes(const Entry& entry);
    void forget(const platform::URL& url);
    void forgetOldest();

    mutable std::mutex mutex_;
    std::deque<Entry> entries_;  // the oldest first
    std::size_t bytes_ = 0;
};

}  // namespace widget
