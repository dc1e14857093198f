// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Readers/LiveTerminalView.hpp"

#include "host/reader/LiveRemark.hpp"
#include "host/widget/TerminalView.hpp"

namespace host {

std::string liveTerminalView(const LiveState& state, const TerminalStyle& style, platform::Date now) {
    const auto remark = liveRemark(state, now);
    if (state.isPlaceholder) return "  " + remark.value_or("Looking for your packages") + "\n";
    auto text = terminalView(state.entry, style);
    if (remark) text.append("\n  ").append(*remark).append("\n");
    return text;
}

}  // namespace host
