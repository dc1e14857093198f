// SPDX-License-Identifier: Apache-2.0

#pragma once

// A keychain in one SQLite file of mode 0600, shared by the programs of one person. Every call opens the file
// afresh: nothing is remembered, so that a file that was replaced or removed meanwhile is seen as it is. A
// kill at any instant leaves the state before or after the call, or the transaction that it is a part of.
// Beside the file lie its lock (`.lock`, always empty) and the room that is kept for a write on a full disk
// (`.reserve`). Safe from any thread.

#include <chrono>
#include <filesystem>

#include "platform/Security/KeychainStore.hpp"

namespace platform {

class EmbeddedItemStore : public KeychainStore {
  public:
    /// How long a call waits for another process. A write has a renewed token to lose.
    struct Patience {
        std::chrono::milliseconds read = std::chrono::seconds(2);
        std::chrono::milliseconds write = std::chrono::seconds(30);
    };

    /// Neither the file nor its folder has to exist; both are made when something is first added.
    explicit EmbeddedItemStore(std::filesystem::path file) : EmbeddedItemStore(std::move(file), Patience()) {}
    EmbeddedItemStore(std::filesystem::path file, Patience patience)
        : file_(std::move(file)), patience_(patience) {}

    std::unique_ptr<SecItemLock> lock(SecItemHold hold) override;

  protected:
    std::unique_ptr<KeychainTransaction> begin(Access access) override;

  private:
    std::unique_ptr<KeychainTransaction> begunOnce(Access access);

    std::filesystem::path file_;
    Patience patience_;
};

}  // namespace platform
