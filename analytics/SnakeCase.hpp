// SPDX-License-Identifier: Apache-2.0

#pragma once

// camelCase names to snake_case, in the two ways that a payload's names pass through. Pure functions.

#include <optional>
#include <string>
#include <string_view>

#include "platform/RegularExpression/RegularExpression.hpp"

namespace analytics {

/// The two expressions of `snakeCased`; one that does not compile is absent.
struct SnakeCaseExpressions {
    /// A run of capitals before a capitalised word or a digit.
    std::optional<platform::RegularExpression> capitals;
    /// A capital after a small letter or a digit.
    std::optional<platform::RegularExpression> words;

    static const SnakeCaseExpressions& standard();
};

/// Both expressions look at as many UTF-16 units as `key` has characters; what lies behind is only put in
/// lower case. Without the first expression, and without the second, so is the whole of `key`.
std::string snakeCased(std::string_view key,
                       const SnakeCaseExpressions& expressions = SnakeCaseExpressions::standard());

/// The encoder's own rule, which every name passes on its way out: words begin at a capital behind the first
/// character, a run of capitals is a word up to the capital before the next small letter. Letters are those
/// of ASCII.
std::string encoderSnakeCased(std::string_view key);

}  // namespace analytics
