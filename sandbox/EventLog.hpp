// SPDX-License-Identifier: Apache-2.0

#pragma once

// What came in: every request in short, and every analytics event with its headers and body. A credential is
// never kept; a short hash of it stands in its place. The log keeps the latest 20,000 of each kind.
// Not for use from several threads.

#include <boost/json/value.hpp>
#include <chrono>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>

#include "sandbox/Message.hpp"

namespace sandbox {

class EventLog {
  public:
    void noteRequest(const Request& request, std::string_view operation, std::string_view outcome);
    /// `refusal` is empty for an event that was accepted.
    void noteEvent(const Request& request, std::string_view refusal);

    /// {"events": [...], "requests": [...], "eventCount": n, "requestCount": n}, oldest first.
    boost::json::value contents() const;

  private:
    std::deque<boost::json::value> requests_;
    std::deque<boost::json::value> events_;
    std::uint64_t requestCount_ = 0;
    std::uint64_t eventCount_ = 0;
};

/// As in 2026-01-31T10:00:00.123Z.
std::string timestamp(std::chrono::system_clock::time_point time);

/// The first eight digits of the text's SHA-256.
std::string shortHash(std::string_view text);

}  // namespace sandbox
