// SPDX-License-Identifier: Apache-2.0

#pragma once

// Prints a bar's line at every change, and does what its clicks ask for. Belongs to one executor.

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/awaitable.hpp>
#include <optional>

#include "host/reader/LinkOpener.hpp"
#include "host/reader/StreamWatch.hpp"
#include "host/widget/Bar/BarFormat.hpp"
#include "host/widget/Bar/BarPosition.hpp"
#include "host/widget/Bar/ClickReader.hpp"
#include "host/widget/Readers/LineFollower.hpp"
#include "platform/SystemEvents/FileWatcher.hpp"

namespace host {

class BarFollower {
  public:
    BarFollower(const boost::asio::any_io_executor& executor, BarStyle style);

    /// As LineFollower has it, with words for where no live host can be had.
    boost::asio::awaitable<void> run();

  private:
    BarContent content(const LiveState& state) const;
    void readClicks();
    void click(int button);

    BarStyle style_;
    /// Nothing where there is no place for it.
    std::optional<BarPosition> position_;
    LineFollower lines_;
    platform::FileWatcher positionWatch_;
    LinkOpener opener_;
    ClickReader clickReader_;
    std::optional<StreamWatch> clicks_;
};

}  // namespace host
