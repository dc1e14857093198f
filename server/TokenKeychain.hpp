// SPDX-License-Identifier: Apache-2.0

#pragma once

// The keychain that holds the token pair, and where credentials lay before it: which services, under which
// keys, and how a token moves from the old place to the new one. Safe from any thread.

#include <mutex>
#include <optional>
#include <string>
#include <type_traits>

#include "platform/Security/SecItem.hpp"
#include "server/Keychain.hpp"

namespace server {

/// The keys of the stored credentials.
struct CredentialKey {
    static constexpr const char* accessToken = "accessToken";
    static constexpr const char* refreshToken = "refreshToken";
    /// The legacy session id.
    static constexpr const char* session = "session";
};

/// Where tokens lay before; read once, then emptied.
Keychain legacyTokenKeychain();
/// Where the legacy session id lies, under "session". Read only.
Keychain sessionKeychain();

/// Each access is exclusive for its duration, and all that it writes is kept, or nothing of it: each write
/// that was not kept after all is logged then.
class TokenKeychain {
  public:
    /// On the app's service, and the one before it.
    TokenKeychain();
    TokenKeychain(Keychain current, Keychain legacy);

    /// The tokens. One that is missing here but stands in the legacy keychain is moved here on first read.
    std::optional<std::string> accessToken() { return migratedToken(CredentialKey::accessToken); }
    std::optional<std::string> refreshToken() { return migratedToken(CredentialKey::refreshToken); }

    /// The pair, or nothing of it: of a half a later renewal could make nothing.
    void store(const std::string& accessToken, const std::string& refreshToken);

    template <typename Access>
    auto withExclusiveAccess(Access&& access) {
        const std::lock_guard lock(mutex_);
        const auto transaction = platform::SecItemBeginTransaction();
        if constexpr (std::is_void_v<decltype(access(current_))>) {
            access(current_);
            commit(*transaction);
        } else {
            auto result = access(current_);
            commit(*transaction);
            return result;
        }
    }

  private:
    static void commit(platform::SecItemTransaction& transaction);
    std::optional<std::string> migratedToken(const char* key);

    std::mutex mutex_;
    const Keychain current_;
    const Keychain legacy_;
};

/// The one of the process.
TokenKeychain& tokenKeychain();

}  // namespace server
