// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Setup/SetupSnippet.hpp"

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "platform/Files/ShellWord.hpp"

namespace host {

namespace fs = std::filesystem;

namespace {

// PROGRAM stands for the call, as a shell reads it.
constexpr std::string_view waybarSnippet =
    R"(// ~/.config/waybar/config: add "custom/vela" to a list of modules, and this beside them.
"custom/vela": {
    "exec": "PROGRAM bar --format waybar --follow",
    "return-type": "json",
    "restart-interval": 5,
    "on-click": "PROGRAM bar --open",
    "on-scroll-up": "PROGRAM bar --previous",
    "on-scroll-down": "PROGRAM bar --next"
}
)";

constexpr std::string_view i3Snippet =
    R"(# ~/.config/i3/config (or sway's): in place of the bar's status_command. To keep others beside it: setup i3blocks.
bar {
    status_command PROGRAM bar --format i3bar --follow
}
)";

constexpr std::string_view i3blocksSnippet =
    R"(# ~/.config/i3blocks/config
[vela]
command=PROGRAM bar --format i3blocks --json --follow
interval=persist
format=json
markup=pango
)";

constexpr std::string_view polybarSnippet =
    R"(; ~/.config/polybar/config.ini: add vela to a list of modules, and this below them.
[module/vela]
type = custom/script
exec = PROGRAM bar --format polybar --follow
tail = true
)";

constexpr std::string_view tmuxSnippet =
    R"(# ~/.tmux.conf: asks what the live host has, which costs no fetch.
set -g status-interval 15
set -ag status-right ' #(PROGRAM bar --format tmux)'
)";

constexpr std::string_view genmonSnippet =
    R"(# Xfce: add "Generic Monitor" to the panel, no label, a period of 15 seconds, and this as its command.
PROGRAM bar --format genmon
)";

constexpr std::string_view swaylockSnippet =
    R"(# In place of swaylock: the picture is the live host's, which has to run with this family
# (PROGRAM run --family systemMedium --scheme dark --scale 2).
swaylock --scaling center --image "$XDG_RUNTIME_DIR/vela-widget/systemMedium-dark@2x.png"
)";

constexpr std::string_view conkySnippet =
    R"(-- ~/.config/conky/conky.conf: after your own settings. The picture is the live host's, which has to run with this family
-- (PROGRAM run --family systemMedium --scheme dark --scale 1).
conky.config.minimum_width = 338
conky.config.minimum_height = 158
conky.text = '${image ' .. os.getenv('XDG_RUNTIME_DIR') ..
    '/vela-widget/systemMedium-dark@1x.png -s 338x158 -n}'
)";

constexpr std::string_view gnomeSnippet =
    R"(# In a shell, once. GNOME Shell sees what was installed since when the session begins: where it says that there is no
# such extension, log out and in again.
gnome-extensions enable vela-widget@vela.example
PROGRAM doctor
)";

constexpr std::string_view plasmaSnippet =
    R"(# A right click on a panel or on the desktop, "Add Widgets...", Vela. Or in a shell, for the first panel:
busctl --user call org.kde.plasmashell /PlasmaShell org.kde.PlasmaShell evaluateScript s \
    'panels()[0].addWidget("example.vela.widget")'
PROGRAM doctor
)";

constexpr std::string_view systemdSnippet =
    R"(# In a shell, once: the live host then starts when the first surface asks for it.
systemctl --user daemon-reload
systemctl --user enable --now vela-widget.socket
# And to have it from the beginning of the session, for notifications and for files:
systemctl --user add-wants default.target vela-widget.service
PROGRAM doctor
)";

std::string_view templateOf(SetupTarget target) {
    switch (target) {
        case SetupTarget::waybar: return waybarSnippet;
        case SetupTarget::i3: return i3Snippet;
        case SetupTarget::i3blocks: return i3blocksSnippet;
        case SetupTarget::polybar: return polybarSnippet;
        case SetupTarget::tmux: return tmuxSnippet;
        case SetupTarget::genmon: return genmonSnippet;
        case SetupTarget::swaylock: return swaylockSnippet;
        case SetupTarget::conky: return conkySnippet;
        case SetupTarget::gnome: return gnomeSnippet;
        case SetupTarget::plasma: return plasmaSnippet;
        case SetupTarget::systemd: return systemdSnippet;
    }
    return "";
}

/// The call as it stands within the quotes of that snippet, if it has some.
std::string quotedFor(SetupTarget target, std::string_view call) {
    std::string quoted;
    for (const char byte : call) {
        if (target == SetupTarget::waybar && (byte == '"' || byte == '\\')) quoted += '\\';
        quoted += target == SetupTarget::tmux && byte == '\'' ? R"('\'')" : std::string(1, byte);
    }
    return quoted;
}

}  // namespace

std::string setupSnippet(SetupTarget target, std::string_view program) {
    constexpr std::string_view place = "PROGRAM";
    const auto call = quotedFor(target, program);
    std::string snippet(templateOf(target));
    for (auto at = snippet.find(place); at != std::string::npos; at = snippet.find(place, at + call.size()))
        snippet.replace(at, place.size(), call);
    return snippet;
}

fs::path foundInPath(std::string_view search, const fs::path& name) {
    while (!search.empty()) {
        const auto end = std::min(search.find(':'), search.size());
        const fs::path candidate = fs::path(search.substr(0, end)) / name;
        if (candidate.is_absolute() && ::access(candidate.c_str(), X_OK) == 0) return candidate;
        search.remove_prefix(std::min(end + 1, search.size()));
    }
    return {};
}

std::string shellCall(const std::string& path, const std::string& search) {
    const fs::path name = fs::path(path).filename();
    const fs::path found = foundInPath(search, name);
    std::error_code error;
    if (!found.empty() && fs::equivalent(found, path, error) && !error) return name.string();
    return platform::shellWord(path);
}

}  // namespace host
