// SPDX-License-Identifier: Apache-2.0

#pragma once

// Programs that are installed beside the running one.

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

/// Where a program of that name stands beside this one, installed or not.
std::filesystem::path siblingProgramPath(std::string_view name);

/// One that has libraries of its own, and perhaps a package of its own: what needs none of them starts
/// without.
struct SiblingProgram {
    std::string name;
    /// Which package has it, for who has not installed it.
    std::string package;

    bool isInstalled() const;
    /// This process goes on as that program; `arguments` are without its name. Throws std::runtime_error
    /// where it cannot; `what()` says what to do.
    [[noreturn]] void become(std::vector<std::string> arguments) const;
};

}  // namespace platform
