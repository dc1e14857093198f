// SPDX-License-Identifier: Apache-2.0

#pragma once

// A keychain that forgets everything at its end. Same queries, same answers as the kept ones. Safe from any
// thread.

#include <mutex>
#include <vector>

#include "platform/Security/KeychainStore.hpp"

namespace platform::testing {

class InMemoryItemStore : public KeychainStore {
  public:
    std::unique_ptr<SecItemLock> lock(SecItemHold hold) override;

  protected:
    std::unique_ptr<KeychainTransaction> begin(Access access) override;

  private:
    class Transaction;
    class Lock;

    std::mutex mutex_;
    std::vector<KeychainItem> items_;
    std::mutex holdsMutex_;
    int sharedHolds_ = 0;
    int exclusiveHolds_ = 0;
};

}  // namespace platform::testing
