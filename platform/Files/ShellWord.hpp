// SPDX-License-Identifier: Apache-2.0

#pragma once

// Texts in commands that a shell reads, or that a person is told to type. Safe from any thread.

#include <string>
#include <string_view>

namespace platform {

/// One word of a POSIX shell's, in quotes.
std::string shellQuoted(std::string_view text);
/// The same, without quotes where nothing in it would be taken apart or mean anything.
std::string shellWord(std::string_view text);

}  // namespace platform
