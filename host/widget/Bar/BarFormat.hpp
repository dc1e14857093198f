// SPDX-License-Identifier: Apache-2.0

#pragma once

// A bar's content in the form that a status bar reads: what each of them expects is in docs/bars.md. Pure
// functions, safe from any thread.

#include <array>
#include <cstddef>
#include <string>

#include "host/widget/Bar/BarContent.hpp"

namespace host {

enum class BarFormat { waybar, i3bar, i3blocks, polybar, tmux, genmon, plain };
inline constexpr std::array<std::pair<const char*, BarFormat>, 7> barFormats = {{
    {"waybar", BarFormat::waybar},
    {"i3bar", BarFormat::i3bar},
    {"i3blocks", BarFormat::i3blocks},
    {"polybar", BarFormat::polybar},
    {"tmux", BarFormat::tmux},
    {"genmon", BarFormat::genmon},
    {"plain", BarFormat::plain},
}};

struct BarStyle {
    BarFormat format = BarFormat::plain;
    /// Of the text, at most.
    std::size_t columns = 60;
    /// i3blocks: a JSON object in place of lines.
    bool isJSON = false;
    /// One line a state, for whoever reads line by line.
    bool isFollowing = false;
    /// What bars run for a click and for the wheel: the programs, as absolute paths.
    std::string companion = "vela-companion";
    std::string widget = "vela-widget";
};

/// What comes before the first state and after the last.
std::string barOpening(BarFormat format);
std::string barClosing(BarFormat format);

/// A state, with its line feeds.
std::string barOutput(const BarContent& content, const BarStyle& style);

}  // namespace host
