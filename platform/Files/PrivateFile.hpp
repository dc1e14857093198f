// SPDX-License-Identifier: Apache-2.0

#pragma once

// A file with a secret in it that a person hands over, wherever it lies. Safe from any thread.

#include <cstddef>
#include <filesystem>
#include <string>

namespace platform {

/// What the file holds, `limit` bytes at most. It is taken only where nobody but the person can have read or
/// written it: a regular file of the person's own, without any rights for others; a symbolic link stands for
/// what it leads to. Throws FileError, which says what is wrong and, where a command mends it, which one.
std::string readPrivateFile(const std::filesystem::path& path, std::size_t limit);

}  // namespace platform
