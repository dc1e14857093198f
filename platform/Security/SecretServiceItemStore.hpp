// SPDX-License-Identifier: Apache-2.0

#pragma once

// The desktop user's keyring (the Secret Service on the session bus) as a keychain. Items lie in the default
// collection under a schema of their own, their text attributes as the items' attributes; the service keeps
// the dates, to the second. Never asks the person anything: a locked collection is -25308, a missing service
// -25291. Texts that the bus cannot carry (ill-formed UTF-8, a zero byte) are -50. Safe from any thread.
//
// The service knows neither locks nor transactions. Writers exclude one another by a lock file, and a
// transaction of several changes is written down as one item before it is made. Where there are several items
// of one identity, the newest counts and the next write removes the others.

#include <chrono>
#include <filesystem>
#include <optional>

#include "platform/Security/KeychainStore.hpp"
#include "platform/Security/LockFile.hpp"

namespace platform {

class SecretServiceItemStore : public KeychainStore {
  public:
    /// How long a call waits for the service, and for another process. A write has a renewed token to lose.
    struct Patience {
        std::chrono::milliseconds read = std::chrono::seconds(3);
        std::chrono::milliseconds write = std::chrono::seconds(30);
    };

    /// Without a lock file nothing can be written: -36.
    explicit SecretServiceItemStore(std::optional<std::filesystem::path> lockFile)
        : SecretServiceItemStore(std::move(lockFile), Patience()) {}
    SecretServiceItemStore(std::optional<std::filesystem::path> lockFile, Patience patience)
        : lockFile_(std::move(lockFile)), patience_(patience) {}

    std::unique_ptr<SecItemLock> lock(SecItemHold hold) override;

  protected:
    std::unique_ptr<KeychainTransaction> begin(Access access) override;

  private:
    LockFile lockFile() const;

    std::optional<std::filesystem::path> lockFile_;
    Patience patience_;
};

}  // namespace platform
