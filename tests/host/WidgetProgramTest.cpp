// SPDX-License-Identifier: Apache-2.0

// The whole program beside an extension that misbehaves, and started in unlucky circumstances.

#include <signal.h>
#include <unistd.h>

#include <fstream>

#include "tests/host/Person.hpp"

namespace host {
namespace {

using platform::testing::BackgroundProgram;
using platform::testing::eventually;
using platform::testing::isAlive;
namespace fs = std::filesystem;

class WidgetProgram : public Person {
  protected:
    /// A `vela-widget` of its own, with an extension beside it that does as it is told.
    WidgetProgram() {
        fs::create_directory(folder.path() / "bin");
        place(platform::testing::programFolder() / "vela-widget", own());
        place(platform::testing::programFolder().parent_path() / "tests/MisbehavingExtension",
              folder.path() / "bin/VelaWidgetExtension");
        environment["TERM"] = "xterm-256color";
    }

    fs::path own() const { return folder.path() / "bin/vela-widget"; }
    std::string path(const std::string& name) const { return (folder.path() / name).string(); }

    ProgramRun besideExtension(const std::string& behaviour, std::vector<std::string> arguments) {
        auto run = program(own().string(), std::move(arguments));
        run.environment["VELA_TEST_BEHAVIOUR"] = behaviour;
        return run;
    }

    /// As a shell runs `command`, where $0 stands for the program and $1 for the argument.
    ProgramResult shell(const std::string& command, const fs::path& program,
                        const std::string& argument = {}) const {
        ProgramRun run = {.program = "/bin/sh"};
        run.arguments = {"-c", command, program.string(), argument};
        run.environment = environment;
        return run.run();
    }

    /// What a terminal gets that is both standard output and standard error.
    std::string onATerminal(const std::string& behaviour, const std::string& arguments) {
        ProgramRun script = {.program = "/usr/bin/script"};
        script.arguments = {"-qec", own().string() + " " + arguments, "/dev/null"};
        script.environment = environment;
        script.environment["VELA_TEST_BEHAVIOUR"] = behaviour;
        return script.run().output;
    }

    pid_t noted(const std::string& name) const {
        pid_t process = 0;
        eventually([&] { return static_cast<bool>(std::ifstream(path(name)) >> process); });
        return process;
    }

    static std::string timeline(const std::string& name, const std::string& link = "velaapp://order/1") {
        return R"({"timeline":{"policy":{"after":"2026-01-31T11:00:00.000Z"},"entries":[{)"
               R"("date":"2026-01-31T10:00:00.000Z","state":"loggedIn","packages":[{"progress":0.5,)"
               R"("deepLinkingUrl":")" +
               link + R"(","shopName":")" + name + R"(","statusText":{"primary":")" + name +
               R"(","secondary":")" + name + R"("}}]}]}})";
    }

  private:
    static void place(const fs::path& from, const fs::path& to) {
        std::error_code otherVolume;
        fs::create_hard_link(from, to, otherVolume);
        if (otherVolume) fs::copy_file(from, to);
    }
};

constexpr const char* uploadsFinished = "\nreceive\nanswer {\"finished\":true}";

constexpr const char* hostile =
    R"(a\u0000\u0007\u001b[2J\u001b]0;x\u0007\u007f\u0080\u009b31m\u009d0;y\u009c\u2028\u2029\u202e\u2066\nb)";

TEST_F(WidgetProgram, SaysSoWhenAStandardStreamIsMissingOrFull) {
    const auto program = platform::testing::programFolder() / "vela-widget";
    const char* error = "vela-widget: cannot write to standard output";
    for (const std::string command :
         {"placeholder > /dev/full", "placeholder >&-", "placeholder <&- >&-", "--help > /dev/full",
          "--version >&-", "timeline --help > /dev/full", "show > /dev/full", "show >&-"}) {
        const auto result = shell("\"$0\" " + command, program);
        EXPECT_EQ(result.status, 1) << command;
        // The reason tells whether it was the closed stream, or something opened in its place.
        const bool isFull = command.find("/dev/full") != std::string::npos;
        const std::string reason = isFull ? "No space left on device" : "Bad file descriptor";
        EXPECT_NE(result.errors.find(error + (": " + reason)), std::string::npos) << command << result.errors;
    }
    for (const std::string command : {"placeholder >&- 2>&-", "placeholder > /dev/full 2>&1"})
        EXPECT_EQ(shell("\"$0\" " + command, program).status, 1) << command;
    for (const std::string command : {"placeholder <&-", "placeholder 2>&-", "placeholder <&- 2>&-"}) {
        const auto result = shell("\"$0\" " + command, program);
        EXPECT_EQ(result.status, 0) << command;
        EXPECT_TRUE(result.output.starts_with("{\"date\":")) << command;
    }
}

