// SPDX-License-Identifier: Apache-2.0

#pragma once

// What posix_spawn and execve want, for who starts programs. Safe from any thread, but for the environment,
// which nobody may change meanwhile.

#include <spawn.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace platform {

/// The settings of one start: no signal blocked or ignored, and no descriptor that an action does not give.
class Spawning {
  public:
    /// `flags` are POSIX_SPAWN_SETSID or POSIX_SPAWN_SETPGROUP (a group of its own), or none.
    explicit Spawning(int flags);
    ~Spawning();
    Spawning(const Spawning&) = delete;
    Spawning& operator=(const Spawning&) = delete;

    posix_spawn_file_actions_t actions = {};

    /// Starts it, found along PATH where it is a bare name, with this environment and `variables` over it.
    /// Throws std::system_error.
    pid_t start(const std::string& program, std::vector<std::string> words,
                const std::map<std::string, std::string>& variables);

  private:
    posix_spawnattr_t attributes_ = {};
};

/// This process goes on as `program`, with these words (the first is its name) and its environment with
/// `variables` over it. Returns only where that cannot be, with the reason as an errno.
int replaceProcess(const std::filesystem::path& program, std::vector<std::string> words,
                   const std::map<std::string, std::string>& variables);

}  // namespace platform
