// SPDX-License-Identifier: Apache-2.0

#pragma once

// Draws entries in the extension. Views, fonts and picture decoders are a module that is loaded at the first
// drawing: a timeline needs none of them.

#include <string>

#include "platform/Module/Module.hpp"

namespace host {

/// The bytes of the picture for a render request, whose JSON it is given. Blocks while the entry's
/// pictures are read. Throws ModuleError. Safe from any thread.
std::string drawnEntry(const std::string& request);

}  // namespace host

/// The module's one function: draws the render request whose JSON it is given.
extern "C" void velaDrawEntry(const char* request, std::size_t length, const platform::ModuleOutput* output);
