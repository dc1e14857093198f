// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Tour/Surfaces.hpp"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <map>
#include <set>

#include "platform/Files/TrustedFolder.hpp"
#include "tests/support/TemporaryFolder.hpp"

namespace host {
namespace {

using ::testing::IsEmpty;

struct Machine {
    std::map<std::string, std::string> variables = {};
    std::set<std::string> installed = {};
    std::set<std::string> running = {};
    std::set<std::string> files = {};

    Surroundings surroundings() const {
        return {.variable =
                    [this](const auto& name) {
                        const auto found = variables.find(name);
                        return found == variables.end() ? std::string() : found->second;
                    },
                .isInstalled = [this](const auto& program) { return installed.contains(program); },
                .isRunning = [this](const auto& program) { return running.contains(program); },
                .exists = [this](const auto& file) { return files.contains(file.string()); }};
    }
    /// Those that run with a star.
    std::string surfaces() const {
        std::string names;
        for (const auto& surface : surfacesIn(surroundings()))
            names += std::string(names.empty() ? "" : " ") + surface.name +
                     (surface.presence == Surface::Presence::runs ? "*" : "");
        return names;
    }
    std::string newFile(SetupTarget target) const {
        return newFileFor(target, surroundings()).value_or("none").string();
    }
};

TEST(Surfaces, AreKnownByWhatRunsAndWhatIsInstalled) {
    struct Row {
        Machine machine;
        const char* surfaces;
    };
    const std::vector<Row> rows = {
        {{}, ""},
        {{.installed = {"waybar", "tmux", "vim"}}, "waybar tmux"},
        {{.installed = {"waybar", "tmux"}, .running = {"tmux"}}, "tmux* waybar"},
        {{.variables = {{"TMUX", "/tmp/tmux-1000/default,1,0"}}}, "tmux*"},
        {{.variables = {{"SWAYSOCK", "/run/sway"}}, .installed = {"i3", "sway"}}, "i3*"},
        {{.variables = {{"I3SOCK", "/run/i3"}}}, "i3*"},
        {{.variables = {{"I3SOCK", ""}}}, ""},
        {{.variables = {{"XDG_CURRENT_DESKTOP", "ubuntu:GNOME"}}, .installed = {"polybar"}},
         "gnome* polybar"},
        {{.variables = {{"XDG_CURRENT_DESKTOP", "KDE"}}}, "plasma*"},
        {{.variables = {{"XDG_CURRENT_DESKTOP", "XFCE"}}}, "genmon*"},
        {{.variables = {{"XDG_CURRENT_DESKTOP", "GNOME-Flashback:X"}}}, ""},
        {{.running = {"plasmashell", "gnome-shell", "conky", "swaylock", "i3blocks"}},
         "i3blocks* swaylock* conky* gnome* plasma*"},
        {{.installed = {"systemctl"}, .running = {"systemd"}}, ""},
    };
    for (const auto& [machine, surfaces] : rows) EXPECT_EQ(machine.surfaces(), surfaces);
}

TEST(Surfaces, HaveANewFileWhereNothingElseWouldBeRead) {
    const std::map<std::string, std::string> home = {{"HOME", "/home/vela"}};
    const std::map<std::string, std::string> settings = {{"HOME", "/home/vela"},
                                                         {"XDG_CONFIG_HOME", "/settings"}};
    const std::map<std::string, std::string> relative = {{"HOME", "/home/vela"},
                                                         {"XDG_CONFIG_HOME", "settings"}};
    struct Row {
        SetupTarget target;
        Machine machine;
        const char* file;
    };
    const std::vector<Row> rows = {
        {SetupTarget::tmux, {.variables = home}, "/home/vela/.tmux.conf"},
        {SetupTarget::tmux, {.variables = home, .files = {"/home/vela/.tmux.conf"}}, "none"},
        {SetupTarget::tmux, {.variables = settings, .files = {"/settings/tmux/tmux.conf"}}, "none"},
        {SetupTarget::tmux, {}, "none"},
        {SetupTarget::i3blocks, {.variables = home}, "/home/vela/.config/i3blocks/config"},
        {SetupTarget::i3blocks, {.variables = settings}, "/settings/i3blocks/config"},
        {SetupTarget::i3blocks, {.variables = relative}, "/home/vela/.config/i3blocks/config"},
        {SetupTarget::i3blocks, {.variables = home, .files = {"/etc/i3blocks.conf"}}, "none"},
        {SetupTarget::conky, {.variables = home}, "/home/vela/.config/conky/conky.conf"},
        {SetupTarget::conky, {.variables = home, .files = {"/home/vela/.conkyrc"}}, "none"},
        {SetupTarget::waybar, {.variables = home}, "none"},
        {SetupTarget::systemd, {.variables = home}, "none"},
    };
    for (const auto& [target, machine, file] : rows) EXPECT_EQ(machine.newFile(target), file);
}

TEST(Surfaces, HaveADisplayOfEitherKind) {
    EXPECT_FALSE(hasDisplay(Machine{}.surroundings()));
    const Machine empty = {.variables = {{"DISPLAY", ""}}};
    EXPECT_FALSE(hasDisplay(empty.surroundings()));
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY"}) {
        const Machine machine = {.variables = {{name, ":0"}}};
        EXPECT_TRUE(hasDisplay(machine.surroundings())) << name;
    }
}

TEST(Surfaces, AreWrittenWholeOrNotAtAll) {
    const platform::testing::TemporaryFolder folder;
    const auto file = folder.path() / "new/folders/file";
    writeNewFile(file, "text");
    EXPECT_EQ(std::filesystem::file_size(file), 4);
    EXPECT_THROW(writeNewFile(file, "longer text"), platform::FileError);
    EXPECT_EQ(std::filesystem::file_size(file), 4);
    EXPECT_THROW(writeNewFile(file / "below", "text"), platform::FileError);
    EXPECT_THROW(writeNewFile(folder.path(), "text"), platform::FileError);
}

}  // namespace
}  // namespace host
