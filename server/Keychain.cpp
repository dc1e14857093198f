// SPDX-License-Identifier: Apache-2.0

#include "server/Keychain.hpp"

#include "platform/Text/Text.hpp"

namespace server {

using platform::Data;
using platform::OSStatus;
using platform::SecAttributes;
using platform::SecResult;

namespace {

struct AccessibilityRow {
    Keychain::Accessibility accessibility;
    std::string_view rawValue;
};

constexpr std::array accessibilityTable = {
    AccessibilityRow{Keychain::Accessibility::whenUnlocked, platform::kSecAttrAccessibleWhenUnlocked},
    AccessibilityRow{Keychain::Accessibility::afterFirstUnlock, platform::kSecAttrAccessibleAfterFirstUnlock},
    AccessibilityRow{Keychain::Accessibility::always, platform::kSecAttrAccessibleAlways},
    AccessibilityRow{Keychain::Accessibility::whenPasscodeSetThisDeviceOnly,
                     platform::kSecAttrAccessibleWhenPasscodeSetThisDeviceOnly},
    AccessibilityRow{Keychain::Accessibility::whenUnlockedThisDeviceOnly,
                     platform::kSecAttrAccessibleWhenUnlockedThisDeviceOnly},
    AccessibilityRow{Keychain::Accessibility::afterFirstUnlockThisDeviceOnly,
                     platform::kSecAttrAccessibleAfterFirstUnlockThisDeviceOnly},
    AccessibilityRow{Keychain::Accessibility::alwaysThisDeviceOnly,
                     platform::kSecAttrAccessibleAlwaysThisDeviceOnly},
};
static_assert(accessibilityTable.size() == Keychain::allAccessibilities.size());

void throwUnlessTolerated(OSStatus status, std::optional<KeychainError::Case> tolerated = std::nullopt) {
    const auto error = KeychainError::ofStatus(status);
    if (error && error->value() != tolerated) throw *error;
}

template <typename Value>
const Value* attribute(const SecAttributes& attributes, const char* key) {
    const auto found = attributes.find(key);
    return found == attributes.end() ? nullptr : std::get_if<Value>(&found->second);
}

}  // namespace

std::string_view Keychain::rawValue(Accessibility value) {
    return accessibilityTable[static_cast<std::size_t>(value)].rawValue;
}

std::optional<Keychain::Accessibility> Keychain::accessibilityOf(std::string_view rawValue) {
    for (const auto& row : accessibilityTable)
        if (row.rawValue == rawValue) return row.accessibility;
    return std::nullopt;
}

std::optional<Keychain::Item> Keychain::Item::of(const SecAttributes& attributes) {
    const auto* service = attribute<std::string>(attributes, platform::kSecAttrService);
    const auto* account = attribute<std::string>(attributes, platform::kSecAttrAccount);
    const auto* data = attribute<Data>(attributes, platform::kSecValueData);
    const auto* creation = attribute<platform::Date>(attributes, platform::kSecAttrCreationDate);
    const auto* modification = attribute<platform::Date>(attributes, platform::kSecAttrModificationDate);
    if (!service || !account || !data || !creation || !modification) return std::nullopt;
    return Item{*service, *account, *data, *creation, *modification};
}

SecAttributes Keychain::baseQuery(bool returningData) const {
    const std::string accessible(rawValue(accessibility));
    SecAttributes query = {
        {platform::kSecClass, std::string(platform::kSecClassGenericPassword)},
        {platform::kSecAttrService, id + "_" + accessible},
        {platform::kSecAttrAccessible, accessible},
    };
    if (returningData) query[platform::kSecReturnData] = true;
    if (accessGroup) query[platform::kSecAttrAccessGroup] = *accessGroup;
    return query;
}

SecAttributes Keychain::itemQuery(std::string_view key) const {
    auto query = baseQuery(false);
    query[platform::kSecAttrAccount] = std::string(key);
    return query;
}

SecAttributes Keychain::fetchQuery(std::string_view key) const {
    auto query = baseQuery(true);
    query[platform::kSecAttrAccount] = std::string(key);
    query[platform::kSecMatchLimit] = std::string(platform::kSecMatchLimitOne);
    query[platform::kSecReturnData] = true;
    return query;
}

std::optional<Data> Keychain::fetchedData(std::string_view key) const {
    SecResult result;
    throwUnlessTolerated(platform::SecItemCopyMatching(fetchQuery(key), &result));
    if (auto* data = std::get_if<Data>(&result)) return std::move(*data);
    return std::nullopt;
}

std::optional<Data> Keychain::dataForKey(std::string_view key) const {
    try {
        return fetchedData(key);
    } catch (const KeychainError& error) {
        printFetchFailure(key, error);
        return std::nullopt;
    }
}

void Keychain::setData(const std::optional<Data>& value, std::string_view key) const {
    if (key.empty()) return;
    try {
        const auto query = itemQuery(key);
        if (!value) {
            throwUnlessTolerated(platform::SecItemDelete(query), KeychainError::itemNotFound);
        } else if (platform::SecItemCopyMatching(query, nullptr) == platform::errSecSuccess) {
            throwUnlessTolerated(platform::SecItemUpdate(query, {{platform::kSecValueData, *value}}));
        } else {
            auto attributes = query;
            attributes[platform::kSecValueData] = *value;
            throwUnlessTolerated(platform::SecItemAdd(attributes));
        }
    } catch (const KeychainError& error) {
        printSaveFailure(key, error);
    }
}

std::optional<Keychain::Item> Keychain::itemWithKey(std::string_view key) const {
    try {
        auto query = fetchQuery(key);
        query[platform::kSecReturnAttributes] = true;
        SecResult result;
        throwUnlessTolerated(platform::SecItemCopyMatching(query, &result));
        const auto* attributes = std::get_if<SecAttributes>(&result);
        return attributes ? Item::of(*attributes) : std::nullopt;
    } catch (const KeychainError& error) {
        printFetchFailure(key, error);
        return std::nullopt;
    }
}

std::vector<Keychain::Item> Keychain::allItems() const {
    auto query = baseQuery(true);
    query[platform::kSecMatchLimit] = std::string(platform::kSecMatchLimitAll);
    query[platform::kSecReturnAttributes] = true;
    query[platform::kSecReturnData] = true;
    SecResult result;
    if (platform::SecItemCopyMatching(query, &result) != platform::errSecSuccess) return {};
    std::vector<Item> items;
    if (const auto* dictionaries = std::get_if<std::vector<SecAttributes>>(&result))
        for (const auto& dictionary : *dictionaries)
            if (auto item = Item::of(dictionary)) items.push_back(std::move(*item));
    return items;
}

void Keychain::deleteAll() const {
    throwUnlessTolerated(platform::SecItemDelete(baseQuery(false)), KeychainError::itemNotFound);
}

std::optional<std::string> Keychain::stringValue(std::string_view key) const {
    auto data = dataForKey(key);
    if (!data || !platform::isValidUTF8(data->bytes)) return std::nullopt;
    return std::move(data->bytes);
}

}  // namespace server
