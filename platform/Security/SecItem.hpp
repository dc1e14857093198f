// SPDX-License-Identifier: Apache-2.0

#pragma once

// The keychain's four calls on attribute dictionaries, over a store of generic-password items. The constants
// carry the platform's own string values, so that items are interchangeable.
//
// Identity of an item: class, service, account, access group. Every attribute of a query filters,
// accessibility included. Status 0 is success; -25300 no match; -25299 a second add of one identity; -50 an
// unusable query; -25308 a locked store; -25291 no keychain service; -36 a store that cannot be read or
// written. A store that can be read but not written is refused as one that cannot be read: a token that
// changes with its use must not be used where its successor cannot be kept. No call throws. On another
// process a read waits for two or three seconds, a write for thirty. Safe from any thread.

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

/// From its beginning to its end this thread's calls are one transaction: all that they write is kept, or
/// nothing is. It takes hold of the store with the first call that writes, that asks without a result slot,
/// or that finds nothing; from then on no other process changes the store. A read that finds something costs
/// what it always does. A write that fails, other than to delete what is not there, ends it: every later call
/// answers with that status and does nothing. One that begins within another is a part of it. For one thread,
/// and not across a suspension.
class SecItemTransaction {
  public:
    /// Without a commit nothing is kept.
    virtual ~SecItemTransaction() = default;
    /// Keeps what was written; anything but 0 says that nothing was. Within another: whether it can still be
    /// kept.
    virtual OSStatus commit() = 0;
    /// After a commit that failed: the accounts of the writes that were answered with 0 all the same, in
    /// order.
    virtual const std::vector<std::string>& lostAccounts() const = 0;
};

/// Whoever renews credentials holds the store `shared` from reading them to storing their successors; whoever
/// replaces or removes them holds it `exclusive`, and comes before those who ask for it later.
enum class SecItemHold { shared, exclusive };

/// Held until its end, and let go of by the system when the process dies. For one thread at a time.
class SecItemLock {
  public:
    virtual ~SecItemLock() = default;
    /// 0 when it is held. -25308 while another process excludes this one: ask again. -25300, only when
    /// shared: there is no store, so nothing that could be renewed; -25291: no keychain service. -36 when it
    /// cannot be had, or, only when shared, when something that is written could not be kept: a change has
    /// been made for trial and taken back.
    virtual OSStatus tryAcquire() = 0;
};

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

    virtual std::unique_ptr<SecItemTransaction> beginTransaction() = 0;
    /// Not yet acquired.
    virtual std::unique_ptr<SecItemLock> lock(SecItemHold hold) = 0;

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

std::unique_ptr<SecItemTransaction> SecItemBeginTransaction();
/// Not yet acquired.
std::unique_ptr<SecItemLock> SecItemMakeLock(SecItemHold hold);

/// Why this thread's latest call that failed did, in words for a person; empty where its status says all.
/// Names files, never what is in them. The log has it too.
const std::string& SecItemFault();

}  // namespace platform
