// SPDX-License-Identifier: Apache-2.0

#include "server/StoredCredentials.hpp"

#include <functional>
#include <string>

#include "server/Keychain.hpp"
#include "server/TokenKeychain.hpp"

namespace server {

namespace {

std::uint64_t fingerprint(const std::string& text) {
    return std::hash<std::string>()(text);
}

/// What several items say together.
class Look {
  public:
    void at(const Keychain& keychain, const char* key) {
        try {
            const auto data = keychain.fetchedData(key);
            // What is empty is an item all the same, as it is for a request.
            if (data) found_.append(key).append(1, '\0').append(data->bytes).append(1, '\0');
        } catch (const KeychainError& error) {
            if (error.value() == KeychainError::itemNotFound) return;
            const bool isLocked = error.value() == KeychainError::interactionNotAllowed;
            fault_ = isLocked ? CredentialState::locked : CredentialState::unreadable;
        }
    }

    CredentialReport report() const {
        if (!found_.empty()) return {.state = CredentialState::stored, .tokens = fingerprint(found_) | 1};
        return {.state = fault_};
    }

  private:
    std::string found_;
    CredentialState fault_ = CredentialState::none;
};

/// A token counts as the same wherever it stands: it moves once, on its first read.
void lookAtToken(Look& look, const char* key) {
    look.at(sessionKeychain(), key);
    look.at(legacyTokenKeychain(), key);
}

std::optional<std::uint64_t> account(const SharedDefaults& defaults) {
    const auto id = defaults.store().stringForKey(SharedDefaultsKey::userId);
    return id ? std::optional(fingerprint(*id)) : std::nullopt;
}

}  // namespace

CredentialReport storedCredentials(const SharedDefaults& defaults) {
    // A sign-in takes the user id away before it replaces the tokens. With the same one before and after, the
    // tokens are that account's.
    const auto before = account(defaults);
    Look look;
    lookAtToken(look, CredentialKey::accessToken);
    lookAtToken(look, CredentialKey::refreshToken);
    look.at(sessionKeychain(), CredentialKey::session);
    auto report = look.report();
    if (before == account(defaults)) report.account = before;
    return report;
}

}  // namespace server
