// SPDX-License-Identifier: Apache-2.0

#include "tests/support/InMemoryItemStore.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

namespace platform::testing {

class InMemoryItemStore::Transaction : public KeychainTransaction {
  public:
    explicit Transaction(InMemoryItemStore& store)
        : store_(store), lock_(store.mutex_), items_(store.items_) {}

    std::vector<KeychainItem> items(const KeychainQuery& query) override {
        std::vector<KeychainItem> found;
        std::copy_if(items_.begin(), items_.end(), std::back_inserter(found),
                     [&](const KeychainItem& item) { return query.matches(item); });
        return found;
    }
    void insert(const KeychainItem& item) override { items_.push_back(item); }
    void replace(const KeychainItem& item, const KeychainItem& replacement) override {
        *find(item) = replacement;
    }
    void erase(const KeychainItem& item) override { items_.erase(find(item)); }
    void commit() override { store_.items_ = std::move(items_); }
    void rehearse() override {}

  private:
    std::vector<KeychainItem>::iterator find(const KeychainItem& item) {
        return std::find_if(items_.begin(), items_.end(),
                            [&](const KeychainItem& other) { return other.hasIdentityOf(item); });
    }

    InMemoryItemStore& store_;
    std::lock_guard<std::mutex> lock_;
    std::vector<KeychainItem> items_;
};

class InMemoryItemStore::Lock : public SecItemLock {
  public:
    Lock(InMemoryItemStore& store, SecItemHold hold) : store_(store), hold_(hold) {}
    ~Lock() override {
        const std::lock_guard lock(store_.holdsMutex_);
        if (isHeld_) --holds();
    }

    OSStatus tryAcquire() override {
        const std::lock_guard lock(store_.holdsMutex_);
        const bool isExcluded =
            store_.exclusiveHolds_ > 0 || (hold_ == SecItemHold::exclusive && store_.sharedHolds_ > 0);
        if (isExcluded) return errSecInteractionNotAllowed;
        isHeld_ = true;
        ++holds();
        return errSecSuccess;
    }

  private:
    int& holds() { return hold_ == SecItemHold::shared ? store_.sharedHolds_ : store_.exclusiveHolds_; }

    InMemoryItemStore& store_;
    SecItemHold hold_;
    bool isHeld_ = false;
};

std::unique_ptr<SecItemLock> InMemoryItemStore::lock(SecItemHold hold) {
    return std::make_unique<Lock>(*this, hold);
}

std::unique_ptr<KeychainTransaction> InMemoryItemStore::begin(Access) {
    return std::make_unique<Transaction>(*this);
}

}  // namespace platform::testing
