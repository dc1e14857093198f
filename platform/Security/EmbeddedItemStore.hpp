#pragma once

// A keychain in one SQLite file of mode 0600, shared by the programs of one person. Every call opens the file
// afresh: nothing is remembered, so that a file that was replaced or removed meanwhile is seen as it is. A
// kill at any instant leaves the state before or after the call. What another user could have read or changed
// is refused with -36 and logged once (platform/Files/TrustedFolder). Safe from any thread.

#include <atomic>
#include <filesystem>

#include "platform/Security/KeychainStore.hpp"

namespace platform {

class EmbeddedItemStore : public KeychainStore {
  public:
    /// Neither the file nor its folder has to exist; both are made when something is first added.
    explicit EmbeddedItemStore(std::filesystem::path file) : file_(std::move(file)) {}

    std::optional<std::string> refusal() const override;

  protected:
    std::unique_ptr<KeychainTransaction> begin(Access access) override;

  private:
    /// Whether there is a file; a file is made where `access` says so.
    bool prepare(Access access);

    std::filesystem::path file_;
    std::atomic<bool> hasComplained_ = false;
};

}  // namespace platform
