// SPDX-License-Identifier: Apache-2.0

#pragma once

// Where this person's keychain is, for who need not open it. Safe from any thread.

#include <filesystem>
#include <optional>

namespace platform {

enum class KeychainKind { embedded, secretService };

/// As VELA_KEYCHAIN says; embedded where it says nothing, and nothing where it names none.
std::optional<KeychainKind> personalKeychainKind();

/// The embedded keychain's file; nothing without a data folder.
std::optional<std::filesystem::path> personalKeychainFile();

}  // namespace platform
