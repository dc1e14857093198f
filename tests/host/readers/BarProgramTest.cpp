// SPDX-License-Identifier: Apache-2.0

// The bar as status bars run it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/host/readers/LivePerson.hpp"

namespace host {
namespace {

using platform::testing::BackgroundProgram;
using platform::testing::eventually;
using ::testing::HasSubstr;
using ::testing::Not;

class BarProgram : public LivePerson {
  protected:
    ProgramResult bar(std::vector<std::string> options = {}) const {
        options.insert(options.begin(), "bar");
        return widget(std::move(options));
    }

    /// A bar that follows: a shell command in which "$0" is the program, and what it prints goes into a file.
    std::unique_ptr<BackgroundProgram> shell(const std::string& command) const {
        ProgramRun run = {.program = "/bin/sh"};
        run.arguments = {"-c", command, (platform::testing::programFolder() / "vela-widget").string(),
                         printedFile().string()};
        run.environment = environment;
        run.leadsGroup = true;
        return std::make_unique<BackgroundProgram>(run);
    }
};

TEST_F(BarProgram, ShowsTheFirstPackageAndCostsOneFetchHoweverOften) {
    startSandbox();
    for (int count = 0; count < 3; ++count) {
        const auto result = bar();
        EXPECT_EQ(result.status, 0) << result.errors;
        EXPECT_EQ(result.output, "Fathom & Co.: Arriving today\n");
    }
    EXPECT_EQ(fetches(), 1u);
}

TEST_F(BarProgram, WalksThroughThePackagesForAllBars) {
    startSandbox();
    const auto following = shell("exec \"$0\" bar --follow > \"$1\" < /dev/null");
    EXPECT_TRUE(comesToPrint("Fathom & Co.: Arriving today\n"));
    EXPECT_EQ(bar({"--next"}).output, "");
    EXPECT_EQ(bar().output, "柚子商店: Arriving tomorrow by 6 PM\n");
    EXPECT_TRUE(comesToPrint("柚子商店: Arriving tomorrow by 6 PM\n"));
    bar({"--previous"});
    bar({"--previous"});
    EXPECT_THAT(bar().output, HasSubstr("Ready for pickup")) << "round from the first to the last";
    EXPECT_EQ(fetches(), 1u);
}

TEST_F(BarProgram, OpensThePackageThatItShows) {
    startSandbox();
    EXPECT_EQ(bar({"--open"}).status, 0);
    EXPECT_TRUE(eventually([&] { return opened().ends_with("5501\n"); })) << opened();
}

TEST_F(BarProgram, DoesWhatI3barsClicksAskFor) {
    startSandbox();
    ASSERT_EQ(::mkfifo((folder.path() / "clicks").c_str(), 0600), 0);
    environment["CLICKS"] = (folder.path() / "clicks").string();
    const auto following = shell("exec \"$0\" bar --format i3bar --follow > \"$1\" < \"$CLICKS\"");
    std::ofstream clicks(environment["CLICKS"]);
    EXPECT_TRUE(comesToPrint("Arriving today"));
    EXPECT_THAT(printed(), ::testing::StartsWith("{\"version\":1,\"click_events\":true}\n[\n"));
    clicks << "[\n{\"name\":\"vela\",\"button\":1}\n" << std::flush;
    EXPECT_TRUE(eventually([&] { return opened().ends_with("5501\n"); })) << opened();
    clicks << ",{\"name\":\"vela\",\"button\":5}\n" << std::flush;
    EXPECT_TRUE(comesToPrint("Arriving tomorrow"));
    clicks.close();
    EXPECT_EQ(following->waitForEnd(std::chrono::milliseconds(200)), std::nullopt)
        << "goes on where nobody clicks any more";
    // As the bar would read it, were its array ever closed.
    auto all = printed();
    all = all.substr(all.find('\n') + 1);
    all.erase(all.rfind(','));
    EXPECT_NO_THROW(platform::JSONSerialization::JSONObjectWithData(all + "]")) << all;
}

TEST_F(BarProgram, DoesWhatI3blocksRunsItFor) {
    startSandbox();
    EXPECT_EQ(bar({"--format", "i3blocks"}).output, "Fathom & Co.: Arriving today\nArriving today\n");
    environment["BLOCK_BUTTON"] = "5";
    EXPECT_THAT(bar({"--format", "i3blocks"}).output, HasSubstr("Arriving tomorrow"));
    environment["BLOCK_BUTTON"] = "4";
    EXPECT_THAT(bar({"--format", "i3blocks"}).output, HasSubstr("Arriving today"));
    environment["BLOCK_BUTTON"] = "1";
    EXPECT_THAT(bar({"--format", "i3blocks"}).output, HasSubstr("Arriving today"));
    EXPECT_TRUE(eventually([&] { return opened().ends_with("5501\n"); })) << opened();
}

TEST_F(BarProgram, FollowsASignOutAndHasNothingLeftOfThatPerson) {
    startSandbox();
    const auto following = shell("exec \"$0\" bar --format waybar --follow > \"$1\" < /dev/null");
    EXPECT_TRUE(comesToPrint("Arriving today"));
    EXPECT_EQ(companion({"sign-out"}).status, 0);
    EXPECT_TRUE(comesToPrint("\"signed-out\""));
    const auto text = printed();
    const auto last = text.substr(text.rfind('\n', text.size() - 2) + 1);
    EXPECT_THAT(last, Not(HasSubstr("Arriving")));
    EXPECT_THAT(last, HasSubstr("Sign in to Vela"));
}

TEST_F(BarProgram, GoesOnThroughTheEndOfTheHost) {
    startSandbox();
    const auto following = shell("exec \"$0\" bar --format waybar --follow > \"$1\" < /dev/null");
    EXPECT_TRUE(comesToPrint("Arriving today"));
    endHost(SIGKILL);
    EXPECT_TRUE(comesToPrint("\"stale\""));
    EXPECT_TRUE(eventually([&] {
        return printed().rfind("\"class\":[\"arriving\"]") > printed().rfind("stale");
    })) << printed();
    EXPECT_THAT(printed().substr(printed().find("Arriving")), Not(HasSubstr("placeholder")));
}

TEST_F(BarProgram, EndsQuietlyOnceNobodyReads) {
    startSandbox();
    const auto reader = shell(
        "{ \"$0\" bar --follow 2> \"$1\"; echo \"status $?\" >> \"$1\"; } < /dev/null | head -c 1 > "
        "/dev/null");
    EXPECT_EQ(reader->waitForEnd(), 0);
    EXPECT_TRUE(comesToPrint("status 0\n"));
    EXPECT_THAT(printed(), ::testing::EndsWith("status 0\n"));
    EXPECT_EQ(printed(), "status 0\n");
}

TEST_F(BarProgram, EndsQuietlyWhereNobodyHasEverRead) {
    startSandbox();
    const auto reader = shell(
        "{ sleep 0.3; \"$0\" bar --format i3bar --follow 2> \"$1\"; echo \"status $?\" >> \"$1\"; } "
        "< /dev/null | true");
    EXPECT_TRUE(comesToPrint("status 0\n"));
    EXPECT_EQ(printed(), "status 0\n");
}

TEST_F(BarProgram, HasWordsForEveryStateAndExitsWithZero) {
    const auto signedOut = bar();
    EXPECT_EQ(signedOut.status, 0);
    EXPECT_EQ(signedOut.output, "Sign in to Vela\n");
    endHost(SIGTERM);
    startSandbox({"--scenario", "empty"});
    EXPECT_EQ(bar().output, "You have no new orders to track\n");
    endHost(SIGTERM);
    stopSandbox();
    const auto unreachable = bar();
    EXPECT_EQ(unreachable.status, 0);
    EXPECT_EQ(unreachable.output, "Vela: the server cannot be reached\n");
}

TEST_F(BarProgram, SaysWhyThereIsNoPlaceForALiveHost) {
    environment.erase("XDG_RUNTIME_DIR");
    const auto result = bar();
    EXPECT_EQ(result.status, 0) << "bars hide what fails";
    EXPECT_EQ(result.output, "Vela: not running\n");
    EXPECT_THAT(result.errors, HasSubstr("XDG_RUNTIME_DIR is not set"));
    EXPECT_THAT(
        bar({"--format", "waybar"}).output,
        ::testing::AllOf(HasSubstr("XDG_RUNTIME_DIR is not set"), HasSubstr(R"(["placeholder","trouble"])")));
    for (const char* action : {"--next", "--previous", "--open"}) {
        EXPECT_EQ(bar({action}).status, 1);
        EXPECT_EQ(bar({action}).output, "");
    }
}

TEST_F(BarProgram, SaysWhatIsWrongWithTheFolderOfALiveHost) {
    std::filesystem::create_directory_symlink("/tmp", folder.path() / "run/vela-widget");
    EXPECT_THAT(bar().errors, HasSubstr("run/vela-widget is not trusted: it is a symbolic link"));
    EXPECT_THAT(widget({"reload"}).errors, HasSubstr("it is a symbolic link"));
    const auto doctor = widget({"doctor"});
    EXPECT_EQ(doctor.status, 1);
    EXPECT_THAT(doctor.output, HasSubstr("problem  live host: "));
    EXPECT_THAT(doctor.output, HasSubstr("it is a symbolic link"));
    std::filesystem::remove(folder.path() / "run/vela-widget");
    EXPECT_THAT(widget({"reload"}).errors, HasSubstr("no live host is running"));
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "run/vela-widget")) << "nothing is made by looking";
}