TEST_F(WidgetProgram, ClaimsNoSuccessWhenNobodyReads) {
    for (const std::string pipe : {"", "trap '' PIPE; "}) {
        const auto result = shell(pipe +
                                      "{ while ! [ -e \"$1\" ]; do sleep 0.01; done; \"$0\" placeholder; "
                                      "echo status $? >&2; } | { exec <&-; : > \"$1\"; }",
                                  platform::testing::programFolder() / "vela-widget", path("closed" + pipe));
        EXPECT_EQ(result.errors.find("status 0"), std::string::npos) << result.errors;
        EXPECT_NE(result.errors.find("status "), std::string::npos) << result.errors;
    }
}

TEST_F(WidgetProgram, IsNeverSilentlyContentWithoutDescriptors) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP()
        << "the sanitizer looks at memory through a pipe, and takes what it cannot look at for broken";
#endif
    for (int limit = 3; limit <= 16; ++limit) {
        const auto result = shell("ulimit -n " + std::to_string(limit) + "; exec \"$0\" placeholder",
                                  platform::testing::programFolder() / "vela-widget");
        if (result.status == 0)
            EXPECT_TRUE(result.output.starts_with("{\"date\":")) << limit;
        else
            EXPECT_NE(result.errors, "") << limit;
    }
}

TEST_F(WidgetProgram, ShowsNoTimelineWithoutAnEntry) {
    const auto result = besideExtension(R"(greet
receive
answer {"timeline":{"policy":{"after":"2026-01-31T11:00:00.000Z"},"entries":[]}})",
                                        {"show"})
                            .run();
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors, "vela-widget: the extension's timeline has no entry\n");
}

