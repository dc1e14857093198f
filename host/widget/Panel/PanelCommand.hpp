// SPDX-License-Identifier: Apache-2.0

#pragma once

// `vela-widget panel`: the live host's state for a desktop shell that can start programs and read what they
// print, and nothing else.

#include <optional>
#include <string>

#include "host/protocol/PictureFile.hpp"

namespace host {

struct PanelCommand {
    /// What is to be drawn beside the texts.
    std::optional<PictureFile> picture = std::nullopt;
    /// The `version` of what the shell has: waits until there is something else to show, or until nobody
    /// reads on. Empty: prints what there is.
    std::string after = {};

    /// The exit status: 0; 1 with a line on standard error where no live host can be had. One that waits has
    /// patience with the end of a host, and looks for another twice.
    int run() const;
};

}  // namespace host