TEST_F(BarProgram, StaysWhereThereIsNoPlaceForALiveHost) {
    environment.erase("XDG_RUNTIME_DIR");
    const auto following = shell("exec \"$0\" bar --format waybar --follow > \"$1\" < /dev/null");
    EXPECT_TRUE(comesToPrint("Vela: not running"));
    EXPECT_EQ(following->waitForEnd(std::chrono::milliseconds(300)), std::nullopt)
        << "a bar that ends is gone, or takes the others along";
}

TEST_F(BarProgram, GoesOnOnceAHostCanBeHad) {
    startSandbox();
    const auto runtime = folder.path() / "run";
    std::filesystem::create_directory(runtime / "vela-widget");
    std::filesystem::permissions(runtime / "vela-widget", std::filesystem::perms::all);
    const auto following = shell("exec \"$0\" bar --follow > \"$1\" < /dev/null");
    EXPECT_TRUE(comesToPrint("Vela: not running\n"));
    std::filesystem::permissions(runtime / "vela-widget", std::filesystem::perms::owner_all);
    EXPECT_TRUE(comesToPrint("Arriving today\n"));
}

TEST_F(BarProgram, SaysThatTheLiveHostHangs) {
    startSandbox();
    ASSERT_EQ(widget({"bar"}).status, 0);
    const pid_t process = hostProcess();
    ASSERT_GT(process, 0);
    ::kill(process, SIGSTOP);
    const auto bar = widget({"bar"});
    ::kill(process, SIGCONT);
    EXPECT_EQ(bar.status, 0);
    EXPECT_EQ(bar.output, "Vela: not running\n");
    EXPECT_EQ(bar.errors, "vela-widget: the live host has not answered within 10 s\n");
}

