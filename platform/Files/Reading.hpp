// SPDX-License-Identifier: Apache-2.0

#pragma once

// Whole reads of files. Safe from any thread.

#include <cstddef>
#include <optional>
#include <string>

namespace platform {

/// What the descriptor still has to give, however long it says it is: some files (/proc) do not know, and one
/// may grow while it is read. Text longer than `limit` means that there was more than the limit; the rest of
/// it stays unread. Nothing, with errno set, when it cannot be read.
std::optional<std::string> readUpTo(int descriptor, std::size_t limit);

}  // namespace platform
