// SPDX-License-Identifier: Apache-2.0

#pragma once

// Notices that a person's keychain is of another version, by the kernel's word or the keyring's, for who
// never opens it. Belongs to one executor.

#include <boost/asio/any_io_executor.hpp>
#include <functional>
#include <optional>
#include <string>

#include "platform/SystemEvents/FileWatcher.hpp"
#include "platform/SystemEvents/KeyringWatcher.hpp"

namespace platform {

class KeychainWatch {
  public:
    /// The one that the environment names. `changed` is told once the version is another, or known at last.
    KeychainWatch(const boost::asio::any_io_executor& executor, std::function<void()> changed);

    /// Empty while it is not known, and where there is no keychain.
    const std::string& version() const { return version_; }

  private:
    void look(const std::function<void()>& changed);
    std::string presentVersion() const;

    std::optional<std::filesystem::path> file_;
    std::string version_;
    std::optional<FileWatcher> files_;
    std::optional<KeyringWatcher> keyring_;
};

}  // namespace platform
