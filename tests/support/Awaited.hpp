// SPDX-License-Identifier: Apache-2.0

#pragma once

// Runs a coroutine to its end on an executor of its own and gives its result, or throws what it threw.

#include <boost/asio/awaitable.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/io_context.hpp>
#include <exception>
#include <optional>

namespace platform::testing {

template <typename Result>
boost::asio::awaitable<void> keepResult(boost::asio::awaitable<Result> operation,
                                        std::optional<Result>& result) {
    result.emplace(co_await std::move(operation));
}

inline void awaited(boost::asio::awaitable<void> operation) {
    boost::asio::io_context context;
    std::exception_ptr failure;
    boost::asio::co_spawn(context, std::move(operation),
                          [&](const std::exception_ptr& error) { failure = error; });
    context.run();
    if (failure) std::rethrow_exception(failure);
}

template <typename Result>
Result awaited(boost::asio::awaitable<Result> operation) {
    std::optional<Result> result;
    awaited(keepResult(std::move(operation), result));
    return std::move(*result);
}

}  // namespace platform::testing
