// SPDX-License-Identifier: Apache-2.0

#pragma once

// What happens to the machine and to the stores of a person while a program lives for weeks. Belongs to one
// executor: the handler is called on its thread, and the members may be called from that thread only.

#include <functional>
#include <string>
#include <string_view>

namespace platform {

enum class SystemEvent {
    /// The keychain, or the shared defaults, may hold something else than before.
    secretsChanged,
    defaultsChanged,
    /// Nothing changed, but which version of the keychain there is, is known at last.
    secretsKnown,
    /// There is a way to the network again.
    networkReturned,
    /// The machine was suspended and runs again.
    resumed,
    /// The real-time clock jumped.
    clockSet,
    /// The system's zone is another.
    zoneChanged,
};
std::string_view name(SystemEvent event);

class SystemEvents {
  public:
    using Handler = std::function<void(SystemEvent)>;

    virtual ~SystemEvents() = default;

    /// From now on `handler` receives what happens. Called once.
    virtual void listen(Handler handler) = 0;

    /// Which version of the keychain there is (KeychainVersion), once somebody listens; empty where that is
    /// not known.
    virtual std::string keychainVersion() const = 0;
};

}  // namespace platform
