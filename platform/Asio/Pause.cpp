// SPDX-License-Identifier: Apache-2.0

#include "platform/Asio/Pause.hpp"

#include <boost/asio/steady_timer.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>

namespace platform {

boost::asio::awaitable<void> pause(std::chrono::milliseconds duration) {
    boost::asio::steady_timer timer(co_await boost::asio::this_coro::executor, duration);
    co_await timer.async_wait(boost::asio::use_awaitable);
}

}  // namespace platform
