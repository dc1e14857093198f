// SPDX-License-Identifier: Apache-2.0

#pragma once

// An entry as lines for a terminal: title, status lines, progress bar and link, one package after another. A
// pure function of the entry and of what the terminal can do.

#include <cstddef>
#include <string>

#include "host/widget/TerminalStyle.hpp"
#include "widget/SimpleEntry.hpp"

namespace host {

std::string terminalView(const widget::SimpleEntry& entry, const TerminalStyle& style);
/// One package's lines.
std::string terminalView(const presentation::Package& package, const TerminalStyle& style);

/// `fraction` (0 to 1) of `cells` columns, in eighths of a block.
std::string blockProgressBar(float fraction, std::size_t cells, const TerminalStyle& style);

}  // namespace host
