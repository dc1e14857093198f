// SPDX-License-Identifier: Apache-2.0

#pragma once

// `vela-widget run`: a person's live host, from its start to a signal.

#include <boost/asio/any_io_executor.hpp>
#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/protocol/PictureFile.hpp"
#include "host/widget/ExtensionProcess.hpp"
#include "host/widget/Live/ProgramRenewal.hpp"
#include "platform/SystemEvents/SystemEvents.hpp"
#include "platform/SystemEvents/WallClock.hpp"

namespace host {

struct RunCommand {
    /// What it makes its surroundings of.
    std::function<std::unique_ptr<platform::WallClock>(const boost::asio::any_io_executor&)> makeClock;
    std::function<std::unique_ptr<platform::SystemEvents>(const boost::asio::any_io_executor&)> makeEvents;
    std::string version;
    /// A folder for the files beside the person's runtime folder; it is made where it is missing.
    std::optional<std::filesystem::path> output = std::nullopt;
    /// The pictures that are kept whether or not a reader wants them.
    std::vector<PictureFile> pictures = {};
    /// Tell what happens whatever the person's setting says.
    bool notifies = false;
    /// Without readers for that long it ends.
    std::optional<std::chrono::seconds> idleLimit = std::nullopt;
    ExtensionSettings extension = {};
    ProgramRenewal::Options renewal = {};
    /// How long an extension that nobody asks is kept (docs/decisions/0013).
    std::chrono::milliseconds extensionRest = std::chrono::seconds(60);

    /// The exit status: 0 after SIGTERM, SIGINT, SIGHUP or the idle limit, 1 with a line on standard error.
    int run() const;
};

/// `vela-widget reload`: the exit status.
int runReload();

}  // namespace host
