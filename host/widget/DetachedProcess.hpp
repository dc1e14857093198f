// SPDX-License-Identifier: Apache-2.0

#pragma once

// Starts a program that has nothing of ours: a session of its own, no streams, no descriptors, signals as
// they are by default.

#include <sys/types.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace host {

/// `arguments` begin with the program's name; `variables` are added to this process's environment. Who starts
/// it has to wait for it. Throws std::system_error.
pid_t startDetached(const std::filesystem::path& program, std::vector<std::string> arguments,
                    const std::map<std::string, std::string>& variables = {});

}  // namespace host
