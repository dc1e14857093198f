// SPDX-License-Identifier: Apache-2.0

#pragma once

// A machine on which happens what a test says.

#include <string>
#include <utility>

#include "platform/SystemEvents/SystemEvents.hpp"

namespace platform::testing {

class ScriptedSystemEvents final : public SystemEvents {
  public:
    void listen(Handler handler) override { handler_ = std::move(handler); }
    std::string keychainVersion() const override { return version; }

    /// Nothing before somebody listens.
    void happens(SystemEvent event) const {
        if (handler_) handler_(event);
    }

    std::string version;

  private:
    Handler handler_;
};

}  // namespace platform::testing
