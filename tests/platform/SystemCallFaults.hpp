// SPDX-License-Identifier: Apache-2.0

#pragma once

// Lets the embedded keychain's system calls fail, or kill the process at a chosen one. For a process of a
// test's own: it stays so until the process ends.

#include <cstdint>
#include <filesystem>
#include <functional>

namespace platform::testing {

/// Counts from 1 every call with which the database changes something on the disk (making a file, writing,
/// truncating, removing, flushing), and asks `meet` before each: 0 lets it happen, an
/// errno makes it fail.
void meetSystemCalls(std::function<int(int number)> meet);

/// The same for calls that change nothing: opening a file that is there, and reading.
void meetLooks(std::function<int(int number)> meet);

/// Called whenever the database is about to open a file that is there.
void meetOpenings(std::function<void()> meet);

/// From now on what the database writes must fit into `capacity` bytes together with all else in `folder`, as
/// on a full disk.
void fillDisk(const std::filesystem::path& folder, std::uintmax_t capacity);

}  // namespace platform::testing
