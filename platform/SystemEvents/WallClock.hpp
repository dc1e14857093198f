// SPDX-License-Identifier: Apache-2.0

#pragma once

// Waiting by the calendar's clock, which goes on while the machine is suspended. The seam through which tests
// let a week go by. Belongs to one executor.

#include <boost/asio/awaitable.hpp>

#include "platform/Date/Date.hpp"

namespace platform {

class WallClock {
  public:
    virtual ~WallClock() = default;

    virtual Date now() const = 0;

    /// Until the clock shows `date`, which it does at once where it does already, however it got there. One
    /// wait at a time; `interrupt` ends it early.
    virtual boost::asio::awaitable<void> waitUntil(Date date) = 0;
    virtual void interrupt() = 0;
};

}  // namespace platform
