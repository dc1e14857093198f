// SPDX-License-Identifier: Apache-2.0

#pragma once

// Starts a live host that lives on without whoever started it: in a session of its own, without a terminal,
// in the root folder, so that no file system is held by it, and with nothing else of its starter's but the
// environment, whose relative paths are made absolute.

#include <sys/types.h>

#include <filesystem>

namespace host {

/// Runs `PROGRAM run --idle-exit 600`. A child of this process, which has to wait for it. Throws
/// std::system_error.
pid_t startLiveHost(const std::filesystem::path& program);

}  // namespace host
