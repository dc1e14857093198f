// SPDX-License-Identifier: Apache-2.0

#pragma once

// Notices that the program which runs was replaced by another that runs as well, as an upgrade does, or that
// it was removed. Belongs to one executor.

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/awaitable.hpp>
#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <vector>

#include "platform/SystemEvents/FileWatcher.hpp"

namespace host {

class ProgramRenewal {
  public:
    enum class Event {
        /// Another program stands in its place, and says its version when it is asked.
        replaced,
        /// None has for `Options::removal`.
        removed,
    };

    struct Options {
        /// An upgrade changes several files; all of them are one change.
        std::chrono::milliseconds settling = std::chrono::seconds(2);
        std::chrono::milliseconds removal = std::chrono::minutes(1);
        /// How long the other program may take to say its version.
        std::chrono::milliseconds trial = std::chrono::seconds(10);
        /// Before one that does not run is tried again: what it needs may be on its way. The last stands for
        /// all further ones.
        std::vector<std::chrono::milliseconds> pauses = {std::chrono::seconds(5), std::chrono::seconds(30),
                                                         std::chrono::minutes(10)};
    };

    /// `program` is the path that this process was started from. `happened` may be told the same several
    /// times.
    ProgramRenewal(const boost::asio::any_io_executor& executor, std::filesystem::path program,
                   std::function<void(Event)> happened, Options options);
    ~ProgramRenewal();
    ProgramRenewal(const ProgramRenewal&) = delete;
    ProgramRenewal& operator=(const ProgramRenewal&) = delete;

  private:
    struct State;
    static boost::asio::awaitable<void> look(std::shared_ptr<State> state);

    std::shared_ptr<State> state_;
    platform::FileWatcher watcher_;
};

}  // namespace host
