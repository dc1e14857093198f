// SPDX-License-Identifier: Apache-2.0

#pragma once

// Whole writes. Safe from any thread.

#include <string_view>

namespace platform {

/// False, with errno set, when the descriptor did not take all of `text`.
bool writeAll(int descriptor, std::string_view text);

}  // namespace platform
