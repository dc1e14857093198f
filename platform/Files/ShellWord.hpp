// SPDX-License-Identifier: Apache-2.0

#pragma once

// Paths in commands that a person is told to type. Safe from any thread.

#include <string>

namespace platform {

/// One word of a POSIX shell's, in quotes where it would be taken apart without.
std::string shellWord(const std::string& text);

}  // namespace platform
