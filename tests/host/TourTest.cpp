// SPDX-License-Identifier: Apache-2.0

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <fstream>
#include <sstream>

#include "tests/host/Person.hpp"
#include "tests/host/readers/PseudoTerminal.hpp"

namespace host {
namespace {

using platform::testing::childrenOf;
using platform::testing::eventually;
using platform::testing::isAlive;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

std::string read(const std::filesystem::path& file) {
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::vector<std::string> filesBelow(const std::filesystem::path& folder) {
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
        files.push_back(entry.path().lexically_relative(folder));
    return files;
}

class Tour : public Person {
  protected:
    Tour() {
        for (const auto& place : {temporary, runtime}) {
            std::filesystem::create_directory(place);
            std::filesystem::permissions(place, std::filesystem::perms::owner_all);
        }
        environment["TMPDIR"] = temporary.string();
        environment["PATH"] = folder.path().string() + ":/usr/bin:/bin";
        environment["HOME"] = (folder.path() / "home").string();
        std::filesystem::create_directory(environment["HOME"]);
        // A machine's own service manager has no part in this.
        installScript("systemctl", "exit 1");
        environment["XDG_RUNTIME_DIR"] = runtime.string();
        environment["DBUS_SESSION_BUS_ADDRESS"] = "unix:path=/nonexistent";
    }
    void expectNothingLeft() const {
        EXPECT_THAT(filesBelow(temporary), IsEmpty());
        EXPECT_THAT(filesBelow(runtime), IsEmpty());
        EXPECT_TRUE(terminal.isAsBefore());
        EXPECT_THAT(companion({"status"}).output, HasSubstr("signed in: no"));
    }
    void installScript(const std::string& name, const std::string& lines) const {
        folder.write(name, "#!/bin/sh\n" + lines + "\n");
        ::chmod((folder.path() / name).c_str(), 0700);
    }
    void startUpTo(const std::string& question) {
        terminal.start({"vela-widget", "tour"}, environment);
        ASSERT_TRUE(terminal.shows("Which? [2]")) << terminal.shown();
        if (question == "Which? [2]") return;
        terminal.type("3\n");
        ASSERT_TRUE(terminal.shows("[none]")) << terminal.shown();
        if (question == "[none]") return;
        terminal.type("tmux\n");
        ASSERT_TRUE(terminal.shows(question)) << terminal.shown();
    }
    std::string tmuxFile() const { return environment.at("HOME") + "/.tmux.conf"; }

    /// What a tour leaves that is killed while its sample person is there.
    void leaveSamplePersonIn(const std::filesystem::path& place) {
        terminal.forget();
        startUpTo("Which? [2]");
        terminal.type("2\n");
        std::vector<pid_t> started;
        ASSERT_TRUE(eventually([&] {
            started = childrenOf(terminal.processIdentifier());
            return !started.empty();
        }));
        terminal.sendSignal(SIGKILL);
        EXPECT_EQ(terminal.end(), 128 + SIGKILL);
        // It has written its bundle before it looks for the tour.
        EXPECT_TRUE(eventually([&] { return !isAlive(started.front()); }));
        ASSERT_FALSE(std::filesystem::is_empty(place));
    }

    const std::filesystem::path temporary = folder.path() / "tmp";
    const std::filesystem::path runtime = folder.path() / "run";
    PseudoTerminal terminal;
};

TEST_F(Tour, ShowsASamplePersonAndLeavesNothing) {
    terminal.start({"vela-widget", "tour"}, environment);
    ASSERT_TRUE(terminal.shows("Which? [2]")) << terminal.shown();
    terminal.type("2\n");
    ASSERT_TRUE(terminal.shows("are gone again")) << terminal.shown();
    EXPECT_THAT(terminal.shown(), HasSubstr("Arriving today"));
    ASSERT_TRUE(terminal.shows("[none]"));
    terminal.type("tmux\n");
    ASSERT_TRUE(terminal.shows("Write it? [y/N]")) << terminal.shown();
    EXPECT_THAT(terminal.shown(), HasSubstr("status-right"));
    terminal.type("n\n\n");
    EXPECT_EQ(terminal.end(), 0) << terminal.shown();
    expectNothingLeft();
}

TEST_F(Tour, BreaksItsLinesBetweenWordsAndNoneThatIsToBePasted) {
    terminal.resize(24, 40);
    terminal.start({"vela-widget", "tour"}, environment);
    ASSERT_TRUE(terminal.shows("Which? [2]")) << terminal.shown();
    EXPECT_THAT(terminal.shown(), HasSubstr("Vela's widget, in four steps. Ctrl-C\r\n  ends it at any time"));
    EXPECT_THAT(terminal.shown(), HasSubstr("  2  just look, at a sample person's\r\n    parcels\r\n"));
    terminal.type("3\n");
    ASSERT_TRUE(terminal.shows("Show what to paste for which? [none] ")) << terminal.shown();
    terminal.type("tmux\n");
    ASSERT_TRUE(terminal.shows("Write it? [y/N]")) << terminal.shown();
    const auto snippet = widget({"setup", "tmux"}).output;
    std::istringstream lines(snippet);
    for (std::string line; std::getline(lines, line);)
        EXPECT_THAT(terminal.shown(), HasSubstr("    " + line + "\r\n"));
    terminal.type("n\n\n");
    EXPECT_EQ(terminal.end(), 0) << terminal.shown();
}

TEST_F(Tour, LeavesNothingWhenItEndsAtAnyQuestion) {
    for (const char* question : {"Which? [2]", "[none]", "Write it? [y/N]"})
        for (const int signal : {SIGINT, SIGQUIT, SIGTERM, SIGHUP}) {
            terminal.forget();
            startUpTo(question);
            terminal.sendSignal(signal);
            EXPECT_EQ(terminal.end(), 128 + signal) << question;
            expectNothingLeft();
            EXPECT_FALSE(std::filesystem::exists(tmuxFile()));
        }
}

TEST_F(Tour, AsksAgainWhenItGoesOnAfterAStop) {
    for (const char* question : {"Which? [2]", "[none]", "Write it? [y/N]"}) {
        terminal.forget();
        startUpTo(question);
        terminal.forget();
        terminal.sendSignal(SIGSTOP);
        terminal.sendSignal(SIGCONT);
        EXPECT_TRUE(terminal.shows(question)) << terminal.shown();
        terminal.type("\x03");
        EXPECT_EQ(terminal.end(), 128 + SIGINT);
    }
}

TEST_F(Tour, LeavesNothingOfTheSamplePersonWhenInterrupted) {
    startUpTo("Which? [2]");
    terminal.type("2\n");
    ASSERT_TRUE(terminal.shows("does not exist")) << terminal.shown();
    terminal.type("\x03");
    EXPECT_EQ(terminal.end(), 128 + SIGINT) << terminal.shown();
    expectNothingLeft();
}

TEST_F(Tour, RemovesTheSamplePersonOfATourThatWasKilled) {
    leaveSamplePersonIn(runtime);
    environment.erase("XDG_RUNTIME_DIR");
    leaveSamplePersonIn(temporary);
    environment["XDG_RUNTIME_DIR"] = runtime.string();
    EXPECT_EQ(widget({"tour", "--yes"}).status, 0);
    expectNothingLeft();
}

TEST_F(Tour, LeavesTheSamplePersonOfAnotherTourAlone) {
    const auto others = runtime / "vela-tour-others";
    std::filesystem::create_directory(others);
    const int lock = ::open(others.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ASSERT_EQ(::flock(lock, LOCK_EX), 0);
    const auto mine = folder.write("home/parcels.txt", "mine").parent_path();
    std::filesystem::create_directory_symlink(mine, runtime / "vela-tour-link");
    folder.write("run/vela-tour-file", "a file");
    EXPECT_EQ(widget({"tour", "--yes"}).status, 0);
    ::close(lock);
    for (const auto& kept :
         {others, mine / "parcels.txt", runtime / "vela-tour-link", runtime / "vela-tour-file"})
        EXPECT_TRUE(std::filesystem::exists(kept)) << kept;
}

TEST_F(Tour, ReachesTheSamplePersonsServerWhateverTheProxy) {
    environment["http_proxy"] = "http://127.0.0.1:9";
    startUpTo("Which? [2]");
    terminal.type("\n");
    ASSERT_TRUE(terminal.shows("are gone again")) << terminal.shown();
    EXPECT_THAT(terminal.shown(), HasSubstr("Arriving today"));
}

TEST_F(Tour, AsksAgainWhereAnAnswerIsNone) {
    startUpTo("Which? [2]");
    terminal.type("4\n");
    ASSERT_TRUE(terminal.shows("1, 2 or 3.")) << terminal.shown();
    terminal.type("3\n");
    ASSERT_TRUE(terminal.shows("[none]"));
    terminal.type("--help\n");
    ASSERT_TRUE(terminal.shows("No surface has that name.")) << terminal.shown();
    terminal.type("\x04");
    EXPECT_EQ(terminal.end(), 0) << terminal.shown();
    expectNothingLeft();
}

TEST_F(Tour, WritesAFileThatIsNotThereOnceThePersonAgrees) {
    startUpTo("Write it? [y/N]");
    EXPECT_FALSE(std::filesystem::exists(tmuxFile()));
    terminal.forget();
    terminal.type("\n");
    ASSERT_TRUE(terminal.shows("[none]"));
    EXPECT_FALSE(std::filesystem::exists(tmuxFile())) << "no answer is no";
    terminal.type("tmux\n");
    ASSERT_TRUE(terminal.shows("Write it? [y/N]"));
    terminal.type("y\n");
    ASSERT_TRUE(terminal.shows("Written: " + tmuxFile())) << terminal.shown();
    EXPECT_EQ(read(tmuxFile()), widget({"setup", "tmux"}).output);
    terminal.forget();
    terminal.type("tmux\n");
    ASSERT_TRUE(terminal.shows("[none]"));
    EXPECT_THAT(terminal.shown(), Not(HasSubstr("Write it?"))) << "it is there now";
}

TEST_F(Tour, WritesNothingInPlaceOfAFileThatCame) {
    startUpTo("Write it? [y/N]");
    std::filesystem::create_symlink("elsewhere", tmuxFile());
    terminal.type("y\n");
    ASSERT_TRUE(terminal.shows("Nothing was written: ")) << terminal.shown();
    EXPECT_TRUE(std::filesystem::is_symlink(tmuxFile()));
    EXPECT_FALSE(std::filesystem::exists(environment["HOME"] + "/elsewhere"));
}

TEST_F(Tour, EnablesTheUnitOnceThePersonAgrees) {
    const auto calls = folder.path() / "calls";
    installScript("systemctl", "echo \"$@\" >> " + calls.string() + "; [ \"$2\" != is-enabled ]");
    for (const auto& [answer, isDone] : {std::pair("\n", false), std::pair("y\n", true)}) {
        terminal.forget();
        startUpTo("[none]");
        terminal.type("\n");
        ASSERT_TRUE(terminal.shows("Do that? [y/N]")) << terminal.shown();
        terminal.type(answer);
        EXPECT_EQ(terminal.end(), 0) << terminal.shown();
        EXPECT_EQ(read(calls).find("--user enable --now vela-widget.socket\n") != std::string::npos, isDone);
    }
}

TEST_F(Tour, GoesByItselfWithoutATerminalAndChangesNothing) {
    const auto calls = folder.path() / "calls";
    installScript("systemctl", "echo \"$@\" >> " + calls.string() + "; [ \"$2\" != is-enabled ]");
    environment["TMUX"] = "a session";
    const auto result = widget({"tour", "--yes"});
    EXPECT_EQ(result.status, 0) << result.errors;
    for (const char* words : {"Arriving today", "are gone again", "Running here, and ready for the widget: ",
                              "set -ag status-right", ".tmux.conf yet", "enable --now vela-widget.socket"})
        EXPECT_THAT(result.output, HasSubstr(words));
    EXPECT_THAT(result.output, Not(HasSubstr("[y/N]")));
    EXPECT_THAT(read(calls), Not(HasSubstr("enable --now")));
    EXPECT_FALSE(std::filesystem::exists(tmuxFile()));
    expectNothingLeft();
}

TEST_F(Tour, FailsWhereNobodyCouldReadIt) {
    const auto call =
        (platform::testing::programFolder() / "vela-widget").string() + " tour --yes >/dev/full";
    const auto result = program("/bin/sh", {"-c", call}).run();
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.errors, HasSubstr("No space left on device"));
    expectNothingLeft();
}

TEST_F(Tour, SaysWhichPackageTheSamplePersonsServerIsIn) {
    const auto alone = folder.path() / "vela-widget";
    std::filesystem::copy(platform::testing::programFolder() / "vela-widget", alone);
    const auto result = program(alone.string(), {"tour", "--yes"}).run();
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_THAT(result.output, HasSubstr("it is in the package vela-sandbox"));
    expectNothingLeft();
}

TEST_F(Tour, SaysWhatItWouldDoWithoutATerminal) {
    const auto result = widget({"tour"});
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.output, IsEmpty());
    EXPECT_THAT(result.errors, HasSubstr("vela-companion sign-in"));
}

}  // namespace
}  // namespace host
