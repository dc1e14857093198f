// SPDX-License-Identifier: Apache-2.0

#pragma once

// The calendar's clock of the machine. A wait ends when the clock shows its time, whether it went there, was
// set, or the machine slept meanwhile. Belongs to one executor.

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/steady_timer.hpp>
#include <memory>

#include "platform/Asio/DescriptorWatch.hpp"
#include "platform/SystemEvents/WallClock.hpp"

namespace platform {

class RealTimeClock : public WallClock {
  public:
    /// Throws std::system_error where the system has no timer left.
    explicit RealTimeClock(const boost::asio::any_io_executor& executor);

    Date now() const override;
    boost::asio::awaitable<void> waitUntil(Date date) override;
    void interrupt() override;

  private:
    void look();

    DescriptorWatch kernel_;
    /// Waits without an end; it is cancelled when the wait is over.
    boost::asio::steady_timer over_;
    Date due_ = Date::since1970(0);
    /// Outlives the clock where a wait does.
    std::shared_ptr<bool> isWaiting_ = std::make_shared<bool>(false);
};

}  // namespace platform
