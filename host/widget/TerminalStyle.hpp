// SPDX-License-Identifier: Apache-2.0

#pragma once

// What a terminal can do: its width, its colours, its links. A plain value.

#include <cstddef>
#include <string>
#include <string_view>

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

/// Sentences with their lines broken between words, as wide as the terminal behind a descriptor is; as they
/// are where there is none, for programs that read lines.
std::string wrappedForTerminal(std::string_view text, int descriptor);

/// Whether a descriptor is a terminal that understands cursor movement.
bool isCapableTerminal(int descriptor);

}  // namespace host
