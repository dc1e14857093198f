// SPDX-License-Identifier: Apache-2.0

#pragma once

// Dates to text and back by an ICU pattern, with lenient parsing off. The ICU formatter behind it is made on
// first use in each ambient locale (the first costs about a millisecond). Every member may be called from any
// thread; calls on one formatter take turns.

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Calendar/TimeZone.hpp"
#include "platform/Date/Date.hpp"

namespace platform {

class DateFormatter {
  public:
    /// Formats and parses in the ambient zone and locale at the time of each call.
    explicit DateFormatter(std::string pattern);
    /// The same in a fixed zone.
    DateFormatter(std::string pattern, TimeZone zone);
    ~DateFormatter();
    DateFormatter(DateFormatter&&) noexcept;
    DateFormatter& operator=(DateFormatter&&) noexcept;

    std::string string(Date date) const;
    /// Nothing unless the whole of `text` follows the pattern.
    std::optional<Date> date(std::string_view text) const;

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace platform
