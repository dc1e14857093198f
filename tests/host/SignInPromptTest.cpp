// SPDX-License-Identifier: Apache-2.0

// Signing in as a person does: at a terminal, or with a file.

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <chrono>
#include <thread>

#include "host/companion/SecretPrompt.hpp"
#include "tests/host/Person.hpp"
#include "tests/host/readers/PseudoTerminal.hpp"

namespace host {
namespace {

using platform::testing::eventually;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr const char* firstQuestion = "Access token (or the whole JSON): ";
constexpr const char* secondQuestion = "Refresh token: ";

struct Typed {
    SecretLine::Step step = SecretLine::Step::goesOn;
    std::string text;
    std::string rest;
};

Typed typed(std::string keys) {
    SecretLine line;
    Typed result;
    while (!keys.empty() && result.step == SecretLine::Step::goesOn) {
        result.step = line.take(keys.front());
        keys.erase(0, 1);
    }
    result.text = line.text();
    result.rest = keys;
    return result;
}

TEST(SecretLine, EndsWithEnter) {
    for (const char* end : {"\r", "\n"}) {
        const auto result = typed(std::string("token") + end + "rest");
        EXPECT_EQ(result.step, SecretLine::Step::ends);
        EXPECT_EQ(result.text, "token");
        EXPECT_EQ(result.rest, "rest");
    }
}

TEST(SecretLine, TakesBackWhatWasTyped) {
    EXPECT_EQ(typed("ab\x7F"
                    "c\r")
                  .text,
              "ac");
    EXPECT_EQ(typed("ab\x08\x08\x08"
                    "c\r")
                  .text,
              "c");
    EXPECT_EQ(typed("a\xC3\xA9\x7F"
                    "c\r")
                  .text,
              "ac")
        << "the whole of a character";
    EXPECT_EQ(typed("wrong\x15right\r").text, "right");
}

TEST(SecretLine, GivesUpAtTheEndOfInput) {
    EXPECT_EQ(typed("\x04").step, SecretLine::Step::gaveUp);
    EXPECT_EQ(typed("a\x04").step, SecretLine::Step::ends);
}

TEST(SecretLine, DropsTheMarksAroundAPasteAndOtherSequences) {
    EXPECT_EQ(typed("\x1b[200~token\x1b[201~\r").text, "token");
    EXPECT_EQ(typed("to\x1b[A\x1b[1;5C\x1bOP\x1bxken\r").text, "token");
    EXPECT_EQ(typed("\x1b[200~line\nline\x1b[201~\r").text, "line\nline") << "an end within is no Enter key";
}

TEST(SecretLine, ReadsAnObjectUpToItsBrace) {
    const auto result = typed("{\n \"a\": \"}\\\"}\",\n \"b\": {\"c\": 1}\n}rest");
    EXPECT_EQ(result.step, SecretLine::Step::ends);
    EXPECT_EQ(result.text, "{\n \"a\": \"}\\\"}\",\n \"b\": {\"c\": 1}\n}");
    EXPECT_EQ(result.rest, "rest");
    EXPECT_EQ(typed("\x1b[200~{\"a\":\n1}\n\x1b[201~").step, SecretLine::Step::ends);
    EXPECT_EQ(typed("{\"a\":\r\r").step, SecretLine::Step::ends) << "one that is never closed";
    EXPECT_EQ(typed("\x1b[200~{\"a\":\n1}\x1b[201~").step, SecretLine::Step::ends);
}

TEST(SecretLine, IsNotEndless) {
    EXPECT_EQ(typed(std::string(SecretPrompt::longestAnswer, 'a') + "\r").step, SecretLine::Step::ends);
    EXPECT_EQ(typed(std::string(SecretPrompt::longestAnswer + 1, 'a')).step, SecretLine::Step::isTooLong);
}

class SignInAtATerminal : public Person {
  protected:
    void start(std::vector<std::string> more = {}) {
        std::vector<std::string> words = {"vela-companion", "sign-in"};
        words.insert(words.end(), more.begin(), more.end());
        terminal.start(words, environment);
    }
    std::string status() const { return companion({"status"}).output; }
    void expectNothingShown() const {
        EXPECT_THAT(terminal.shown(), Not(HasSubstr("secret-")));
        EXPECT_TRUE(terminal.isAsBefore());
    }

