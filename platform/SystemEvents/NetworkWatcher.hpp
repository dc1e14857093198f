// SPDX-License-Identifier: Apache-2.0

#pragma once

// Notices a way to the network that was not there before, by the kernel's word (rtnetlink). Belongs to one
// executor.

#include <array>
#include <boost/asio/any_io_executor.hpp>
#include <cstddef>
#include <functional>
#include <optional>
#include <set>
#include <string>

#include "platform/Asio/DescriptorWatch.hpp"
#include "platform/Asio/GrowingPause.hpp"
#include "platform/SystemEvents/NetworkTable.hpp"

namespace platform {

class NetworkWatcher {
  public:
    NetworkWatcher(const boost::asio::any_io_executor& executor, std::function<void()> returned);

  private:
    void start();
    /// False where nothing has come.
    bool receive(int socket);
    void read();
    /// Asks for what is there, one kind after another, as the kernel wants it.
    void ask();
    void fail(int error);

    boost::asio::any_io_executor executor_;
    std::function<void()> returned_;
    NetworkTable table_;
    /// As they were when `returned` was called last, or lost since; none before the first full answer.
    std::optional<std::set<std::string>> ways_;
    std::size_t questionsAsked_ = 0;
    bool isComplete_ = false;
    GrowingPause pause_;
    bool hasComplained_ = false;
    std::optional<DescriptorWatch> socket_;
    Alarm retry_;
};

}  // namespace platform
