// SPDX-License-Identifier: Apache-2.0

#pragma once

// The zone of the whole process, in force from construction to destruction: TZ, as the C library has taken it
// in. Not to be changed while other threads read the environment.

#include <optional>
#include <string>

namespace platform::testing {

class ZoneInForce {
  public:
    /// Any value of TZ; without one, /etc/localtime rules.
    explicit ZoneInForce(const std::optional<std::string>& value);
    ~ZoneInForce();
    ZoneInForce(const ZoneInForce&) = delete;
    ZoneInForce& operator=(const ZoneInForce&) = delete;

    void change(const std::optional<std::string>& value);

  private:
    std::optional<std::string> previous_;
};

}  // namespace platform::testing
