// SPDX-License-Identifier: Apache-2.0

#include "platform/Security/KeychainItem.hpp"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <utility>

namespace platform {
namespace {

enum Call : std::uint8_t { copy = 1, change = 2, add = 4, update = 8 };

bool isGenericPassword(const SecValue& value) {
    const auto* text = std::get_if<std::string>(&value);
    return text && *text == kSecClassGenericPassword;
}

bool isText(const SecValue& value) {
    return std::holds_alternative<std::string>(value);
}

bool isAccessibility(const SecValue& value) {
    static constexpr std::array classes = {
        kSecAttrAccessibleWhenUnlocked,
        kSecAttrAccessibleAfterFirstUnlock,
        kSecAttrAccessibleAlways,
        kSecAttrAccessibleWhenPasscodeSetThisDeviceOnly,
        kSecAttrAccessibleWhenUnlockedThisDeviceOnly,
        kSecAttrAccessibleAfterFirstUnlockThisDeviceOnly,
        kSecAttrAccessibleAlwaysThisDeviceOnly,
    };
    const auto* text = std::get_if<std::string>(&value);
    return text && std::find(classes.begin(), classes.end(), *text) != classes.end();
}

bool isDate(const SecValue& value) {
    return std::holds_alternative<Date>(value);
}
bool isData(const SecValue& value) {
    return std::holds_alternative<Data>(value);
}
bool isFlag(const SecValue& value) {
    return std::holds_alternative<bool>(value);
}

bool isMatchLimit(const SecValue& value) {
    const auto* text = std::get_if<std::string>(&value);
    return text && (*text == kSecMatchLimitOne || *text == kSecMatchLimitAll);
}

// The whole vocabulary: what a key's value must be, and which calls take it.
struct Word {
    std::string_view key;
    bool (*accepts)(const SecValue&);
    std::uint8_t calls;
};
constexpr std::array vocabulary = {
    Word{kSecClass, isGenericPassword, copy | change | add},
    Word{kSecAttrService, isText, copy | change | add | update},
    Word{kSecAttrAccount, isText, copy | change | add | update},
    Word{kSecAttrAccessGroup, isText, copy | change | add | update},
    Word{kSecAttrAccessible, isAccessibility, copy | change | add | update},
    Word{kSecAttrCreationDate, isDate, copy | change},
    Word{kSecAttrModificationDate, isDate, copy | change},
    Word{kSecValueData, isData, add | update},
    Word{kSecReturnData, isFlag, copy},
    Word{kSecReturnAttributes, isFlag, copy},
    Word{kSecMatchLimit, isMatchLimit, copy},
};

bool isUsable(const SecAttributes& attributes, Call call) {
    return std::all_of(attributes.begin(), attributes.end(), [call](const auto& attribute) {
        const auto word = std::find_if(vocabulary.begin(), vocabulary.end(),
                                       [&](const Word& known) { return known.key == attribute.first; });
        return word != vocabulary.end() && (word->calls & call) != 0 && word->accepts(attribute.second);
    });
}

template <typename Value>
const Value* find(const SecAttributes& attributes, const char* key) {
    const auto found = attributes.find(key);
    return found == attributes.end() ? nullptr : std::get_if<Value>(&found->second);
}

bool isSet(const SecAttributes& attributes, const char* flag) {
    const bool* value = find<bool>(attributes, flag);
    return value && *value;
}

void assign(KeychainItem& item, const SecAttributes& attributes) {
    for (const auto& [key, field] : keychainTextAttributes) {
        if (const auto* text = find<std::string>(attributes, key)) item.*field = *text;
    }
    if (const auto* data = find<Data>(attributes, kSecValueData)) item.data = data->bytes;
}

SecAttributes attributes(const KeychainItem& item) {
    SecAttributes result = {{kSecClass, std::string(kSecClassGenericPassword)},
                            {kSecAttrCreationDate, item.creationDate},
                            {kSecAttrModificationDate, item.modificationDate}};
    for (const auto& [key, field] : keychainTextAttributes) result.emplace(key, item.*field);
    return result;
}

template <typename Value, typename Make>
SecResult oneOrAll(const std::vector<KeychainItem>& matches, bool all, Make make) {
    if (!all) return make(matches.front());
    std::vector<Value> values;
    std::transform(matches.begin(), matches.end(), std::back_inserter(values), make);
    return values;
}

}  // namespace

std::optional<KeychainItem> KeychainItem::fromAttributes(const SecAttributes& given, Date now) {
    if (!isUsable(given, add) || !given.contains(kSecClass)) return std::nullopt;
    KeychainItem item = {.service = {},
                         .account = {},
                         .accessGroup = {},
                         .accessible = kSecAttrAccessibleWhenUnlocked,
                         .creationDate = now,
                         .modificationDate = now,
                         .data = {}};
    assign(item, given);
    return item;
}

bool KeychainItem::hasIdentityOf(const KeychainItem& other) const {
    return service == other.service && account == other.account && accessGroup == other.accessGroup;
}

std::optional<KeychainQuery> KeychainQuery::toCopy(const SecAttributes& asked) {
    if (!isUsable(asked, copy) || !asked.contains(kSecClass)) return std::nullopt;
    KeychainQuery query;
    query.asked_ = asked;
    return query;
}

std::optional<KeychainQuery> KeychainQuery::toChange(const SecAttributes& asked) {
    if (!isUsable(asked, change) || !asked.contains(kSecClass)) return std::nullopt;
    KeychainQuery query;
    query.asked_ = asked;
    return query;
}

KeychainQuery KeychainQuery::forIdentity(const KeychainItem& item) {
    KeychainQuery query;
    query.asked_ = {{kSecAttrService, item.service},
                    {kSecAttrAccount, item.account},
                    {kSecAttrAccessGroup, item.accessGroup}};
    return query;
}

const std::string* KeychainQuery::text(const char* key) const {
    return find<std::string>(asked_, key);
}

bool KeychainQuery::matches(const KeychainItem& item) const {
    const Date* created = find<Date>(asked_, kSecAttrCreationDate);
    const Date* modified = find<Date>(asked_, kSecAttrModificationDate);
    return (!created || *created == item.creationDate) && (!modified || *modified == item.modificationDate) &&
           std::all_of(keychainTextAttributes.begin(), keychainTextAttributes.end(),
                       [&](const KeychainTextAttribute& attribute) {
                           const std::string* expected = text(attribute.key);
                           return !expected || *expected == item.*attribute.field;
                       });
}

SecResult KeychainQuery::result(const std::vector<KeychainItem>& matches) const {
    const std::string* limit = text(kSecMatchLimit);
    const bool all = limit && *limit == kSecMatchLimitAll;
    const bool withData = isSet(asked_, kSecReturnData);
    if (isSet(asked_, kSecReturnAttributes)) {
        return oneOrAll<SecAttributes>(matches, all, [withData](const KeychainItem& item) {
            SecAttributes result = attributes(item);
            if (withData) result.emplace(kSecValueData, Data{item.data});
            return result;
        });
    }
    if (withData)
        return oneOrAll<Data>(matches, all, [](const KeychainItem& item) { return Data{item.data}; });
    return std::monostate();
}

std::optional<KeychainUpdate> KeychainUpdate::fromAttributes(const SecAttributes& given, Date now) {
    if (!isUsable(given, update)) return std::nullopt;
    return KeychainUpdate(given, now);
}

KeychainItem KeychainUpdate::appliedTo(KeychainItem item) const {
    assign(item, attributes_);
    item.modificationDate = now_;
    return item;
}

}  // namespace platform
