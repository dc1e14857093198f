// SPDX-License-Identifier: Apache-2.0

#pragma once

// A live host's state as lines for a terminal. Pure, but for the zone of the process, which the hour is told
// in.

#include <string>

#include "host/protocol/LiveState.hpp"
#include "host/widget/TerminalStyle.hpp"

namespace host {

/// The entry, and a line with the remark below it. Of a placeholder nothing is shown but that it is one.
std::string liveTerminalView(const LiveState& state, const TerminalStyle& style, platform::Date now);

}  // namespace host
