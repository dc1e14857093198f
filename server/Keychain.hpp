// SPDX-License-Identifier: Apache-2.0

#pragma once

// One service of generic-password items in the person's keychain: read, write and delete by key. Failures of
// reads and writes are a line on standard output and an empty result, so that reading credentials never
// aborts a request; only `deleteAll` raises. A plain value, copied freely; every call goes to the platform,
// which serialises access.

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Date/Date.hpp"
#include "platform/Security/SecItem.hpp"
#include "server/KeychainError.hpp"

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
    /// The class of that raw value; nothing for any other text. Part of the interface, as the two readers of
    /// whole items are, although nothing here calls them yet.
    static std::optional<Accessibility> accessibilityOf(std::string_view rawValue);

    using KeychainError = server::KeychainError;

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
    /// The same in silence: what fails is thrown, a KeychainError.
    std::optional<platform::Data> fetchedData(std::string_view key) const;
    /// Stores `value` under `key`; absent deletes. An empty key does nothing. Failures are logged.
    void setData(const std::optional<platform::Data>& value, std::string_view key) const;

    std::optional<Item> itemWithKey(std::string_view key) const;
    /// Every item of this service in the store's order; empty on any failure, which is not logged.
    std::vector<Item> allItems() const;
    /// Removes every item of this service. Throws KeychainError; an empty service is no error.
    void deleteAll() const;

    /// The value under `key` as UTF-8 text; nothing when it is not.
    std::optional<std::string> stringValue(std::string_view key) const;

    bool operator==(const Keychain&) const = default;

  private:
    platform::SecAttributes baseQuery(bool returningData) const;
    platform::SecAttributes itemQuery(std::string_view key) const;
    platform::SecAttributes fetchQuery(std::string_view key) const;
};

}  // namespace server
