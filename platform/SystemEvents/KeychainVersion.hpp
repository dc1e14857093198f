// SPDX-License-Identifier: Apache-2.0

#pragma once

// Which version of a keychain there is, without opening it: a text that is another once something was
// written, and says nothing of what. Safe from any thread.

#include <filesystem>
#include <string>
#include <string_view>

namespace platform {

/// Of `store`, in that condition; both are hashed.
std::string keychainVersion(std::string_view store, std::string_view condition);
/// Of the embedded keychain in that file, which need not be there.
std::string keychainVersion(const std::filesystem::path& file);

/// Whether both are of the same keychain; of those of two nothing follows.
bool areOfSameKeychain(std::string_view one, std::string_view other);

}  // namespace platform
