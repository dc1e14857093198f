// SPDX-License-Identifier: Apache-2.0

#include "host/reader/DetachedProgram.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <utility>

#include "platform/ProcessInfo/Spawning.hpp"

namespace host {

pid_t startDetached(const std::filesystem::path& program, std::vector<std::string> arguments,
                    const std::map<std::string, std::string>& variables,
                    const std::filesystem::path& folder) {
    platform::Spawning spawning(POSIX_SPAWN_SETSID);
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        ::posix_spawn_file_actions_addopen(&spawning.actions, descriptor, "/dev/null", O_RDWR, 0);
    if (!folder.empty()) ::posix_spawn_file_actions_addchdir_np(&spawning.actions, folder.c_str());
    return spawning.start(program.string(), std::move(arguments), variables);
}

}  // namespace host
