// SPDX-License-Identifier: Apache-2.0

#pragma once

// The process's own surroundings. Safe from any thread as long as nobody changes the environment meanwhile.

#include <cstddef>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace platform {

/// The whole environment, as text to text.
std::map<std::string, std::string> processEnvironment();
/// One variable; an empty value is a value.
std::optional<std::string> environmentVariable(std::string_view name);

/// $XDG_DATA_HOME when it is an absolute path, else ~/.local/share, with the home folder from HOME, else from
/// the user database. Nothing when there is neither.
std::optional<std::filesystem::path> dataHome();
/// The same of $XDG_STATE_HOME and ~/.local/state.
std::optional<std::filesystem::path> stateHome();

/// The running executable's path; the one it had, where it was removed or replaced since.
std::filesystem::path executablePath();

/// As many connections as `most`, unless they would take more than half of the descriptors that this process
/// may have open (RLIMIT_NOFILE): the others are for its own work.
std::size_t connectionsWithin(std::size_t most);

/// Bars core files and, where the system allows, other processes' reads of this one's memory: it holds
/// tokens.
void forbidCoreFiles();

/// From now on a large block goes back to the system as soon as it is freed, and threads share one heap: a
/// process that is measured by its peak keeps nothing for a next time. Call it before there are threads.
void returnFreedMemory();

}  // namespace platform
