#pragma once

// An entry as lines for a terminal: title, status lines, progress bar and link, one package after another. A
// pure function of the entry and of what the terminal can do.

#include <cstddef>
#include <string>

#include "widget/SimpleEntry.hpp"

namespace host {

enum class TerminalColor { none, sixteen, trueColor };
enum class TerminalLinks { written, hyperlinks };

struct TerminalStyle {
    std::size_t columns = 80;
    TerminalColor color = TerminalColor::none;
    /// Hyperlinks are OSC 8 sequences around the title; written links stand on a line of their own.
    TerminalLinks links = TerminalLinks::written;

    /// What the terminal behind a descriptor can do: nothing but plain text where there is none or where TERM
    /// is "dumb"; no colour where NO_COLOR is set and not empty.
    static TerminalStyle ofDescriptor(int descriptor);
    bool operator==(const TerminalStyle&) const = default;
};

/// Whether a descriptor is a terminal that understands cursor movement.
bool isCapableTerminal(int descriptor);

std::string terminalView(const widget::SimpleEntry& entry, const TerminalStyle& style);

/// `fraction` (0 to 1) of `cells` columns, in eighths of a block.
std::string blockProgressBar(float fraction, std::size_t cells, const TerminalStyle& style);

}  // namespace host
