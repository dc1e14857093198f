// SPDX-License-Identifier: Apache-2.0

#include "server/TokenKeychain.hpp"

#include <utility>

namespace server {

namespace {

constexpr const char* service = "com.brightfen.pontal";

Keychain currentTokenKeychain() {
    return {.id = service, .accessibility = Keychain::Accessibility::afterFirstUnlock};
}

}  // namespace

Keychain legacyTokenKeychain() {
    return {.id = service, .accessibility = Keychain::Accessibility::whenUnlocked};
}

Keychain sessionKeychain() {
    return {.id = service, .accessibility = Keychain::Accessibility::afterFirstUnlock};
}

TokenKeychain::TokenKeychain() : TokenKeychain(currentTokenKeychain(), legacyTokenKeychain()) {}

TokenKeychain::TokenKeychain(Keychain current, Keychain legacy)
    : current_(std::move(current)), legacy_(std::move(legacy)) {}

std::optional<std::string> TokenKeychain::migratedToken(const char* key) {
    return withExclusiveAccess([&](const Keychain& current) -> std::optional<std::string> {
        if (auto token = current.stringValue(key)) return token;
        auto token = legacy_.stringValue(key);
        if (!token) return std::nullopt;
        current.setData(platform::Data{*token}, key);
        legacy_.setData(std::nullopt, key);
        return token;
    });
}

void TokenKeychain::store(const std::string& accessToken, const std::string& refreshToken) {
    withExclusiveAccess([&](const Keychain& current) {
        current.setData(platform::Data{accessToken}, CredentialKey::accessToken);
        current.setData(platform::Data{refreshToken}, CredentialKey::refreshToken);
    });
}

void TokenKeychain::commit(platform::SecItemTransaction& transaction) {
    const auto error = KeychainError::ofStatus(transaction.commit());
    if (!error) return;
    for (const auto& account : transaction.lostAccounts()) printSaveFailure(account, *error);
}

TokenKeychain& tokenKeychain() {
    static TokenKeychain keychain;
    return keychain;
}

}  // namespace server
