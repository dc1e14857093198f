// SPDX-License-Identifier: Apache-2.0

#pragma once

// A drawing shown in the terminal itself: as sixels, by kitty's or iTerm2's protocol, or made of symbols,
// whatever the terminal has. What does this is a module of its own that is loaded when it is first asked for,
// so that no other command pays for it.

#include <string>
#include <string_view>

#include "platform/Module/Module.hpp"

namespace host {

/// A terminal's measures; pixels are 0 where it does not tell, or tells what no terminal has.
struct TerminalGeometry {
    int columns = 80;
    int rows = 24;
    int pixelWidth = 0;
    int pixelHeight = 0;

    static TerminalGeometry ofDescriptor(int descriptor);
};

/// What to write to the terminal to show a PNG picture, with its line end. Throws ModuleError.
std::string terminalImage(std::string_view png, const TerminalGeometry& geometry);

}  // namespace host

/// The module's one function.
extern "C" void velaTerminalImage(const char* png, std::size_t length, const host::TerminalGeometry* geometry,
                                  const platform::ModuleOutput* output);
