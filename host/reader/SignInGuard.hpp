// SPDX-License-Identifier: Apache-2.0

#pragma once

// Whose what a reader shows is, while no live host says so: by the version of the keychain alone, which the
// kernel or the keyring tells of. Nothing is read of it. Belongs to one executor.

#include <boost/asio/any_io_executor.hpp>
#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include "host/protocol/LiveState.hpp"
#include "platform/Asio/DescriptorWatch.hpp"
#include "platform/SystemEvents/KeychainWatch.hpp"

namespace host {

class SignInGuard {
  public:
    struct Handlers {
        /// Told what the host says, unless it is somebody's by a keychain that is another than the one which
        /// is seen here. Either may be late: the host's word is shown once both are the same.
        std::function<void(const LiveState&)> show;
        /// Told where somebody may have signed out, or in, and no host says anything of it; nothing of what
        /// is shown is to stay then.
        std::function<void()> forget;
    };

    /// A host looks at each other version, and says within `patience` what it means. `shown` is that of what
    /// is shown already, or empty.
    SignInGuard(const boost::asio::any_io_executor& executor, std::chrono::milliseconds patience,
                std::string shown, Handlers handlers);

    /// A host says that.
    void hear(const LiveState& state);
    /// None does.
    void lose();

    /// What is to be shown in place of what is forgotten.
    LiveState nothing() const;

  private:
    bool isAnother(const std::string& keychain) const;
    bool isHeldBack(const LiveState& state) const;
    void look();
    void compare();
    void forget();

    std::chrono::milliseconds patience_;
    Handlers handlers_;
    std::string shown_;
    /// What the host said last; empty where there is none, or it does not know.
    std::string said_;
    /// What it said, while that is not to be shown.
    std::optional<LiveState> heldBack_;
    bool hasHost_ = false;
    platform::Alarm late_;
    platform::KeychainWatch keychain_;
};

}  // namespace host
