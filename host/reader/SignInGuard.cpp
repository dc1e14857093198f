// SPDX-License-Identifier: Apache-2.0

#include "host/reader/SignInGuard.hpp"

#include <utility>

#include "host/reader/ShownState.hpp"
#include "platform/SystemEvents/KeychainVersion.hpp"

namespace host {

SignInGuard::SignInGuard(const boost::asio::any_io_executor& executor, std::chrono::milliseconds patience,
                         std::string shown, Handlers handlers)
    : patience_(patience),
      handlers_(std::move(handlers)),
      shown_(std::move(shown)),
      late_(executor, [this] { forget(); }),
      keychain_(executor, [this] { look(); }) {}

bool SignInGuard::isHeldBack(const LiveState& state) const {
    return isSomebodys(state) && isAnother(state.keychain);
}

void SignInGuard::hear(const LiveState& state) {
    hasHost_ = true;
    said_ = state.keychain;
    heldBack_ = state;
    look();
}

void SignInGuard::look() {
    if (!heldBack_ || isHeldBack(*heldBack_)) return compare();
    const auto state = *std::exchange(heldBack_, std::nullopt);
    // One that has just begun may not know it yet, and what was shown stays.
    if (!state.isPlaceholder || !said_.empty()) shown_ = said_;
    compare();
    handlers_.show(state);
}

void SignInGuard::lose() {
    hasHost_ = false;
    said_.clear();
    heldBack_.reset();
    compare();
}

LiveState SignInGuard::nothing() const {
    auto state = nothingKnown();
    state.keychain = keychain_.version();
    return state;
}

void SignInGuard::compare() {
    const auto& present = keychain_.version();
    // A host that ended before it knew it has said nothing of it.
    if (shown_.empty() && !hasHost_) shown_ = present;
    if (!isAnother(said_.empty() ? shown_ : said_)) return late_.clear();
    if (!hasHost_) return forget();
    if (!late_.isSet()) late_.set(patience_);
}

bool SignInGuard::isAnother(const std::string& keychain) const {
    const auto& present = keychain_.version();
    return platform::areOfSameKeychain(keychain, present) && keychain != present;
}

void SignInGuard::forget() {
    late_.clear();
    shown_ = keychain_.version();
    handlers_.forget();
}

}  // namespace host
