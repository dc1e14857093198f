// SPDX-License-Identifier: Apache-2.0

#pragma once

// A clock that a test moves on: a week goes by in as long as it takes to do what is done in it. Belongs to
// the context whose handlers it runs.

#include <algorithm>
#include <boost/asio/io_context.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <optional>

#include "platform/SystemEvents/WallClock.hpp"

namespace platform::testing {

class SteppedWallClock final : public WallClock {
  public:
    SteppedWallClock(boost::asio::io_context& context, Date now)
        : context_(context), now_(now), woken_(context, boost::asio::steady_timer::time_point::max()) {}

    Date now() const override { return now_; }

    boost::asio::awaitable<void> waitUntil(Date date) override {
        ++waits;
        due_ = date;
        boost::system::error_code ignored;
        if (now_ < date)
            co_await woken_.async_wait(boost::asio::redirect_error(boost::asio::use_awaitable, ignored));
        due_.reset();
    }

    void interrupt() override { woken_.cancel(); }

    /// Runs all that can be done without time going by.
    void settle() {
        context_.restart();
        while (context_.poll() > 0) context_.restart();
    }

    /// Moves on, with a stop wherever somebody waits for.
    void advance(double seconds) {
        settle();
        const auto end = now_.addingTimeInterval(seconds);
        while (due_ && *due_ <= end) {
            now_ = std::max(now_, *due_);
            woken_.cancel();
            settle();
        }
        now_ = end;
        settle();
    }

    /// As one whom somebody sets, or who was asleep: at once.
    void jump(double seconds) {
        now_ = now_.addingTimeInterval(seconds);
        if (due_ && *due_ <= now_) woken_.cancel();
    }

    const std::optional<Date>& due() const { return due_; }
    int waits = 0;

  private:
    boost::asio::io_context& context_;
    Date now_;
    boost::asio::steady_timer woken_;
    std::optional<Date> due_;
};

}  // namespace platform::testing