TEST_F(BarProgram, IsUsedWronglyInWords) {
    EXPECT_EQ(bar({"--format", "xmobar"}).status, 2);
    EXPECT_EQ(bar({"--next", "--follow"}).status, 2);
    EXPECT_EQ(bar({"--json"}).status, 2);
    EXPECT_EQ(bar({"--max-length", "3"}).status, 2);
    EXPECT_EQ(hostProcess(), 0);
}

TEST_F(BarProgram, StartsWithTheFirstWhereThePositionIsNone) {
    startSandbox();
    const auto place = folder.path() / "run/vela-widget-bar";
    std::filesystem::create_directory(place);
    std::filesystem::permissions(place, std::filesystem::perms::owner_all);
    for (const char* text : {"", "x", "-1", "99999999999999999999", "\n"}) {
        std::ofstream(place / "position") << text;
        EXPECT_THAT(bar().output, ::testing::AnyOf(HasSubstr("Fathom"), HasSubstr("Hearth"))) << text;
    }
    std::filesystem::remove(place / "position");
    std::filesystem::create_symlink("/etc/passwd", place / "position");
    EXPECT_THAT(bar().output, HasSubstr("Fathom"));
}

class ShowProgram : public BarProgram {};

TEST_F(ShowProgram, SaysWhyASignedInPersonIsShownTheSignInView) {
    startSandbox();
    stopSandbox();
    const auto result = widget({"show"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output, HasSubstr("Sign in to Vela"));
    EXPECT_THAT(result.errors, ::testing::EndsWith("vela-widget: the server cannot be reached\n"));
}

TEST_F(ShowProgram, SaysNothingToWhoHasNotSignedIn) {
    EXPECT_THAT(widget({"show"}).errors, Not(HasSubstr("vela-widget:")));
}

TEST_F(ShowProgram, PrintsEveryChangeWhereThereIsNoTerminal) {
    startSandbox();
    const auto following = shell("exec \"$0\" show --follow > \"$1\" < /dev/null");
    EXPECT_TRUE(comesToPrint("Fathom & Co."));
    EXPECT_EQ(companion({"sign-out"}).status, 0);
    EXPECT_TRUE(comesToPrint("Sign in to Vela"));
    EXPECT_THAT(printed(), Not(HasSubstr("\x1b")));
}

}  // namespace
}  // namespace host
