// SPDX-License-Identifier: Apache-2.0

#include <gmock/gmock.h>

#include "tests/host/Person.hpp"
#include "tests/host/readers/PseudoTerminal.hpp"

namespace host {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

class Tour : public Person {
  protected:
    Tour() {
        std::filesystem::create_directory(temporary);
        environment["TMPDIR"] = temporary.string();
        environment["PATH"] = "/usr/bin:/bin";
        environment["XDG_RUNTIME_DIR"] = folder.path().string();
        environment["DBUS_SESSION_BUS_ADDRESS"] = "unix:path=/nonexistent";
    }
    void expectNothingLeft() const {
        EXPECT_TRUE(std::filesystem::is_empty(temporary));
        EXPECT_TRUE(terminal.isAsBefore());
        EXPECT_THAT(companion({"status"}).output, HasSubstr("signed in: no"));
    }
    const std::filesystem::path temporary = folder.path() / "tmp";
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
    ASSERT_TRUE(terminal.shows("status-right")) << terminal.shown();
    terminal.type("\n");
    EXPECT_EQ(terminal.end(), 0) << terminal.shown();
    expectNothingLeft();
}

TEST_F(Tour, LeavesNothingWhenInterrupted) {
    terminal.start({"vela-widget", "tour"}, environment);
    ASSERT_TRUE(terminal.shows("Which? [2]")) << terminal.shown();
    terminal.type("2\n");
    ASSERT_TRUE(terminal.shows("does not exist")) << terminal.shown();
    terminal.type("\x03");
    EXPECT_EQ(terminal.end(), 128 + SIGINT) << terminal.shown();
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
