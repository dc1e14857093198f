// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Setup/SetupSnippet.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "platform/JSON/JSONSerialization.hpp"
#include "tests/support/TemporaryFolder.hpp"

namespace host {
namespace {

TEST(SetupSnippet, CallsTheProgramAsItIsCalledAndLeavesNoPlaceOpen) {
    for (const auto& [name, target] : setupTargets) {
        const auto snippet = setupSnippet(target, "/opt/vela/bin/vela-widget");
        EXPECT_NE(snippet.find("/opt/vela/bin/vela-widget"), std::string::npos) << name;
        EXPECT_EQ(snippet.find("PROGRAM"), std::string::npos) << name;
        EXPECT_TRUE(snippet.ends_with('\n')) << name;
    }
}

TEST(SetupSnippet, GivesEachBarItsOwnFormat) {
    for (const auto& [target, words] : std::vector<std::pair<SetupTarget, const char*>>{
             {SetupTarget::waybar, "bar --format waybar --follow"},
             {SetupTarget::i3, "bar --format i3bar --follow"},
             {SetupTarget::i3blocks, "bar --format i3blocks --json --follow"},
             {SetupTarget::polybar, "bar --format polybar --follow"},
             {SetupTarget::tmux, "bar --format tmux"},
             {SetupTarget::genmon, "bar --format genmon"},
             {SetupTarget::swaylock, "run --family systemMedium"},
             {SetupTarget::conky, "systemMedium-dark@1x.png"},
             {SetupTarget::gnome, "gnome-extensions enable vela-widget@vela.example"},
             {SetupTarget::plasma, R"(addWidget("example.vela.widget"))"},
             {SetupTarget::systemd, "systemctl --user enable --now vela-widget.socket"}})
        EXPECT_NE(setupSnippet(target, "vela-widget").find(words), std::string::npos) << words;
}

TEST(SetupSnippet, WaybarsIsJSONBelowItsComment) {
    const auto snippet = setupSnippet(SetupTarget::waybar, "vela-widget");
    const auto text = "{" + snippet.substr(snippet.find('\n') + 1) + "}";
    const auto object = platform::JSONSerialization::JSONObjectWithData(text);
    EXPECT_EQ(object.at("custom/vela").at("return-type"), "json");
}

TEST(SetupSnippet, KeepsTheQuotesOfTheCallWithinItsOwn) {
    const std::string call = R"('/a "b" \c/vela-widget')";
    const auto waybar = setupSnippet(SetupTarget::waybar, call);
    const auto object =
        platform::JSONSerialization::JSONObjectWithData("{" + waybar.substr(waybar.find('\n') + 1) + "}");
    EXPECT_EQ(object.at("custom/vela").at("on-click").as_string(), call + " bar --open");
    EXPECT_NE(setupSnippet(SetupTarget::tmux, "'/a b/vela-widget'")
                  .find(R"(' #('\''/a b/vela-widget'\'' bar --format tmux)')"),
              std::string::npos);
}

class ShellCallTest : public ::testing::Test {
  protected:
    std::string programIn(const std::string& folder) const {
        const auto program = folder_.write(folder + "/vela-widget", "#!/bin/sh\n");
        ::chmod(program.c_str(), 0700);
        return program.string();
    }
    std::string path(const std::string& name) const { return (folder_.path() / name).string(); }
    platform::testing::TemporaryFolder folder_;
};

TEST_F(ShellCallTest, IsTheNameWhereThatNameLeadsToIt) {
    const auto program = programIn("bin");
    EXPECT_EQ(shellCall(program, "/nowhere::" + path("bin")), "vela-widget");
}

TEST_F(ShellCallTest, IsThePathWhereTheNameLeadsElsewhereOrNowhere) {
    const auto program = programIn("bin");
    programIn("other");
    EXPECT_EQ(shellCall(program, path("other") + ":" + path("bin")), program);
    EXPECT_EQ(shellCall(program, ""), program);
}

TEST_F(ShellCallTest, IsQuotedWhereAShellWouldTakeItApart) {
    EXPECT_EQ(shellCall("/a b/vela-widget", ""), "'/a b/vela-widget'");
    EXPECT_EQ(shellCall("/it's/vela-widget", ""), R"('/it'\''s/vela-widget')");
}

}  // namespace
}  // namespace host
