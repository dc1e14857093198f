// SPDX-License-Identifier: Apache-2.0

#pragma once

// Starts the extension's program: with a socket to talk over as descriptor 3, a pipe for all that it prints,
// and nothing else of its host's. It has a process group of its own, and signals as they are by default.

#include <sys/types.h>

#include <filesystem>
#include <stdexcept>

namespace host {

/// The extension could not be started, or refused a request, or sent what is no answer to it.
class ExtensionError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The host's ends belong to the caller.
struct LaunchedExtension {
    pid_t process;
    int socket;
    int output;
};

/// Throws ExtensionError when the program cannot be started. Returns within a second even where the child is
/// stopped before it becomes that program.
LaunchedExtension launchExtension(const std::filesystem::path& executable);

}  // namespace host
