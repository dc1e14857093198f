// SPDX-License-Identifier: Apache-2.0

#pragma once

// A disk with little room, for one process of a test's own.

#include <filesystem>
#include <functional>

namespace platform::testing {

constexpr int cannotMount = 77;

/// What `work` says with a disk of `size` ("64k", "1m") on `folder`, which its process and that one's
/// children alone see; `cannotMount` where none may be mounted.
int withSmallDisk(const std::filesystem::path& folder, const char* size, const std::function<int()>& work);

/// Writes to `folder` until its disk has not a byte left.
void fillUp(const std::filesystem::path& folder);

}  // namespace platform::testing
