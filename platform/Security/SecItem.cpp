// SPDX-License-Identifier: Apache-2.0

#include "platform/Security/SecItem.hpp"

#include <atomic>
#include <utility>

#include "platform/Security/EmbeddedItemStore.hpp"
#include "platform/Security/KeychainLock.hpp"
#include "platform/Security/PersonalKeychain.hpp"
#include "platform/Security/SecretServiceItemStore.hpp"

namespace platform {
namespace {

// Stands where no keychain can be had, and says why with its status.
class UnavailableItemStore : public KeychainStore {
  public:
    explicit UnavailableItemStore(KeychainFailure failure) : failure_(std::move(failure)) {}

    std::unique_ptr<SecItemLock> lock(SecItemHold hold) override {
        const auto refuse = [failure = failure_](SecItemHold) -> std::optional<LockFile> { throw failure; };
        return std::make_unique<KeychainLock>(hold, KeychainLock::Store{.lockFile = refuse, .prepare = {}});
    }

  protected:
    std::unique_ptr<KeychainTransaction> begin(Access) override { throw failure_; }

  private:
    KeychainFailure failure_;
};

std::unique_ptr<SecItemStore> personalStore() {
    const auto kind = personalKeychainKind();
    const auto file = personalKeychainFile();
    if (kind == KeychainKind::secretService)
        return std::make_unique<SecretServiceItemStore>(
            file ? std::optional(std::filesystem::path(*file).replace_extension(".lock")) : std::nullopt);
    // A misspelt choice must not put secrets where they were not meant to be.
    if (!kind)
        return std::make_unique<UnavailableItemStore>(KeychainFailure{
            errSecNotAvailable, "VELA_KEYCHAIN names no keychain: it may be embedded or secret-service"});
    if (file) return std::make_unique<EmbeddedItemStore>(*file);
    return std::make_unique<UnavailableItemStore>(KeychainFailure{
        errSecIO, "there is no data folder for the keychain: neither XDG_DATA_HOME nor a home is known"});
}

std::atomic<SecItemStore*> overriding = nullptr;

}  // namespace

SecItemStore& SecItemStore::current() {
    if (SecItemStore* store = overriding) return *store;
    static const std::unique_ptr<SecItemStore> personal = personalStore();
    return *personal;
}

SecItemStore::Override::Override(SecItemStore& store) : previous_(overriding.exchange(&store)) {}
SecItemStore::Override::~Override() {
    overriding = previous_;
}

OSStatus SecItemCopyMatching(const SecAttributes& query, SecResult* result) {
    return SecItemStore::current().copyMatching(query, result);
}
OSStatus SecItemAdd(const SecAttributes& attributes) {
    return SecItemStore::current().add(attributes);
}
OSStatus SecItemUpdate(const SecAttributes& query, const SecAttributes& attributesToUpdate) {
    return SecItemStore::current().update(query, attributesToUpdate);
}
OSStatus SecItemDelete(const SecAttributes& query) {
    return SecItemStore::current().remove(query);
}

std::unique_ptr<SecItemTransaction> SecItemBeginTransaction() {
    return SecItemStore::current().beginTransaction();
}
std::unique_ptr<SecItemLock> SecItemMakeLock(SecItemHold hold) {
    return SecItemStore::current().lock(hold);
}

}  // namespace platform
