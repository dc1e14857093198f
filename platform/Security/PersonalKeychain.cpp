// SPDX-License-Identifier: Apache-2.0

#include "platform/Security/PersonalKeychain.hpp"

#include "platform/ProcessInfo/ProcessInfo.hpp"

namespace platform {

std::optional<KeychainKind> personalKeychainKind() {
    const std::string kind = environmentVariable("VELA_KEYCHAIN").value_or("");
    if (kind.empty() || kind == "embedded") return KeychainKind::embedded;
    if (kind == "secret-service") return KeychainKind::secretService;
    return std::nullopt;
}

std::optional<std::filesystem::path> personalKeychainFile() {
    const auto home = dataHome();
    if (!home) return std::nullopt;
    return *home / "vela" / "keychain.sqlite";
}

}  // namespace platform
