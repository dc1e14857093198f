// SPDX-License-Identifier: Apache-2.0

#include "platform/SystemEvents/KeychainWatch.hpp"

#include <utility>

#include "platform/Security/PersonalKeychain.hpp"
#include "platform/SystemEvents/KeychainVersion.hpp"

namespace platform {

KeychainWatch::KeychainWatch(const boost::asio::any_io_executor& executor, std::function<void()> changed) {
    const auto kind = personalKeychainKind();
    const auto file = personalKeychainFile();
    const auto looked = [this, changed = std::move(changed)] { look(changed); };
    if (kind == KeychainKind::embedded && file && file->is_absolute()) {
        file_ = file;
        files_.emplace(executor, std::vector{*file_}, [looked](std::size_t) { looked(); });
    }
    if (kind == KeychainKind::secretService) keyring_.emplace(executor, looked, looked);
    version_ = presentVersion();
}

void KeychainWatch::look(const std::function<void()>& changed) {
    auto present = presentVersion();
    if (present == version_) return;
    version_ = std::move(present);
    changed();
}

std::string KeychainWatch::presentVersion() const {
    if (file_) return keychainVersion(*file_);
    return keyring_ ? keyring_->version() : "";
}

}  // namespace platform
