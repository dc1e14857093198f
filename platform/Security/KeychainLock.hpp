// SPDX-License-Identifier: Apache-2.0

#pragma once

// What keeps a renewal of credentials and their replacement apart, over a lock file.

#include <functional>
#include <optional>

#include "platform/Security/LockFile.hpp"
#include "platform/Security/SecItem.hpp"

namespace platform {

class KeychainLock : public SecItemLock {
  public:
    struct Store {
        /// The store's lock file; nothing where there is no store and holding it needs none. Throws
        /// KeychainFailure.
        std::function<std::optional<LockFile>(SecItemHold)> lockFile;
        /// Called with the lock held. Throws KeychainFailure when what is to be written could not be kept.
        std::function<void(SecItemHold)> prepare;
    };

    KeychainLock(SecItemHold hold, Store store) : hold_(hold), store_(std::move(store)) {}

    OSStatus tryAcquire() override;

  private:
    void prepare() const;
    bool tryShared();
    bool tryExclusive();

    SecItemHold hold_;
    Store store_;
    std::optional<LockFile> file_;
};

}  // namespace platform
