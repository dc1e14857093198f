// SPDX-License-Identifier: Apache-2.0

#pragma once

// Starts programs that live on without whoever started them: in a session of their own, without a terminal,
// and with nothing else of their starter's but the environment.

#include <sys/types.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace host {

/// `arguments` begin with the program's name; `variables` are added to this process's environment. It works
/// in `folder`, where one is given, and that is also where a relative `program` is looked for. A child of
/// this process, which has to wait for it. Throws std::system_error.
pid_t startDetached(const std::filesystem::path& program, std::vector<std::string> arguments,
                    const std::map<std::string, std::string>& variables = {},
                    const std::filesystem::path& folder = {});

}  // namespace host
