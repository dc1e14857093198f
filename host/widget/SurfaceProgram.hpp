// SPDX-License-Identifier: Apache-2.0

#pragma once

// Surfaces with libraries of their own are programs of their own, beside this one: a command that needs none
// of them starts without.

#include <string>
#include <vector>

namespace host {

struct SurfaceProgram {
    std::string name;
    /// Which package has it, for who has not installed it.
    std::string package;
};

/// This process becomes that program. Throws std::runtime_error where it cannot; `what()` says what to do.
[[noreturn]] void become(const SurfaceProgram& surface, std::vector<std::string> arguments);

}  // namespace host
