// SPDX-License-Identifier: Apache-2.0

#pragma once

// Has the companion open links, and waits for its ends without holding anybody up. Belongs to one executor.

#include <sys/types.h>

#include <boost/asio/any_io_executor.hpp>
#include <filesystem>
#include <map>
#include <string>

#include "platform/Asio/DescriptorWatch.hpp"

namespace host {

class LinkLauncher {
  public:
    /// The companion beside this program.
    explicit LinkLauncher(const boost::asio::any_io_executor& executor);
    LinkLauncher(const boost::asio::any_io_executor& executor, std::filesystem::path companion);

    /// One that cannot be started is logged. The token is the desktop's leave to come to the front; it may be
    /// empty.
    void open(const std::string& link, const std::string& activationToken);

  private:
    boost::asio::any_io_executor executor_;
    std::filesystem::path companion_;
    std::map<pid_t, platform::DescriptorWatch> running_;
};

}  // namespace host
