// SPDX-License-Identifier: Apache-2.0

#pragma once

// What to paste where, so that a bar, a lock screen or the machine's service manager shows the widget. Pure
// functions, safe from any thread.

#include <array>
#include <filesystem>
#include <string>
#include <string_view>
#include <utility>

namespace host {

enum class SetupTarget {
    waybar,
    i3,
    i3blocks,
    polybar,
    tmux,
    genmon,
    swaylock,
    conky,
    gnome,
    plasma,
    systemd
};
inline constexpr std::array<std::pair<const char*, SetupTarget>, 11> setupTargets = {{
    {"waybar", SetupTarget::waybar},
    {"i3", SetupTarget::i3},
    {"i3blocks", SetupTarget::i3blocks},
    {"polybar", SetupTarget::polybar},
    {"tmux", SetupTarget::tmux},
    {"genmon", SetupTarget::genmon},
    {"swaylock", SetupTarget::swaylock},
    {"conky", SetupTarget::conky},
    {"gnome", SetupTarget::gnome},
    {"plasma", SetupTarget::plasma},
    {"systemd", SetupTarget::systemd},
}};

/// `program` is how a shell calls `vela-widget`. Where it goes stands in a comment of the snippet's own
/// language.
std::string setupSnippet(SetupTarget target, std::string_view program);

/// The first of that name in `search`, a PATH, that can be run; empty where there is none.
std::filesystem::path foundInPath(std::string_view search, const std::filesystem::path& name);

/// How a shell calls the program at `path`: by its name where `search`, a PATH, finds that very file under it
/// first, else by the whole path, quoted where it has to be.
std::string shellCall(const std::string& path, const std::string& search);

}  // namespace host
