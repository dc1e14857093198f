// SPDX-License-Identifier: Apache-2.0

#pragma once

// An executor that a test runs until what it waits for has happened.

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <chrono>

#include "tests/support/Patience.hpp"

namespace platform::testing {

class EventLoop {
  public:
    boost::asio::io_context::executor_type executor() { return context_.get_executor(); }

    /// False when it does not happen for long.
    template <typename Condition>
    bool runUntil(Condition condition) {
        const auto deadline = std::chrono::steady_clock::now() + patience;
        while (!condition()) {
            if (std::chrono::steady_clock::now() > deadline) return false;
            context_.restart();
            context_.run_one_for(std::chrono::milliseconds(20));
        }
        return true;
    }

    /// All that is ready now.
    void runReady() {
        context_.restart();
        while (context_.poll() > 0) {
        }
    }

  private:
    boost::asio::io_context context_{1};
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> work_ =
        boost::asio::make_work_guard(context_);
};

}  // namespace platform::testing
