// SPDX-License-Identifier: Apache-2.0

#include "platform/SystemEvents/RealTimeClock.hpp"

#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <stdexcept>
#include <system_error>

namespace platform {
namespace {

// The year 2242, which the kernel's nanoseconds still reach.
constexpr double furthestWait = 8.6e9;

int realTimeTimer() {
    const int timer = ::timerfd_create(CLOCK_REALTIME, TFD_NONBLOCK | TFD_CLOEXEC);
    if (timer < 0) throw std::system_error(errno, std::generic_category(), "the system has no timer left");
    return timer;
}

void setTimer(int timer, Date date) {
    const double seconds = std::clamp(date.timeIntervalSince1970(), 0.0, furthestWait);
    const double whole = std::floor(seconds);
    // Rounded up, so that the clock shows the date when it is read; and never zero, which would disarm.
    const auto rest = std::min(999'999'999L, std::lround(std::ceil((seconds - whole) * 1e9)) + 1);
    const itimerspec due = {.it_interval = {},
                            .it_value = {.tv_sec = static_cast<time_t>(whole), .tv_nsec = rest}};
    // Fails with ECANCELED where the clock was set since the last time, and is set all the same.
    ::timerfd_settime(timer, TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET, &due, nullptr);
}

}  // namespace

RealTimeClock::RealTimeClock(const boost::asio::any_io_executor& executor)
    : kernel_(executor, realTimeTimer(), [this] { look(); }), over_(executor) {}

Date RealTimeClock::now() const {
    return Date::now();
}

boost::asio::awaitable<void> RealTimeClock::waitUntil(Date date) {
    if (*isWaiting_) throw std::logic_error("one wait at a time");
    if (now() >= date) co_return;
    const auto isWaiting = isWaiting_;
    *isWaiting = true;
    due_ = date;
    over_.expires_at(std::chrono::steady_clock::time_point::max());
    setTimer(kernel_.descriptor(), date);
    boost::system::error_code error;
    co_await over_.async_wait(boost::asio::redirect_error(boost::asio::use_awaitable, error));
    *isWaiting = false;
}

void RealTimeClock::interrupt() {
    over_.cancel();
}

void RealTimeClock::look() {
    std::uint64_t ignored = 0;
    // After the clock was set the read fails, and the wait is looked at anew.
    (void)!::read(kernel_.descriptor(), &ignored, sizeof ignored);
    if (!*isWaiting_) return;
    if (now() >= due_)
        interrupt();
    else
        setTimer(kernel_.descriptor(), due_);
}

}  // namespace platform