TEST_F(WidgetProgram, PrintsJSONThatNoTerminalObeys) {
    const auto result =
        besideExtension("greet\nreceive\nanswer " + timeline(hostile) + uploadsFinished, {"timeline"}).run();
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_NE(result.output.find(std::string(R"("shopName":")") + hostile + '"'), std::string::npos)
        << result.output;
    const auto printed = platform::JSONSerialization::JSONObjectWithData(result.output);
    const auto sent = platform::JSONSerialization::JSONObjectWithData(timeline(hostile));
    for (const auto* pointer : {"/entries/0/packages/0/shopName", "/entries/0/packages/0/statusText"})
        EXPECT_EQ(printed.at_pointer(pointer), sent.at_pointer("/timeline" + std::string(pointer)));
}

TEST_F(WidgetProgram, ShowsATerminalNothingThatItWouldObey) {
    const auto text =
        onATerminal("greet\nprint \\e[2Jprinted\ncomplain \\e]0;title\\acomplained\nreceive\nanswer " +
                        timeline(hostile, R"(velaapp://order/\u001b\\\u0007\u009c\u007f)") + uploadsFinished,
                    "show");
    EXPECT_NE(text.find("[2Jprinted"), std::string::npos) << text;
    EXPECT_NE(text.find("]0;title complained"), std::string::npos) << text;
    EXPECT_NE(text.find("velaapp://order/%1B%5C%07%C2%9C%7F"), std::string::npos) << text;
    for (const std::string_view obeyed :
         {"\x1b[2J", "\x1b]0", "\a", "\x7f", "\u0080", "\u009b", "\u009c", "\u2028", "\u202e", "\u2066"})
        EXPECT_EQ(text.find(obeyed), std::string::npos) << text;
    // Of escapes there are the page's own: its colours, its links, and the spinner's.
    for (auto at = text.find('\x1b'); at != std::string::npos; at = text.find('\x1b', at + 1)) {
        const std::string_view rest = std::string_view(text).substr(at + 1);
        EXPECT_TRUE(rest.starts_with("[0m") || rest.starts_with("[1m") || rest.starts_with("[2m") ||
                    rest.starts_with("[94m") || rest.starts_with("[90m") || rest.starts_with("]8;;") ||
                    rest.starts_with("\\") || rest.starts_with("[2K"))
            << rest;
    }
}

TEST_F(WidgetProgram, DrawsOnATerminalNothingThatItWouldObey) {
    folder.write("entry.json", R"({"date":"2026-01-31T10:00:00.000Z","state":"noPackages"})");
    const auto drawn = [&](const std::string& drawing, const std::string& format) {
        return onATerminal("greet\nreceive\ndraw " + drawing,
                           "render --output - --entry " + path("entry.json") + " --format " + format);
    };
    EXPECT_EQ(drawn("{\"a\":\"\u009b2J\"}", "tree"), R"({"a":"\u009b2J"})");
    EXPECT_EQ(drawn("<svg>\u009b2J</svg>", "svg"), "<svg>&#x009b;2J</svg>");
    EXPECT_NE(drawn("no whole line", "text").find("no drawing of the format asked for"), std::string::npos);
    EXPECT_NE(drawn("\x89PNG\r\\n\x1a\\n", "png").find("a terminal cannot show a PNG file"),
              std::string::npos);
}

TEST_F(WidgetProgram, IsLeftByAnExtensionThatIsStoppedWhenItIsKilled) {
    for (const int signal : {SIGKILL, SIGTERM, SIGINT, SIGHUP}) {
        const auto note = "stopped by " + std::to_string(signal);
        // In a session of its own: nobody in that could continue what is stopped, whoever fosters orphans.
        auto run = besideExtension("greet\nreceive\nnote " + path(note) + "\nraise 19",
                                   {own().string(), "timeline"});
        run.program = "/usr/bin/setsid";
        BackgroundProgram host(run);
        const auto extension = noted(note);
        ASSERT_GT(extension, 0);
        host.sendSignal(signal);
        EXPECT_EQ(host.waitForEnd(), 128 + signal);
        EXPECT_TRUE(eventually([&] { return !isAlive(extension); })) << signal;
    }
}

TEST_F(WidgetProgram, GivesThePromptBackWhileTheExtensionStoresARenewedPair) {
    for (const std::string command : {"timeline", "show"}) {
        const auto begun = command + " begun";
        const auto stored = command + " stored";
        BackgroundProgram host(besideExtension("ignore 15\ngreet\nreceive\nnote " + path(begun) + "\nawait " +
                                                   path(command + " reply") +
                                                   "\nprint heard by nobody\nnote " + path(stored),
                                               {command}));
        const auto extension = noted(begun);
        host.sendSignal(SIGINT);
        EXPECT_EQ(host.waitForEnd(), 128 + SIGINT);
        folder.write(command + " reply", "");
        EXPECT_TRUE(eventually([&] { return fs::exists(path(stored)); }));
        EXPECT_TRUE(eventually([&] { return !isAlive(extension); }));
    }
}

TEST_F(WidgetProgram, KeepsNoReaderOfItsOutputWaitingForTheExtension) {
    // The shell goes on when the last writer of the pipe has gone.
    auto run =
        besideExtension("ignore 15\ngreet\nreceive\nnote " + path("begun") + "\nawait " + path("reply") +
                            "\nnote " + path("stored"),
                        {"-c",
                         "{ \"$0\" snapshot 2>&1 9>&1 & host=$!; while ! [ -s \"$1\" ]; do sleep 0.01; "
                         "done; kill $host; wait $host; } | cat; : > \"$2\"",
                         own().string(), path("begun"), path("reply")});
    run.program = "/bin/sh";
    EXPECT_EQ(run.run().status, 0);
    EXPECT_TRUE(eventually([&] { return fs::exists(path("stored")); }));
}

}  // namespace
}  // namespace host
