// SPDX-License-Identifier: Apache-2.0

#pragma once

// What stands beside a live host's entry, in few words. Pure functions, but for the zone of the process,
// which the hour is told in.

#include <optional>
#include <string>

#include "host/protocol/LiveState.hpp"

namespace host {

/// "as of 14:05", of another day "as of 21 Nov 14:05".
std::string asOfText(platform::Date asOf, platform::Date now);

/// What a person is told beside the entry: "as of 14:05: the server cannot be reached"; nothing where all is
/// well.
std::optional<std::string> liveRemark(const LiveState& state, platform::Date now);

}  // namespace host
