// SPDX-License-Identifier: Apache-2.0

#pragma once

// A session bus of a test's own, and where asked a real keyring on it. The bus is a process-wide choice of
// the library below, so a session belongs in a process of its own.

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "platform/Security/SecretServiceItemStore.hpp"
#include "tests/support/ChildProcess.hpp"
#include "tests/support/TemporaryFolder.hpp"

namespace platform::testing {

// A process that is ended, by its id, with the object.
class Daemon {
  public:
    Daemon(std::vector<std::string> arguments, const std::string& input) {
        std::array<int, 2> standardInput = {};
        std::array<int, 2> standardOutput = {};
        if (::pipe(standardInput.data()) != 0 || ::pipe(standardOutput.data()) != 0) return;
        id_ = ::fork();
        if (id_ == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            ::dup2(standardInput[0], STDIN_FILENO);
            ::dup2(standardOutput[1], STDOUT_FILENO);
            for (const int end : {standardInput[0], standardInput[1], standardOutput[0], standardOutput[1]})
                ::close(end);
            std::vector<char*> pointers;
            for (std::string& argument : arguments) pointers.push_back(argument.data());
            pointers.push_back(nullptr);
            ::execvp(pointers[0], pointers.data());
            ::_exit(127);
        }
        ::close(standardInput[0]);
        ::close(standardOutput[1]);
        (void)!::write(standardInput[1], input.data(), input.size());
        ::close(standardInput[1]);
        output_ = standardOutput[0];
    }
    ~Daemon() {
        if (id_ > 0) {
            ::kill(id_, SIGKILL);
            ::waitpid(id_, nullptr, 0);
        }
        if (output_ >= 0) ::close(output_);
    }
    Daemon(const Daemon&) = delete;
    Daemon& operator=(const Daemon&) = delete;

    std::string firstLine() const {
        std::string line;
        for (char character = 0; ::read(output_, &character, 1) == 1 && character != '\n';) line += character;
        return line;
    }

  private:
    pid_t id_ = -1;
    int output_ = -1;
};

enum class Keyring { unlocked, locked, none };

// A session bus of its own that starts no service by itself, and where asked a real keyring on it.
class Session {
  public:
    explicit Session(Keyring keyring) {
        folder_.write("bus.conf", configuration());
        bus_.emplace(
            std::vector<std::string>{"dbus-daemon", "--config-file=" + (folder_.path() / "bus.conf").string(),
                                     "--nofork", "--print-address=1"},
            "");
        ::setenv("DBUS_SESSION_BUS_ADDRESS", bus_->firstLine().c_str(), 1);
        for (const char* home :
             {"HOME", "XDG_DATA_HOME", "XDG_RUNTIME_DIR", "XDG_CACHE_HOME", "XDG_CONFIG_HOME"}) {
            ::setenv(home, folder_.path().c_str(), 1);
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
    std::string configuration() const {
        return R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
            "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
            <busconfig>
              <type>session</type>
              <listen>unix:path=)" +
               (folder_.path() / "bus").string() + R"(</listen>
              <policy context="default">
                <allow send_destination="*" eavesdrop="true"/>
                <allow eavesdrop="true"/>
                <allow own="*"/>
              </policy>
            </busconfig>)";
    }
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

    TemporaryFolder folder_;
    std::optional<Daemon> bus_;
    std::optional<Daemon> keyring_;
};

}  // namespace platform::testing
