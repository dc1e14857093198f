// SPDX-License-Identifier: Apache-2.0

#pragma once

// Coroutines that nobody awaits. None is started without saying what becomes of the exception that leaves it.

#include <boost/asio/awaitable.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <exception>
#include <optional>
#include <stdexcept>
#include <utility>

namespace platform {

/// Runs `work` on `executor`, which may be a context. What it throws goes to `onFailure`, there as well.
template <typename Executor, typename OnFailure>
void spawn(Executor&& executor, boost::asio::awaitable<void> work, OnFailure onFailure) {
    boost::asio::co_spawn(std::forward<Executor>(executor), std::move(work),
                          [onFailure = std::move(onFailure)](const std::exception_ptr& failure) mutable {
                              if (failure) onFailure(failure);
                          });
}

/// Asio takes no notice where the system refuses to watch its timers (epoll_ctl, ENOMEM), and then no wait of
/// ours would have an end. Throws std::runtime_error.
inline void requireTimers(boost::asio::io_context& context) {
    bool isWorking = false;
    boost::asio::steady_timer timer(context, std::chrono::seconds(0));
    timer.async_wait([&](const boost::system::error_code& error) { isWorking = !error; });
    context.run_one_for(std::chrono::seconds(5));
    context.restart();
    if (!isWorking) throw std::runtime_error("the system gives no timers");
}

/// Runs `work` on a context of its own until it is done; what else was started there is abandoned then. Gives
/// its result or throws what it throws.
template <typename Result>
Result runToEnd(boost::asio::awaitable<Result> work) {
    std::exception_ptr failure;
    std::optional<Result> result;
    boost::asio::io_context context(1);
    requireTimers(context);
    boost::asio::co_spawn(context, std::move(work), [&](const std::exception_ptr& error, Result value) {
        if (error)
            failure = error;
        else
            result = std::move(value);
        context.stop();
    });
    context.run();
    if (failure) std::rethrow_exception(failure);
    if (!result) throw std::logic_error("the work ended without a result");
    return *std::move(result);
}

}  // namespace platform
