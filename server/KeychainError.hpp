// SPDX-License-Identifier: Apache-2.0

#pragma once

// What can go wrong with the keychain, and the line that says so. Plain values; safe from any thread.

#include <exception>
#include <functional>
#include <optional>
#include <string_view>

#include "platform/Security/SecItem.hpp"

namespace server {

/// The closed set; one case for each status the platform documents for items.
class KeychainError : public std::exception {
  public:
    enum Case {
        unimplemented,
        io,
        opWr,
        param,
        allocate,
        userCanceled,
        badReq,
        internalComponent,
        notAvailable,
        duplicateItem,
        itemNotFound,
        interactionNotAllowed,
        decode,
        authFailed,
        missingEntitlement,
        noAccessForItem,
        unknown,
    };

    explicit KeychainError(Case value) : value_(value) {}
    /// The error of a status; nothing for 0, `unknown` for a status that has no case of its own.
    static std::optional<KeychainError> ofStatus(platform::OSStatus status);

    Case value() const { return value_; }
    /// The case's name, as in "itemNotFound".
    std::string_view name() const;
    const char* what() const noexcept override;
    bool operator==(const KeychainError& other) const { return value_ == other.value_; }

  private:
    Case value_;
};

/// One line each on standard output, with the item's key and the error's name.
void printSaveFailure(std::string_view key, const KeychainError& error);
void printFetchFailure(std::string_view key, const KeychainError& error);

}  // namespace server

template <>
struct std::hash<server::KeychainError> {
    std::size_t operator()(const server::KeychainError& error) const noexcept {
        return std::hash<server::KeychainError::Case>()(error.value());
    }
};
