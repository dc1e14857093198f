// SPDX-License-Identifier: Apache-2.0

#pragma once

// What the keychain's attribute dictionaries mean, apart from where items are kept: which keys a call
// accepts, which items a query matches, what a copy yields. Plain values and pure functions, for the stores
// of this folder and for their twins in the tests.

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "platform/Security/SecItem.hpp"

namespace platform {

struct KeychainItem {
    std::string service;
    std::string account;
    std::string accessGroup;
    std::string accessible;
    Date creationDate;
    Date modificationDate;
    std::string data;

    /// Nothing when the attributes are unusable. An absent accessibility is "when unlocked", every other
    /// absent attribute empty.
    static std::optional<KeychainItem> fromAttributes(const SecAttributes& attributes, Date now);

    bool hasIdentityOf(const KeychainItem& other) const;
    bool operator==(const KeychainItem&) const = default;
};

/// The attributes that are texts, with the field that holds each.
struct KeychainTextAttribute {
    const char* key;
    std::string KeychainItem::*field;
};
inline constexpr std::array keychainTextAttributes = {
    KeychainTextAttribute{kSecAttrService, &KeychainItem::service},
    KeychainTextAttribute{kSecAttrAccount, &KeychainItem::account},
    KeychainTextAttribute{kSecAttrAccessGroup, &KeychainItem::accessGroup},
    KeychainTextAttribute{kSecAttrAccessible, &KeychainItem::accessible},
};

/// As it is made, it matches every item.
class KeychainQuery {
  public:
    /// What a copy is asked for; nothing when the query is unusable.
    static std::optional<KeychainQuery> toCopy(const SecAttributes& query);
    /// Which items an update or a deletion is for; nothing when the query is unusable.
    static std::optional<KeychainQuery> toChange(const SecAttributes& query);
    /// The one item that has the identity of `item`.
    static KeychainQuery forIdentity(const KeychainItem& item);

    /// The text that an attribute must have; nothing when the query does not say.
    const std::string* text(const char* key) const;

    bool matches(const KeychainItem& item) const;

    /// What a copy yields for these matches, which are in order of creation and not none.
    SecResult result(const std::vector<KeychainItem>& matches) const;

  private:
    SecAttributes asked_;
};

/// The new state of items that an update is for.
class KeychainUpdate {
  public:
    /// Nothing when the attributes are unusable.
    static std::optional<KeychainUpdate> fromAttributes(const SecAttributes& attributes, Date now);

    KeychainItem appliedTo(KeychainItem item) const;

  private:
    KeychainUpdate(SecAttributes attributes, Date now) : attributes_(std::move(attributes)), now_(now) {}

    SecAttributes attributes_;
    Date now_;
};

}  // namespace platform
