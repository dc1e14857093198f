#pragma once

// A keychain that forgets everything at its end. Same queries, same answers as the kept ones. Safe from any
// thread.

#include <mutex>
#include <vector>

#include "platform/Security/KeychainStore.hpp"

namespace platform::testing {

class InMemoryItemStore : public KeychainStore {
  protected:
    std::unique_ptr<KeychainTransaction> begin(Access access) override;

  private:
    class Transaction;

    std::mutex mutex_;
    std::vector<KeychainItem> items_;
};

}  // namespace platform::testing
