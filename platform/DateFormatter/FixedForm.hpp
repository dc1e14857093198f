// SPDX-License-Identifier: Apache-2.0

#pragma once

// The one date form that every reply of a server is full of, "2024-05-01T14:00:00+0200", read without ICU.
// What is read here is what ICU would read; what is not read here may still be a date to ICU. Safe from any
// thread.

#include <optional>
#include <string_view>

#include "platform/Date/Date.hpp"

namespace platform {

struct FixedForm {
    static constexpr std::string_view pattern = "yyyy-MM-dd'T'HH:mm:ssZ";

    /// Whether a locale counts in ASCII digits and by the Gregorian calendar; false when that is not known
    /// for sure.
    static bool holdsIn(std::string_view localeIdentifier);

    /// Nothing unless `text` is exactly of this form, from the year 1583 on.
    static std::optional<Date> parse(std::string_view text);
};

}  // namespace platform
