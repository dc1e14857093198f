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
    /// The `keychain` of what the shell shows: with another it is not shown any longer. Empty where it
    /// is not known.
    std::string keychain = {};
    enum class Wait {
        /// For the live host's word.
        forHost,
        /// For another version of the keychain, on behalf of a shell that has lost its host and finds it by
        /// itself.
        forKeychain,
    } wait = Wait::forHost;

    /// The exit status: 0; 1 with a line on standard error where no live host can be had. One that waits has
    /// patience with the end of a host, and looks for another twice.
    int run() const;
};

}  // namespace host
