#pragma once

// The keychain's four calls on attribute dictionaries, over a store of generic-password items. The constants
// carry the platform's own string values, so that items are interchangeable.
//
// Identity of an item: class, service, account, access group. Every attribute of a query filters,
// accessibility included. Status 0 is success; -25300 no match; -25299 a second add of one identity; -50 an
// unusable query; -25308 a locked store; -25291 no keychain service; -36 a store that cannot be read or
// written. No call throws, and none waits longer than a few seconds on another process. Safe from any thread.

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "platform/Date/Date.hpp"

namespace platform {

using OSStatus = std::int32_t;

inline constexpr OSStatus errSecSuccess = 0;
inline constexpr OSStatus errSecIO = -36;
inline constexpr OSStatus errSecParam = -50;
inline constexpr OSStatus errSecNotAvailable = -25291;
inline constexpr OSStatus errSecDuplicateItem = -25299;
inline constexpr OSStatus errSecItemNotFound = -25300;
inline constexpr OSStatus errSecInteractionNotAllowed = -25308;

inline constexpr const char* kSecClass = "class";
inline constexpr const char* kSecClassGenericPassword = "genp";
inline constexpr const char* kSecAttrService = "svce";
inline constexpr const char* kSecAttrAccount = "acct";
inline constexpr const char* kSecAttrAccessGroup = "agrp";
inline constexpr const char* kSecAttrAccessible = "pdmn";
inline constexpr const char* kSecAttrCreationDate = "cdat";
inline constexpr const char* kSecAttrModificationDate = "mdat";
inline constexpr const char* kSecValueData = "v_Data";
inline constexpr const char* kSecReturnData = "r_Data";
inline constexpr const char* kSecReturnAttributes = "r_Attributes";
inline constexpr const char* kSecMatchLimit = "m_Limit";
inline constexpr const char* kSecMatchLimitOne = "m_LimitOne";
inline constexpr const char* kSecMatchLimitAll = "m_LimitAll";

inline constexpr const char* kSecAttrAccessibleWhenUnlocked = "ak";
inline constexpr const char* kSecAttrAccessibleAfterFirstUnlock = "ck";
inline constexpr const char* kSecAttrAccessibleAlways = "dk";
inline constexpr const char* kSecAttrAccessibleWhenPasscodeSetThisDeviceOnly = "akpu";
inline constexpr const char* kSecAttrAccessibleWhenUnlockedThisDeviceOnly = "aku";
inline constexpr const char* kSecAttrAccessibleAfterFirstUnlockThisDeviceOnly = "cku";
inline constexpr const char* kSecAttrAccessibleAlwaysThisDeviceOnly = "dku";

/// A byte string.
struct Data {
    std::string bytes;
    bool operator==(const Data&) const = default;
};

using SecValue = std::variant<bool, std::string, Data, Date>;
/// Attribute keys to values.
using SecAttributes = std::map<std::string, SecValue>;

/// What a copy yields: nothing, an item's bytes (only data asked), its attributes (and data when both are
/// asked), or with match-limit-all a list of either. Lists are in order of creation.
using SecResult =
    std::variant<std::monostate, Data, SecAttributes, std::vector<Data>, std::vector<SecAttributes>>;

/// The store behind the four calls. A seam: `tests/support` has one in memory and a scripted one.
class SecItemStore {
  public:
    virtual ~SecItemStore() = default;

    /// With no result slot the status alone answers.
    virtual OSStatus copyMatching(const SecAttributes& query, SecResult* result) = 0;
    virtual OSStatus add(const SecAttributes& attributes) = 0;
    virtual OSStatus update(const SecAttributes& query, const SecAttributes& attributesToUpdate) = 0;
    /// Deletes every item that matches.
    virtual OSStatus remove(const SecAttributes& query) = 0;

    /// Why the store's file or folder is not used, and what mends that, for a person who asks; nothing where
    /// it is.
    virtual std::optional<std::string> refusal() const { return std::nullopt; }

    /// The person's keychain: embedded, or the desktop's Secret Service where VELA_KEYCHAIN is
    /// "secret-service". Made on first use; an override replaces it.
    static SecItemStore& current();

    class Override {
      public:
        explicit Override(SecItemStore& store);
        ~Override();
        Override(const Override&) = delete;
        Override& operator=(const Override&) = delete;

      private:
        SecItemStore* previous_;
    };
};

OSStatus SecItemCopyMatching(const SecAttributes& query, SecResult* result);
OSStatus SecItemAdd(const SecAttributes& attributes);
OSStatus SecItemUpdate(const SecAttributes& query, const SecAttributes& attributesToUpdate);
OSStatus SecItemDelete(const SecAttributes& query);

}  // namespace platform
