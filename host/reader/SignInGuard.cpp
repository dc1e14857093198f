// SPDX-License-Identifier: Apache-2.0

#include "host/reader/SignInGuard.hpp"

#include <utility>

#include "platform/SystemEvents/KeychainVersion.hpp"

namespace host {

SignInGuard::SignInGuard(const boost::asio::any_io_executor& executor, std::chrono::milliseconds patience,
                         std::string shown, std::function<void()> forget)
    : patience_(patience),
      forget_(std::move(forget)),
      shown_(std::move(shown)),
      late_(executor, [this] { this->forget(); }),
      keychain_(executor, [this] { compare(); }) {}

void SignInGuard::hear(const LiveState& state) {
    hasHost_ = true;
    // One that does not know it yet says nothing of what is shown.
    if (!state.keychain.empty()) shown_ = state.keychain;
    compare();
}

void SignInGuard::lose() {
    hasHost_ = false;
    compare();
}

LiveState SignInGuard::nothing() const {
    return {.entry = widget::placeholderEntry(platform::Date::now(), ""),
            .isPlaceholder = true,
            .keychain = keychain_.version()};
}

void SignInGuard::compare() {
    const auto& present = keychain_.version();
    // A host that ended before it knew it has said nothing of it.
    if (shown_.empty() && !hasHost_) shown_ = present;
    const bool isAnother = platform::areOfSameKeychain(shown_, present) && shown_ != present;
    if (!isAnother || (hasHost_ && present == judged_)) return late_.clear();
    if (!hasHost_) return forget();
    if (!late_.isSet()) late_.set(patience_);
}

void SignInGuard::forget() {
    late_.clear();
    judged_ = shown_ = keychain_.version();
    forget_();
}

}  // namespace host