    PseudoTerminal terminal;
};

TEST_F(SignInAtATerminal, AsksForBothTokensAndShowsNeither) {
    start({"--user-id", "12345"});
    ASSERT_TRUE(terminal.shows(firstQuestion));
    terminal.type(std::string(accessToken) + "\r");
    ASSERT_TRUE(terminal.shows(secondQuestion));
    terminal.type(std::string("  ") + refreshToken + " \r");
    EXPECT_EQ(terminal.end(), 0) << terminal.shown();
    EXPECT_THAT(terminal.shown(),
                HasSubstr("you are signed in; the tokens are in " + keychainFile().string()));
    expectNothingShown();
    EXPECT_THAT(status(), HasSubstr("signed in: yes"));
    EXPECT_THAT(status(), HasSubstr("user id: 12345"));
}

TEST_F(SignInAtATerminal, TakesAPastedPair) {
    start();
    ASSERT_TRUE(terminal.shows(firstQuestion));
    terminal.type("\x1b[200~" + credentials + "\x1b[201~\r");
    EXPECT_EQ(terminal.end(), 0) << terminal.shown();
    expectNothingShown();
    EXPECT_THAT(status(), HasSubstr("signed in: yes"));
}

TEST_F(SignInAtATerminal, TakesATokenLongerThanATerminalsLine) {
    start();
    ASSERT_TRUE(terminal.shows(firstQuestion));
    for (int i = 0; i < 20; ++i) {
        terminal.type(std::string(1000, 'a'));
        platform::testing::sleepBriefly();
    }
    terminal.type("\r");
    ASSERT_TRUE(terminal.shows(secondQuestion));
    terminal.type(std::string("b\r"));
    EXPECT_EQ(terminal.end(), 0) << terminal.shown();
}

TEST_F(SignInAtATerminal, ChangesNothingWhereNothingIsEntered) {
    signIn();
    for (const char* keys : {"\r", "\x04", "   \r"}) {
        terminal.forget();
        start();
        ASSERT_TRUE(terminal.shows(firstQuestion));
        terminal.type(keys);
        EXPECT_EQ(terminal.end(), 1);
        EXPECT_THAT(terminal.shown(), HasSubstr("nothing was entered; nothing was changed"));
        expectNothingShown();
    }
    EXPECT_THAT(status(), HasSubstr("user id: 12345"));
}

TEST_F(SignInAtATerminal, RefusesTheSameTokenTwice) {
    start();
    ASSERT_TRUE(terminal.shows(firstQuestion));
    terminal.type("secret-same\r");
    ASSERT_TRUE(terminal.shows(secondQuestion));
    terminal.type("secret-same\r");
    EXPECT_EQ(terminal.end(), 1);
    EXPECT_THAT(terminal.shown(), HasSubstr("both tokens are the same text"));
    expectNothingShown();
}

TEST_F(SignInAtATerminal, GivesTheTerminalBackBeforeItEnds) {
    struct Row {
        const char* keys;
        int signal;
    };
    for (const auto& [keys, signal] : {Row{"\x03", SIGINT}, Row{"\x1c", SIGQUIT}, Row{nullptr, SIGTERM},
                                       Row{nullptr, SIGHUP}, Row{nullptr, SIGINT}}) {
        terminal.forget();
        start();
        ASSERT_TRUE(terminal.shows(firstQuestion));
        terminal.type("secret-half");
        if (keys)
            terminal.type(keys);
        else
            terminal.sendSignal(signal);
        EXPECT_EQ(terminal.end(), 128 + signal);
        expectNothingShown();
    }
    EXPECT_THAT(status(), HasSubstr("signed in: no"));
}

TEST_F(SignInAtATerminal, IsBrokenOffByAKeyThatTakesBackWhatItIsAboutToRead) {
    for (int round = 0; round < 40; ++round) {
        terminal.forget();
        start();
        ASSERT_TRUE(terminal.shows(firstQuestion));
        terminal.type(std::string(2000, 'x'));
        // At another place in what is being read each time.
        std::this_thread::sleep_for(std::chrono::microseconds(20 * round));
        terminal.type("\x03");
        ASSERT_EQ(terminal.end(), 128 + SIGINT) << round;
    }
}

TEST_F(SignInAtATerminal, LeavesNothingOfASecretToTheShell) {
    start();
    ASSERT_TRUE(terminal.shows(firstQuestion));
    terminal.type("\x04secret-rest\r");
    EXPECT_EQ(terminal.end(), 1);
    EXPECT_EQ(terminal.waitingInput(), 0);
}

/// In a shell with job control, which has a line editor with modes of its own.
class SignInAsAJob : public SignInAtATerminal {
  protected:
    SignInAsAJob() {
        environment["PATH"] = platform::testing::programFolder().string() + ":/usr/bin:/bin";
        environment["PS1"] = "$ ";
        environment["HOME"] = folder.path().string();
        terminal.start({"/bin/bash", "--norc", "--noprofile", "-i"}, environment);
        modes = modesOfAJob();
    }
    /// As `stty` finds them.
    std::string modesOfAJob() {
        terminal.forget();
        terminal.type("stty -g; echo en''d\r");
        EXPECT_TRUE(terminal.shows("\r\nend")) << terminal.shown();
        const auto before = terminal.shown().substr(0, terminal.shown().find("\r\nend"));
        return before.substr(before.rfind('\n') + 1);
    }
    void type(const std::string& keys, const std::string& answer) {
        terminal.forget();
        terminal.type(keys);
        EXPECT_TRUE(terminal.shows(answer)) << terminal.shown();
    }
    void expectTerminalAsBefore() {
        EXPECT_THAT(terminal.shown(), Not(HasSubstr("secret-")));
        EXPECT_EQ(modesOfAJob(), modes);
    }

