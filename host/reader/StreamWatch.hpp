// SPDX-License-Identifier: Apache-2.0

#pragma once

// Says when a standard stream can be read, or when nobody is left at its other end, and leaves it as whoever
// shares it has it: open, and blocking. Belongs to one executor.

#include <boost/asio/any_io_executor.hpp>
#include <functional>
#include <optional>

#include "platform/Asio/DescriptorWatch.hpp"

namespace host {

class StreamWatch {
  public:
    enum class Interest { readable, abandoned };

    /// `happened` is called again and again for as long as it is so; it may destroy the watch. Of a file
    /// there is nothing to be said, and it never is.
    StreamWatch(const boost::asio::any_io_executor& executor, int stream, Interest interest,
                std::function<void()> happened);

  private:
    std::optional<platform::DescriptorWatch> watch_;
};

}  // namespace host
