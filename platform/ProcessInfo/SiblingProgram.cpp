// SPDX-License-Identifier: Apache-2.0

#include "platform/ProcessInfo/SiblingProgram.hpp"

#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>

#include "platform/ProcessInfo/ProcessInfo.hpp"
#include "platform/ProcessInfo/Spawning.hpp"

namespace platform {

std::filesystem::path siblingProgramPath(std::string_view name) {
    return executablePath().parent_path() / name;
}

bool SiblingProgram::isInstalled() const {
    return ::access(siblingProgramPath(name).c_str(), X_OK) == 0;
}

void SiblingProgram::become(std::vector<std::string> arguments) const {
    const auto program = siblingProgramPath(name);
    arguments.insert(arguments.begin(), name);
    const int error = replaceProcess(program, std::move(arguments), {});
    if (error == ENOENT)
        throw std::runtime_error("this needs " + program.string() + ", which the package " + package +
                                 " has; install it");
    throw std::system_error(error, std::generic_category(), "cannot start " + program.string());
}

}  // namespace platform
