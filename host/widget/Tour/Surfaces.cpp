// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Tour/Surfaces.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <set>
#include <system_error>

#include "platform/Files/Descriptor.hpp"
#include "platform/Files/TrustedFolder.hpp"
#include "platform/Files/Writing.hpp"
#include "platform/ProcessInfo/ProcessInfo.hpp"

namespace host {

namespace fs = std::filesystem;

namespace {

/// By what a surface is known.
struct Sign {
    std::vector<const char*> programs;
    /// One of XDG_CURRENT_DESKTOP's names.
    std::string_view desktop = {};
    /// Set by one that runs.
    std::vector<const char*> variables = {};
};

Sign signOf(SetupTarget target) {
    switch (target) {
        case SetupTarget::waybar: return {.programs = {"waybar"}};
        case SetupTarget::i3: return {.programs = {"i3", "sway"}, .variables = {"I3SOCK", "SWAYSOCK"}};
        case SetupTarget::i3blocks: return {.programs = {"i3blocks"}};
        case SetupTarget::polybar: return {.programs = {"polybar"}};
        case SetupTarget::tmux: return {.programs = {"tmux"}, .variables = {"TMUX"}};
        case SetupTarget::genmon: return {.programs = {"xfce4-panel"}, .desktop = "XFCE"};
        case SetupTarget::swaylock: return {.programs = {"swaylock"}};
        case SetupTarget::conky: return {.programs = {"conky"}};
        case SetupTarget::gnome: return {.programs = {"gnome-shell"}, .desktop = "GNOME"};
        case SetupTarget::plasma: return {.programs = {"plasmashell"}, .desktop = "KDE"};
        case SetupTarget::systemd: return {.programs = {}};
    }
    return {.programs = {}};
}

bool holdsName(std::string_view names, std::string_view name) {
    while (!name.empty() && !names.empty()) {
        const auto end = std::min(names.find(':'), names.size());
        if (names.substr(0, end) == name) return true;
        names.remove_prefix(std::min(end + 1, names.size()));
    }
    return false;
}

std::optional<Surface::Presence> presenceOf(const Sign& sign, const Surroundings& surroundings) {
    const auto isAny = [](const auto& names, const auto& holds) {
        return std::any_of(names.begin(), names.end(), holds);
    };
    if (holdsName(surroundings.variable("XDG_CURRENT_DESKTOP"), sign.desktop) ||
        isAny(sign.variables, [&](const char* name) { return !surroundings.variable(name).empty(); }) ||
        isAny(sign.programs, surroundings.isRunning))
        return Surface::Presence::runs;
    if (isAny(sign.programs, surroundings.isInstalled)) return Surface::Presence::installed;
    return std::nullopt;
}

/// Where a surface looks for its configuration; the first is where a person's new one goes.
std::vector<fs::path> configurationsOf(SetupTarget target, const fs::path& home, const fs::path& settings) {
    switch (target) {
        case SetupTarget::tmux: return {home / ".tmux.conf", settings / "tmux/tmux.conf"};
        case SetupTarget::i3blocks:
            return {settings / "i3blocks/config", home / ".i3blocks.conf", "/etc/xdg/i3blocks/config",
                    "/etc/i3blocks.conf"};
        case SetupTarget::conky:
            return {settings / "conky/conky.conf", home / ".conkyrc", "/etc/conky/conky.conf"};
        // A snippet alone is no configuration of theirs, or goes into no file.
        case SetupTarget::waybar:
        case SetupTarget::i3:
        case SetupTarget::polybar:
        case SetupTarget::genmon:
        case SetupTarget::swaylock:
        case SetupTarget::gnome:
        case SetupTarget::plasma:
        case SetupTarget::systemd: return {};
    }
    return {};
}

std::set<std::string> runningPrograms() {
    std::set<std::string> names;
    std::error_code error;
    for (const auto& process : fs::directory_iterator("/proc", error)) {
        struct stat found = {};
        if (::stat(process.path().c_str(), &found) != 0 || found.st_uid != ::getuid()) continue;
        std::string name;
        std::ifstream stream(process.path() / "comm");
        if (std::getline(stream, name)) names.insert(name);
    }
    return names;
}

}  // namespace

Surroundings Surroundings::ofThisProcess() {
    return {.variable = [](const auto& name) { return platform::environmentVariable(name).value_or(""); },
            .isInstalled =
                [](const auto& program) {
                    return !foundInPath(platform::environmentVariable("PATH").value_or(""), program).empty();
                },
            .isRunning = [names = runningPrograms()](const auto& program) { return names.contains(program); },
            .exists =
                [](const auto& file) {
                    struct stat found = {};
                    return ::lstat(file.c_str(), &found) == 0 || errno != ENOENT;
                }};
}

std::vector<Surface> surfacesIn(const Surroundings& surroundings) {
    std::vector<Surface> surfaces;
    for (const auto& [name, target] : setupTargets)
        if (const auto presence = presenceOf(signOf(target), surroundings))
            surfaces.push_back({.target = target, .name = name, .presence = *presence});
    std::stable_partition(surfaces.begin(), surfaces.end(),
                          [](const Surface& surface) { return surface.presence == Surface::Presence::runs; });
    return surfaces;
}

bool hasDisplay(const Surroundings& surroundings) {
    return !surroundings.variable("WAYLAND_DISPLAY").empty() || !surroundings.variable("DISPLAY").empty();
}

std::optional<fs::path> newFileFor(SetupTarget target, const Surroundings& surroundings) {
    const fs::path home = surroundings.variable("HOME");
    if (!home.is_absolute()) return std::nullopt;
    fs::path settings = surroundings.variable("XDG_CONFIG_HOME");
    if (!settings.is_absolute()) settings = home / ".config";
    const auto files = configurationsOf(target, home, settings);
    if (files.empty() || std::any_of(files.begin(), files.end(), surroundings.exists)) return std::nullopt;
    return files.front();
}

void writeNewFile(const fs::path& file, std::string_view text) {
    std::error_code error;
    fs::create_directories(file.parent_path(), error);
    if (error) throw platform::FileError(file.parent_path(), error.value());
    const platform::Descriptor opened(
        ::open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0644));
    if (!opened.isOpen()) throw platform::FileError(file, errno);
    if (platform::writeAll(opened, text) && ::fsync(opened) == 0) return;
    const int failure = errno;
    ::unlink(file.c_str());
    throw platform::FileError(file, failure);
}

}  // namespace host
