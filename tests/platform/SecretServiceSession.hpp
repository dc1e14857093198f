// SPDX-License-Identifier: Apache-2.0

#pragma once

// A session bus of a test's own, and where asked a real keyring on it. The bus is a process-wide choice of
// the library below, so a session belongs in a process of its own.

#include <unistd.h>

#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "platform/Security/SecretServiceItemStore.hpp"
#include "tests/support/ChildProcess.hpp"
#include "tests/support/Daemon.hpp"
#include "tests/support/PrivateBus.hpp"

namespace platform::testing {

enum class Keyring { unlocked, locked, none };

// A session bus of its own that starts no service by itself, and where asked a real keyring on it.
class Session {
  public:
    explicit Session(Keyring keyring) {
        ::setenv("DBUS_SESSION_BUS_ADDRESS", bus_.address().c_str(), 1);
        for (const char* home :
             {"HOME", "XDG_DATA_HOME", "XDG_RUNTIME_DIR", "XDG_CACHE_HOME", "XDG_CONFIG_HOME"}) {
            ::setenv(home, bus_.folder().path().c_str(), 1);
        }
        if (keyring != Keyring::none) startKeyring();
        if (keyring == Keyring::locked) {
            keyring_.reset();
            // The same keyring, in a daemon that nobody has unlocked.
            keyring_.emplace(
                std::vector<std::string>{"gnome-keyring-daemon", "--foreground", "--components=secrets"}, "");
            awaitService();
        }
    }

  private:
    void startKeyring() {
        keyring_.emplace(std::vector<std::string>{"gnome-keyring-daemon", "--foreground", "--unlock",
                                                  "--components=secrets"},
                         "a password");
        awaitService();
    }
    void awaitService() {
        // In a process of its own: one that has used the library cannot fork another that does.
        runInChild([] {
            SecretServiceItemStore store(std::nullopt);
            const SecAttributes any = {{kSecClass, std::string(kSecClassGenericPassword)}};
            for (int attempt = 0; attempt < 2000; ++attempt) {
                if (store.copyMatching(any, nullptr) != errSecNotAvailable) return 0;
                ::usleep(5000);
            }
            return 1;
        });
    }

    PrivateBus bus_;
    std::optional<Daemon> keyring_;
};

}  // namespace platform::testing