    /// The job is stopped once it asks for the terminal, however long that takes.
    const std::string jobsOnceStopped =
        "until jobs > jobs; grep -q Stop''ped jobs; do sleep 0.05; done; jobs\r";
    std::string modes;
};

TEST_F(SignInAsAJob, GivesTheTerminalBackWhileItIsStopped) {
    type("vela-companion sign-in\r", firstQuestion);
    type("secret-half\x1a", "Stopped");
    expectTerminalAsBefore();
    type("fg\r", firstQuestion);
    type("\x15secret-one\r", secondQuestion);
    type("secret-two\x1a", "Stopped");
    type("fg\r", secondQuestion);
    type("\x15secret-two\r", "you are signed in");
    expectTerminalAsBefore();
}

TEST_F(SignInAsAJob, AsksInTheForegroundOnly) {
    type("vela-companion sign-in &\r", "[1]");
    terminal.type("cd; " + jobsOnceStopped);
    EXPECT_TRUE(terminal.shows("Stopped"));
    EXPECT_THAT(terminal.shown(), Not(HasSubstr("Sign in:")));
    type("fg\r", firstQuestion);
    type("\x1a", "Stopped");
    type("bg\r", "vela-companion sign-in &");
    type(jobsOnceStopped, "Stopped");
    type("fg\r", firstQuestion);
    type("\x04", "nothing was entered");
    expectTerminalAsBefore();
    EXPECT_THAT(status(), HasSubstr("signed in: no"));
}

class CredentialsFile : public Person {
  protected:
    CredentialsFile() { folder.write("pair", credentials); }
    ProgramResult signInWith(const std::filesystem::path& path) const {
        return companion({"sign-in", "--file", path.string()});
    }
    void expectRefusal(const std::filesystem::path& path, const std::string& why) const {
        const auto result = signInWith(path);
        EXPECT_EQ(result.status, 1) << path;
        EXPECT_THAT(result.errors, HasSubstr(why));
        EXPECT_THAT(result.errors, Not(HasSubstr("secret-")));
        EXPECT_THAT(companion({"status"}).output, HasSubstr("signed in: no"));
    }

    const std::filesystem::path pair = folder.path() / "pair";
    const std::filesystem::path link = folder.path() / "link";
};

TEST_F(CredentialsFile, IsTakenWhereItIsThePersonsAlone) {
    for (const mode_t mode : {0600u, 0400u}) {
        ::chmod(pair.c_str(), mode);
        EXPECT_EQ(signInWith(pair).status, 0);
        EXPECT_EQ(companion({"sign-out"}).status, 0);
    }
    std::filesystem::create_symlink("pair", link);
    EXPECT_EQ(signInWith(link).status, 0);
}

TEST_F(CredentialsFile, IsRefusedWhereOthersCanReadIt) {
    std::filesystem::create_symlink("pair", link);
    for (const mode_t mode : {0640u, 0604u, 0644u, 0620u, 0602u, 0777u}) {
        ::chmod(pair.c_str(), mode);
        expectRefusal(pair, "chmod 600 " + pair.string());
        expectRefusal(link, "other users can read or change it");
    }
}

TEST_F(CredentialsFile, IsRefusedWhereItIsAnothers) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root can give a file away";
    ::chmod(pair.c_str(), 0600);
    ASSERT_EQ(::chown(pair.c_str(), 65534, 65534), 0);
    expectRefusal(pair, "it belongs to another user (uid 65534)");
}

TEST_F(CredentialsFile, IsAFile) {
    expectRefusal(folder.path() / "missing", "No such file or directory");
    expectRefusal(folder.path(), "it is not a regular file");
    expectRefusal("/dev/zero", "it is not a regular file");
    ASSERT_EQ(::mkfifo(link.c_str(), 0600), 0);
    expectRefusal(link, "it is not a regular file");
}

TEST_F(CredentialsFile, HoldsAPairAndNoMore) {
    folder.write("long", std::string(1 << 20, 'a'));
    ::chmod((folder.path() / "long").c_str(), 0600);
    expectRefusal(folder.path() / "long", "it is too long");
    folder.write("text", "secret-text");
    ::chmod((folder.path() / "text").c_str(), 0600);
    expectRefusal(folder.path() / "text", "the input is not JSON");
}

TEST_F(CredentialsFile, IsNotForTheWindow) {
    EXPECT_EQ(companion({"sign-in", "--window", "--file", pair.string()}).status, 2);
    EXPECT_EQ(companion({"sign-in", "--window", "--legacy"}).status, 2);
}

}  // namespace
}  // namespace host
