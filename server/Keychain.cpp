#include "server/Keychain.hpp"

#include <cstdio>

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

struct ErrorRow {
    Keychain::KeychainError::Case value;
    OSStatus status;
    const char* name;
};

// In order of declaration. `unknown` stands for every status that has no row, so its own status is never
// compared.
constexpr std::array errorTable = {
    ErrorRow{Keychain::KeychainError::unimplemented, -4, "unimplemented"},
    ErrorRow{Keychain::KeychainError::io, -36, "io"},
    ErrorRow{Keychain::KeychainError::opWr, -49, "opWr"},
    ErrorRow{Keychain::KeychainError::param, -50, "param"},
    ErrorRow{Keychain::KeychainError::allocate, -108, "allocate"},
    ErrorRow{Keychain::KeychainError::userCanceled, -128, "userCanceled"},
    ErrorRow{Keychain::KeychainError::badReq, -909, "badReq"},
    ErrorRow{Keychain::KeychainError::internalComponent, -2070, "internalComponent"},
    ErrorRow{Keychain::KeychainError::notAvailable, -25291, "notAvailable"},
    ErrorRow{Keychain::KeychainError::duplicateItem, -25299, "duplicateItem"},
    ErrorRow{Keychain::KeychainError::itemNotFound, -25300, "itemNotFound"},
    ErrorRow{Keychain::KeychainError::interactionNotAllowed, -25308, "interactionNotAllowed"},
    ErrorRow{Keychain::KeychainError::decode, -26275, "decode"},
    ErrorRow{Keychain::KeychainError::authFailed, -25293, "authFailed"},
    ErrorRow{Keychain::KeychainError::missingEntitlement, -34018, "missingEntitlement"},
    ErrorRow{Keychain::KeychainError::noAccessForItem, -25243, "noAccessForItem"},
    ErrorRow{Keychain::KeychainError::unknown, 0, "unknown"},
};

void throwUnlessTolerated(OSStatus status,
                          std::optional<Keychain::KeychainError::Case> tolerated = std::nullopt) {
    const auto error = Keychain::KeychainError::ofStatus(status);
    if (error && error->value() != tolerated) throw *error;
}

// Standard output is where the platform's keychain layer has always written; one line, whole and at once.
void printFailure(const char* action, std::string_view key, const Keychain::KeychainError& error) {
    std::string line = action;
    line.append(key).append(" with reason ").append(error.name()).append("\n");
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::fflush(stdout);
}

void printSaveFailure(std::string_view key, const Keychain::KeychainError& error) {
    printFailure("Failed to save item ", key, error);
}

void printFetchFailure(std::string_view key, const Keychain::KeychainError& error) {
    printFailure("Failed to fetch item ", key, error);
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

std::optional<Keychain::KeychainError> Keychain::KeychainError::ofStatus(OSStatus status) {
    if (status == platform::errSecSuccess) return std::nullopt;
    for (const auto& row : errorTable)
        if (row.status == status) return KeychainError(row.value);
    return KeychainError(unknown);
}

std::string_view Keychain::KeychainError::name() const {
    return what();
}

const char* Keychain::KeychainError::what() const noexcept {
    return errorTable[static_cast<std::size_t>(value_)].name;
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

std::optional<std::string> Keychain::migratedToken(std::string_view key) const {
    if (auto token = stringValue(key)) return token;
    const auto legacy = legacyTokenKeychain();
    auto token = legacy.stringValue(key);
    if (!token) return std::nullopt;
    setData(Data{*token}, key);
    legacy.setData(std::nullopt, key);
    return token;
}

void TokenKeychain::commit(platform::SecItemTransaction& transaction) {
    const auto error = Keychain::KeychainError::ofStatus(transaction.commit());
    if (!error) return;
    for (const auto& account : transaction.lostAccounts()) printSaveFailure(account, *error);
}

TokenKeychain& tokenKeychain() {
    static TokenKeychain keychain;
    return keychain;
}

Keychain legacyTokenKeychain() {
    return {.id = "com.brightfen.pontal", .accessibility = Keychain::Accessibility::whenUnlocked};
}

Keychain sessionKeychain() {
    return {.id = "com.brightfen.pontal", .accessibility = Keychain::Accessibility::afterFirstUnlock};
}

}  // namespace server
