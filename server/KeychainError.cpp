// SPDX-License-Identifier: Apache-2.0

#include "server/KeychainError.hpp"

#include <array>
#include <cstdio>
#include <string>

namespace server {

using platform::OSStatus;

namespace {

struct ErrorRow {
    KeychainError::Case value;
    OSStatus status;
    const char* name;
};

// In order of declaration. `unknown` stands for every status that has no row, so its own status is never
// compared.
constexpr std::array errorTable = {
    ErrorRow{KeychainError::unimplemented, -4, "unimplemented"},
    ErrorRow{KeychainError::io, -36, "io"},
    ErrorRow{KeychainError::opWr, -49, "opWr"},
    ErrorRow{KeychainError::param, -50, "param"},
    ErrorRow{KeychainError::allocate, -108, "allocate"},
    ErrorRow{KeychainError::userCanceled, -128, "userCanceled"},
    ErrorRow{KeychainError::badReq, -909, "badReq"},
    ErrorRow{KeychainError::internalComponent, -2070, "internalComponent"},
    ErrorRow{KeychainError::notAvailable, -25291, "notAvailable"},
    ErrorRow{KeychainError::duplicateItem, -25299, "duplicateItem"},
    ErrorRow{KeychainError::itemNotFound, -25300, "itemNotFound"},
    ErrorRow{KeychainError::interactionNotAllowed, -25308, "interactionNotAllowed"},
    ErrorRow{KeychainError::decode, -26275, "decode"},
    ErrorRow{KeychainError::authFailed, -25293, "authFailed"},
    ErrorRow{KeychainError::missingEntitlement, -34018, "missingEntitlement"},
    ErrorRow{KeychainError::noAccessForItem, -25243, "noAccessForItem"},
    ErrorRow{KeychainError::unknown, 0, "unknown"},
};

// Standard output is where the platform's keychain layer has always written; one line, whole and at once.
void printFailure(const char* action, std::string_view key, const KeychainError& error) {
    std::string line = action;
    line.append(key).append(" with reason ").append(error.name()).append("\n");
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::fflush(stdout);
}

}  // namespace

std::optional<KeychainError> KeychainError::ofStatus(OSStatus status) {
    if (status == platform::errSecSuccess) return std::nullopt;
    for (const auto& row : errorTable)
        if (row.status == status) return KeychainError(row.value);
    return KeychainError(unknown);
}

std::string_view KeychainError::name() const {
    return what();
}

const char* KeychainError::what() const noexcept {
    return errorTable[static_cast<std::size_t>(value_)].name;
}

void printSaveFailure(std::string_view key, const KeychainError& error) {
    printFailure("Failed to save item ", key, error);
}

void printFetchFailure(std::string_view key, const KeychainError& error) {
    printFailure("Failed to fetch item ", key, error);
}

}  // namespace server
