// SPDX-License-Identifier: Apache-2.0

#include "host/widget/SurfaceProgram.hpp"

#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>

#include "platform/ProcessInfo/ProcessInfo.hpp"

namespace host {

void become(const SurfaceProgram& surface, std::vector<std::string> arguments) {
    const auto program = platform::executablePath().parent_path() / surface.name;
    arguments.insert(arguments.begin(), surface.name);
    std::vector<char*> words;
    for (auto& argument : arguments) words.push_back(argument.data());
    words.push_back(nullptr);
    ::execv(program.c_str(), words.data());
    if (errno == ENOENT)
        throw std::runtime_error("this needs " + program.string() + ", which the package " + surface.package +
                                 " has; install it");
    throw std::system_error(errno, std::generic_category(), "cannot start " + program.string());
}

}  // namespace host
