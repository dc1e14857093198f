// SPDX-License-Identifier: Apache-2.0

#pragma once

// A message bus of a test's own, which starts no service by itself, at an address that stays.

#include <optional>
#include <string>
#include <vector>

#include "tests/support/Daemon.hpp"
#include "tests/support/TemporaryFolder.hpp"

namespace platform::testing {

class PrivateBus {
  public:
    PrivateBus() {
        folder_.write("bus.conf", configuration());
        start();
    }

    /// As the environment variables for buses have it.
    std::string address() const { return "unix:path=" + (folder_.path() / "bus").string(); }
    const TemporaryFolder& folder() const { return folder_; }

    void start() {
        daemon_.emplace(
            std::vector<std::string>{"dbus-daemon", "--config-file=" + (folder_.path() / "bus.conf").string(),
                                     "--nofork", "--print-address=1"},
            "");
        daemon_->firstLine();
    }
    void stop() {
        daemon_.reset();
        std::filesystem::remove(folder_.path() / "bus");
    }

  private:
    std::string configuration() const {
        return R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
            "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
            <busconfig>
              <type>session</type>
              <listen>)" +
               address() + R"(</listen>
              <policy context="default">
                <allow send_destination="*" eavesdrop="true"/>
                <allow eavesdrop="true"/>
                <allow own="*"/>
              </policy>
            </busconfig>)";
    }

    TemporaryFolder folder_;
    std::optional<Daemon> daemon_;
};

}  // namespace platform::testing
