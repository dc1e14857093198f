#pragma once

// One service of generic-password items in the person's keychain: read, write and delete by key. Failures of
// reads and writes are a line on standard output and an empty result, so that reading credentials never
// aborts a request; only `deleteAll` raises. A plain value, copied freely; every call goes to the platform,
// which serialises access.

#include <array>
#include <cstdint>
#include <exception>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "platform/Date/Date.hpp"
#include "platform/Security/SecItem.hpp"

namespace server {

class Keychain {
  public:
    /// When items may be read. Part of the service's name: two keychains of one id and different
    /// accessibility hold different items.
    enum class Accessibility {
        whenUnlocked,
        afterFirstUnlock,
        always,
        whenPasscodeSetThisDeviceOnly,
        whenUnlockedThisDeviceOnly,
        afterFirstUnlockThisDeviceOnly,
        alwaysThisDeviceOnly,
    };
    static constexpr std::array allAccessibilities = {
        Accessibility::whenUnlocked,
        Accessibility::afterFirstUnlock,
        Accessibility::always,
        Accessibility::whenPasscodeSetThisDeviceOnly,
        Accessibility::whenUnlockedThisDeviceOnly,
        Accessibility::afterFirstUnlockThisDeviceOnly,
        Accessibility::alwaysThisDeviceOnly,
    };
    static std::string_view rawValue(Accessibility value);
    /// The class of that raw value; nothing for any other text.
    static std::optional<Accessibility> accessibilityOf(std::string_view rawValue);

    /// The closed set of what can go wrong; one case for each status the platform documents for items.
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

    struct Item {
        std::string service;
        std::string account;
        platform::Data data;
        platform::Date creationDate;
        platform::Date modificationDate;

        /// Nothing unless all five attributes are there with their types.
        static std::optional<Item> of(const platform::SecAttributes& attributes);
        bool operator==(const Item&) const = default;
    };

    std::string id;
    Accessibility accessibility;
    /// Absent: the process's default group.
    std::optional<std::string> accessGroup = std::nullopt;

    /// The value under `key`. Any failure, absence included, is logged and yields nothing.
    std::optional<platform::Data> dataForKey(std::string_view key) const;
    /// Stores `value` under `key`; absent deletes. An empty key does nothing. Failures are logged.
    void setData(const std::optional<platform::Data>& value, std::string_view key) const;

    std::optional<Item> itemWithKey(std::string_view key) const;
    /// Every item of this service in the store's order; empty on any failure, which is not logged.
    std::vector<Item> allItems() const;
    /// Removes every item of this service. Throws KeychainError; an empty service is no error.
    void deleteAll() const;

    /// The value under `key` as UTF-8 text; nothing when it is not.
    std::optional<std::string> stringValue(std::string_view key) const;

    /// The tokens. One that is missing here but stands in the legacy keychain is moved here on first read.
    std::optional<std::string> accessToken() const { return migratedToken("accessToken"); }
    std::optional<std::string> refreshToken() const { return migratedToken("refreshToken"); }

    bool operator==(const Keychain&) const = default;

  private:
    platform::SecAttributes baseQuery(bool returningData) const;
    platform::SecAttributes itemQuery(std::string_view key) const;
    platform::SecAttributes fetchQuery(std::string_view key) const;
    std::optional<platform::Data> fetchedData(std::string_view key) const;
    std::optional<std::string> migratedToken(std::string_view key) const;
};

}  // namespace server

template <>
struct std::hash<server::Keychain::KeychainError> {
    std::size_t operator()(const server::Keychain::KeychainError& error) const noexcept {
        return std::hash<server::Keychain::KeychainError::Case>()(error.value());
    }
};

namespace server {

/// The keychain that holds the token pair, one for the process. Each access is exclusive for its duration,
/// and all that it writes is kept, or nothing of it: each write that was not kept after all is logged then.
class TokenKeychain {
  public:
    template <typename Access>
    auto withExclusiveAccess(Access&& access) {
        const std::lock_guard lock(mutex_);
        const auto transaction = platform::SecItemBeginTransaction();
        if constexpr (std::is_void_v<decltype(access(keychain_))>) {
            access(keychain_);
            commit(*transaction);
        } else {
            auto result = access(keychain_);
            commit(*transaction);
            return result;
        }
    }

  private:
    static void commit(platform::SecItemTransaction& transaction);

    std::mutex mutex_;
    Keychain keychain_ = {.id = "com.brightfen.pontal",
                          .accessibility = Keychain::Accessibility::afterFirstUnlock};
};

TokenKeychain& tokenKeychain();
/// Where tokens lay before; read once, then emptied.
Keychain legacyTokenKeychain();
/// Where the legacy session id lies, under "session". Read only.
Keychain sessionKeychain();

}  // namespace server
