// SPDX-License-Identifier: Apache-2.0

#pragma once

// A scenario: what the account server knows of one sample person, read from a data file. docs/sandbox.md says
// how such a file is written.

#include <boost/json/value.hpp>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sandbox/DateRule.hpp"

namespace sandbox {

/// What becomes of the token pair that a sample person signs in with.
enum class TokenStanding { valid, refused };

/// What the rules of a scenario are told from.
struct ScenarioContext {
    WallTime now;
    std::string baseURL;
    int maximumImageSize;
};

struct Scenario {
    std::string name;
    TokenStanding accessToken = TokenStanding::valid;
    TokenStanding refreshToken = TokenStanding::valid;
    boost::json::array items = {};
    /// Sent word for word in place of an answer.
    std::optional<boost::json::value> reply = std::nullopt;

    /// `nameOrFile` with a slash or a file ending is a file, else the name of one in `folder`. Every rule is
    /// tried once, so that a scenario that loads can be served. Throws Error.
    static Scenario load(std::string_view nameOrFile, const std::filesystem::path& folder);

    /// The first ten items; more than ten are shown ten at a time, from one request to the next, and then
    /// again.
    boost::json::array page(std::size_t requestIndex, const ScenarioContext& context) const;
};

/// `value` with every rule in it replaced by what it stands for: {"$now": SHIFT, "at": HH:MM}, {"$picture":
/// NAME},
/// {"$url": PATH} and {"$repeat": TEXT, "times": N}. Throws Error.
boost::json::value resolved(const boost::json::value& value, const ScenarioContext& context);

}  // namespace sandbox
