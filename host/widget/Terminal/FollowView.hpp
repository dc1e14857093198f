// SPDX-License-Identifier: Apache-2.0

#pragma once

// The followed view as lines of a screen: the packages, one of them chosen, and a line at the bottom for what
// is to be said. Pure functions, but for the zone of the process, which hours are told in.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/protocol/LiveState.hpp"
#include "host/widget/TerminalStyle.hpp"

namespace host {

struct FollowView {
    std::size_t chosen = 0;
    /// The first package on the screen.
    std::size_t top = 0;
    bool showsHelp = false;
    /// The first line of the help on the screen.
    std::size_t helpTop = 0;
    /// In place of the remark until the next key.
    std::string note = {};
};

struct FollowScreen {
    /// As many as the screen has rows, at most; none is wider than it.
    std::vector<std::string> lines;
    /// What is on it, first and how many: where the next screen begins, and how far a page is.
    std::size_t top = 0;
    std::size_t count = 0;
    /// The help's first line on it, and which it is where the last one is on it: 0 where all are.
    std::size_t helpTop = 0;
    std::size_t helpEnd = 0;
};

FollowScreen followScreen(const LiveState& state, const FollowView& view, const TerminalStyle& style,
                          std::size_t rows, platform::Date now);

/// Those that a person can choose from.
presentation::PackageList packagesShown(const LiveState& state);

/// What the open key opens: the package with that number, else where the prompt leads.
std::optional<std::string> linkShown(const LiveState& state, std::size_t chosen);

/// What has a terminal put `text` on the clipboard (OSC 52).
std::string clipboardSequence(std::string_view text);

}  // namespace host
