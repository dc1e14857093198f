// SPDX-License-Identifier: Apache-2.0

// The followed view in a terminal.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/host/readers/LivePerson.hpp"
#include "tests/host/readers/PseudoTerminal.hpp"

namespace host {
namespace {

using platform::testing::eventually;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr const char* takenScreen = "\x1b[?1049h";
constexpr const char* returnedScreen = "\x1b[?7h\x1b[?25h\x1b[?1049l";

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool isSanitized = true;
#else
constexpr bool isSanitized = false;
#endif

class ShowFollow : public LivePerson {
  protected:
    ShowFollow() { environment["TERM"] = "xterm-256color"; }

    void start() {
        startSandbox();
        terminal.start({"vela-widget", "show", "--follow"}, environment);
        EXPECT_TRUE(terminal.shows("Fathom & Co."));
        EXPECT_THAT(terminal.shown(), HasSubstr(takenScreen));
    }
    void expectGivenBack() {
        EXPECT_THAT(terminal.shown(), EndsWith(returnedScreen));
        EXPECT_TRUE(terminal.isAsBefore());
    }

    PseudoTerminal terminal;
};

TEST_F(ShowFollow, FillsTheTerminalAndGivesItBack) {
    start();
    EXPECT_FALSE(terminal.isAsBefore());
    terminal.type("q");
    EXPECT_EQ(terminal.end(), 0);
    expectGivenBack();
}

TEST_F(ShowFollow, QuitsForEscape) {
    start();
    terminal.type("\x1b");
    EXPECT_EQ(terminal.end(), 0);
    expectGivenBack();
}

TEST_F(ShowFollow, GivesTheTerminalBackWhateverSignalEndsIt) {
    startSandbox();
    for (const int signal : {SIGTERM, SIGHUP, SIGINT, SIGQUIT, SIGABRT, SIGSEGV}) {
        // A sanitizer makes a report of it.
        if (isSanitized && signal == SIGSEGV) continue;
        PseudoTerminal other;
        other.start({"vela-widget", "show", "--follow"}, environment);
        EXPECT_TRUE(other.shows("Fathom & Co."));
        other.sendSignal(signal);
        EXPECT_EQ(other.end(), 128 + signal);
        EXPECT_THAT(other.shown(), HasSubstr(returnedScreen)) << signal;
        EXPECT_TRUE(other.isAsBefore()) << signal;
    }
}

TEST_F(ShowFollow, EndsForControlC) {
    start();
    terminal.type("\x03");
    EXPECT_EQ(terminal.end(), 128 + SIGINT);
    expectGivenBack();
}

TEST_F(ShowFollow, FitsTheWindowWhenThatChanges) {
    start();
    terminal.forget();
    terminal.resize(5, 30);
    EXPECT_TRUE(terminal.shows("> Fathom & Co.: Arriving today"));
    terminal.forget();
    terminal.resize(100, 200);
    EXPECT_TRUE(terminal.shows("Hearth & Field Furniture Makers of the Upper Valley"));
}

TEST_F(ShowFollow, ErasesNothingBehindALineThatFillsItsRow) {
    start();
    terminal.resize(4, 30);
    terminal.forget();
    terminal.type("\f");
    EXPECT_TRUE(terminal.shows("\n\x1b[K  Arriving tomorrow")) << terminal.shown();
}

TEST_F(ShowFollow, ChoosesOpensAndCopies) {
    start();
    terminal.forget();
    terminal.type("j");
    EXPECT_TRUE(terminal.shows("2/10"));
    terminal.type("\x1b[A\x1b[F");
    EXPECT_TRUE(terminal.shows("10/10"));
    terminal.type("\x1b[H");
    EXPECT_TRUE(terminal.shows("1/10"));
    terminal.type("y");
    // velaapp://order/5501
    EXPECT_TRUE(terminal.shows("\x1b]52;c;dmVsYWFwcDovL29yZGVyLzU1MDE=\x1b\\"));
    terminal.type("\r");
    EXPECT_TRUE(eventually([&] { return opened().ends_with("5501\n"); })) << opened();
    EXPECT_TRUE(terminal.shows("Opened"));
    terminal.type("?");
    EXPECT_TRUE(terminal.shows("copy its link"));
}

TEST_F(ShowFollow, ScrollsItsHelpInASmallWindowAndEndsItWithAnyOtherKey) {
    start();
    terminal.resize(5, 40);
    // What was said is over with the next key, also with one that scrolls.
    terminal.type("y");
    EXPECT_TRUE(terminal.shows("Copied")) << terminal.shown();
    terminal.forget();
    terminal.type("?");
    EXPECT_TRUE(terminal.shows("Down for more")) << terminal.shown();
    EXPECT_THAT(terminal.shown(), Not(HasSubstr("this help")));
    terminal.type("\x1b[F");
    EXPECT_TRUE(terminal.shows("q, Esc, Ctrl-C    quit")) << terminal.shown();
    terminal.forget();
    terminal.type("k");
    EXPECT_TRUE(terminal.shows("copy its link")) << terminal.shown();
    terminal.forget();
    terminal.type("\x1b[6~");
    EXPECT_TRUE(terminal.shows("Ctrl-C")) << terminal.shown();
    terminal.type("\x1b[H");
    EXPECT_TRUE(terminal.shows("a screen on")) << terminal.shown();
    terminal.forget();
    // Of the packages it chooses another.
    terminal.type("?j");
    EXPECT_TRUE(terminal.shows("2/10")) << terminal.shown();
    // Whole again, it needs no scrolling.
    terminal.resize(24, 80);
    terminal.type("?");
    EXPECT_TRUE(terminal.shows("this help")) << terminal.shown();
    terminal.forget();
    terminal.type("j");
    EXPECT_TRUE(terminal.shows("3/10")) << terminal.shown();
}

TEST_F(ShowFollow, TellsWhoIsSignedOutHowToSignInAndOpensTheAccount) {
    startSandbox();
    EXPECT_EQ(companion({"sign-out"}).status, 0);
    terminal.start({"vela-widget", "show", "--follow"}, environment);
    EXPECT_TRUE(terminal.shows("To sign in: vela-companion sign-in, or Enter"));
    terminal.type("\r");
    EXPECT_TRUE(eventually([&] { return opened() == environment["BASE_URL"] + "/orders\n"; })) << opened();
}

TEST_F(ShowFollow, SaysWhereALinkCannotBeOpened) {
    std::ofstream(folder.path() / "bin/xdg-open") << "#!/bin/sh\nexit 3\n";
    start();
    terminal.type("o");
    EXPECT_TRUE(terminal.shows("The link could not be opened"));
}

TEST_F(ShowFollow, AsksTheServerWhenItIsAskedTo) {
    start();
    EXPECT_EQ(fetches(), 1u);
    terminal.type("r");
    EXPECT_TRUE(eventually([&] { return fetches() == 2; }));
}

TEST_F(ShowFollow, ShowsASignOutAndGoesOnThroughTheEndOfTheHost) {
    start();
    terminal.forget();
    endHost(SIGKILL);
    EXPECT_TRUE(terminal.shows("as of "));
    EXPECT_TRUE(terminal.shows("Enter opens", "as of "));
    EXPECT_EQ(companion({"sign-out"}).status, 0);
    EXPECT_TRUE(terminal.shows("Sign in to Vela"));
}

TEST_F(ShowFollow, GivesTheTerminalBackWhileItIsStopped) {
    start();
    terminal.forget();
    terminal.type("\x1a");
    EXPECT_TRUE(terminal.shows(returnedScreen));
    // Nobody could continue a session's leader, so the system does not stop it.
    EXPECT_TRUE(terminal.shows(takenScreen));
    EXPECT_TRUE(terminal.shows("Fathom & Co."));
    terminal.type("q");
    EXPECT_EQ(terminal.end(), 0);
    expectGivenBack();
}

TEST_F(ShowFollow, TakesTheTerminalAgainAfterAStopThatNobodyCanCatch) {
    start();
    terminal.sendSignal(SIGSTOP);
    terminal.forget();
    terminal.sendSignal(SIGCONT);
    EXPECT_TRUE(terminal.shows(takenScreen));
    EXPECT_TRUE(terminal.shows("Fathom & Co."));
}

TEST_F(ShowFollow, HasNoColoursForWhoWantsNone) {
    environment["NO_COLOR"] = "1";
    start();
    EXPECT_THAT(terminal.shown(), Not(HasSubstr("\x1b[1m")));
    EXPECT_THAT(terminal.shown(), Not(HasSubstr("\x1b[2m")));
    EXPECT_THAT(terminal.shown(), HasSubstr("> "));
}

TEST_F(ShowFollow, SaysWhyThereIsNoPlaceForALiveHostOnATerminalGivenBack) {
    environment.erase("XDG_RUNTIME_DIR");
    terminal.start({"vela-widget", "show", "--follow"}, environment);
    EXPECT_EQ(terminal.end(), 1);
    const auto text = terminal.shown();
    EXPECT_GT(text.find("XDG_RUNTIME_DIR is not set"), text.find(returnedScreen)) << text;
    EXPECT_THAT(text, HasSubstr("XDG_RUNTIME_DIR is not set"));
    EXPECT_TRUE(terminal.isAsBefore());
}

TEST_F(ShowFollow, PrintsChangesOnATerminalThatKnowsNoCursor) {
    environment["TERM"] = "dumb";
    startSandbox();
    terminal.start({"vela-widget", "show", "--follow"}, environment);
    EXPECT_TRUE(terminal.shows("Fathom & Co."));
    EXPECT_THAT(terminal.shown(), Not(HasSubstr("\x1b")));
}

class Show : public LivePerson {
  protected:
    PseudoTerminal terminal;
};

TEST_F(Show, TellsAPersonAtATerminalHowToSignInAndAScriptNothing) {
    terminal.start({"vela-widget", "show"}, environment);
    EXPECT_TRUE(terminal.shows("vela-widget: nobody is signed in; to sign in: vela-companion sign-in"));
    EXPECT_EQ(terminal.end(), 0);
    EXPECT_THAT(terminal.shown(), Not(HasSubstr("Failed")));
    const auto script = widget({"show"});
    EXPECT_THAT(script.errors, HasSubstr("Failed to fetch item accessToken with reason itemNotFound\n"));
    EXPECT_THAT(script.errors, Not(HasSubstr("sign-in")));
    EXPECT_THAT(script.output, HasSubstr("Sign in to Vela"));
}

}  // namespace
}  // namespace host
