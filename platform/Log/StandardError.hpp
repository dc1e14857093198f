// SPDX-License-Identifier: Apache-2.0

#pragma once

// Standard error as a place for lines. Safe from any thread: a line goes out in one piece.

#include <string_view>

namespace platform {

/// Writes `text` as one line: control characters in it are written as "\x1b" and the like, so that no text
/// from outside can drive the terminal or forge a line.
void writeLineToStandardError(std::string_view text);

}  // namespace platform
