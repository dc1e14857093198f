// SPDX-License-Identifier: Apache-2.0

#pragma once

// A wait that blocks nobody.

#include <boost/asio/awaitable.hpp>
#include <chrono>

namespace platform {

/// Resumes on the awaiting coroutine's executor after `duration` at the earliest. Its cancellation ends it
/// with boost::system::system_error.
boost::asio::awaitable<void> pause(std::chrono::milliseconds duration);

}  // namespace platform
