// SPDX-License-Identifier: Apache-2.0

// The companion's command line: signs in and out, and keeps the defaults that the widget reads.

#include <unistd.h>

#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/companion/Companion.hpp"
#include "host/companion/Links.hpp"
#include "host/companion/SecretPrompt.hpp"
#include "host/companion/SignInWindow.hpp"
#include "platform/CommandLine/Command.hpp"
#include "platform/Files/PrivateFile.hpp"
#include "platform/Files/Writing.hpp"
#include "platform/Log/Logger.hpp"
#include "platform/Log/StandardError.hpp"
#include "platform/ProcessInfo/ProcessInfo.hpp"
#include "platform/ProcessInfo/WipedMemory.hpp"
#include "platform/Streams/LastResort.hpp"
#include "platform/Streams/Streams.hpp"

namespace {

constexpr std::size_t maximumInput = 256 << 10;

/// The keychain layer prints its failures on standard output; a person's results are to stand there alone. So
/// the process's standard output becomes standard error, and results go to what it was.
class ResultStream {
  public:
    ResultStream() : descriptor_(::dup(STDOUT_FILENO)) { ::dup2(STDERR_FILENO, STDOUT_FILENO); }
    void write(std::string_view text) const {
        if (!platform::writeAll(descriptor_, text))
            throw host::CompanionError("cannot write to standard output");
    }

  private:
    int descriptor_;
};

const ResultStream& results() {
    static const ResultStream stream;
    return stream;
}

std::string standardInput() {
    return platform::readAll({.descriptor = STDIN_FILENO, .name = "standard input"}, maximumInput);
}

void say(std::string_view text) {
    platform::writeLineToStandardError(std::string("vela-companion: ").append(text));
}

/// What a person is told on standard error. Log lines go there too, for who asks here does not look into the
/// journal, unless a fault that is told says the same.
class Complaints : public platform::LogSink {
  public:
    ~Complaints() override {
        for (const auto& line : lines_) say(line);
    }

    void write(platform::LogLevel, std::string_view, std::string_view, std::string_view message) override {
        lines_.emplace_back(message);
    }

    void fault(std::string_view text) {
        std::erase_if(lines_, [&](const auto& line) { return text.find(line) != std::string_view::npos; });
        lines_.emplace_back(text);
        hasFault_ = true;
    }
    /// For an answer that rests on what was read: where a line tells that it could not be, it is none.
    void takeLinesForFaults() { hasFault_ = hasFault_ || !lines_.empty(); }
    bool hasFault() const { return hasFault_; }

  private:
    std::vector<std::string> lines_;
    bool hasFault_ = false;
    Override inForce_{*this};
};

/// For an action that tells its faults and goes on.
template <typename Action>
void runTelling(Action action) {
    Complaints complaints;
    try {
        results();
        action(complaints);
    } catch (const std::exception& error) {
        complaints.fault(error.what());
    }
    if (complaints.hasFault()) throw platform::ExitStatus(1);
}

template <typename Action>
void run(Action action) {
    runTelling([&](Complaints&) { action(); });
}

/// Whether what is told here stands before somebody's eyes; a desktop's click comes without a terminal.
bool isSeen() {
    return ::isatty(STDIN_FILENO) == 1 || ::isatty(STDERR_FILENO) == 1;
}

template <typename Action>
void tellingDesktop(Action action) {
    try {
        action();
    } catch (const std::exception& error) {
        host::notifyDesktop(error.what());
        throw;
    }
}

struct Options {
    bool legacy = false;
    bool integer = false;
    bool printOnly = false;
    bool window = false;
    std::optional<std::string> file;
    std::optional<std::string> userId;
    std::string key;
    std::string value;
    std::string link;
};

host::Credentials askedCredentials() {
    host::SecretPrompt prompt;
    prompt.say("Sign in: paste the two tokens that your account gave you. What you type is not shown.");
    const std::string first = prompt.ask("Access token (or the whole JSON): ");
    if (first.starts_with('{')) return host::Credentials::fromJSON(first);
    return host::Credentials::fromTokens(first, prompt.ask("Refresh token: "));
}

host::Credentials credentials(const Options& options) {
    if (options.file)
        return host::Credentials::fromJSON(platform::readPrivateFile(*options.file, maximumInput));
    if (::isatty(STDIN_FILENO) == 1) return askedCredentials();
    return host::Credentials::fromJSON(standardInput());
}

void signIn(const Options& options) {
    const auto location = options.legacy ? host::TokenLocation::legacy : host::TokenLocation::current;
    host::signIn(credentials(options), location, options.userId, say);
    // A script reads no words of success.
    if (::isatty(STDERR_FILENO) == 1)
        say("you are signed in; the tokens are in " + host::keychainPlace() + ", and nowhere else");
}

void addSignIn(const platform::Command& app, Options& options) {
    const auto command = app.subcommand("sign-in", "Store a token pair: asks for it, or reads it");
    command.flag("--legacy", options.legacy, "Store it where older versions kept it");
    command.option("--user-id", options.userId, "The signed-in person's id");
    command
        .option("--file", options.file,
                "The file that holds the pair, in place of standard input; refused where others can read it")
        .named("PATH");
    command.flag("--window", options.window, "Ask in a window (of the package vela-widget-gtk)");
    command.footer(
        "On a terminal it asks, and hides what you type. Standard input otherwise, and the file:\n"
        "  {\"accessToken\": \"...\", \"refreshToken\": \"...\"}\n\n"
        "Example:\n  vela-sandbox --print-credentials | vela-companion sign-in --user-id 12345");
    command.action([&options] {
        if (options.window && (options.legacy || options.userId || options.file))
            platform::refuseArgument("--window", "asks for everything itself");
        run([&options] {
            if (options.window) host::showSignInWindow();
            signIn(options);
        });
    });
}

void addSignOut(const platform::Command& app) {
    const auto command = app.subcommand("sign-out", "Remove tokens, session and user id");
    command.footer("Example:\n  vela-companion sign-out");
    command.action([] { run([] { host::signOut(say); }); });
}

void addStatus(const platform::Command& app) {
    const auto command = app.subcommand("status", "Say what is stored; never prints a token");
    command.footer("Example:\n  vela-companion status");
    command.action([] {
        runTelling([](Complaints& complaints) {
            const auto status = host::signInStatus();
            results().write(status.lines);
            for (const auto& fault : status.faults) complaints.fault(fault);
            complaints.takeLinesForFaults();
        });
    });
}

void addDefaults(const platform::Command& app, Options& options) {
    const auto defaults = app.subcommand("defaults", "Read and write the shared defaults");
    defaults.requireSubcommand();
    defaults.footer("Example:\n  vela-companion defaults write PONTAL_URL http://127.0.0.1:8080");

    const auto read = defaults.subcommand("read", "Print a value; exits 1 when there is none");
    read.option("KEY", options.key, "The value's key").required();
    read.footer("Example:\n  vela-companion defaults read PONTAL_URL");
    read.action([&options] {
        run([&] {
            const auto text = host::defaultsText(options.key);
            if (!text) throw host::CompanionError("there is no value under " + options.key);
            results().write(*text + "\n");
        });
    });

    const auto write = defaults.subcommand("write", "Store a value");
    write.option("KEY", options.key, "The value's key").required();
    write.option("VALUE", options.value, "The value; one that begins with a dash follows --").required();
    write.flag("--integer", options.integer, "Store a number, not a text");
    write.footer(
        "Example:\n  vela-companion defaults write userId 12345\n"
        "  vela-companion defaults write --integer count -- -7");
    write.action([&options] {
        const auto value =
            options.integer ? host::integerValue(options.value) : boost::json::value(options.value);
        if (!value) platform::refuseArgument("VALUE", "is not a 64-bit integer");
        run([&] { host::writeDefaults(options.key, *value); });
    });

    const auto remove = defaults.subcommand("delete", "Remove a value");
    remove.option("KEY", options.key, "The value's key").required();
    remove.footer("Example:\n  vela-companion defaults delete PONTAL_URL");
    remove.action([&options] { run([&options] { host::deleteDefaults(options.key); }); });
}

void addOpen(const platform::Command& app, Options& options) {
    const auto command = app.subcommand("open", "Open a link of the widget's in the browser");
    command.option("URL", options.link, "The link").required();
    command.flag("--print", options.printOnly, "Print the page's address instead of opening it");
    command.footer("Example:\n  vela-companion open velaapp://order/1234");
    command.action([&options] {
        runTelling([&](Complaints&) {
            const auto opened = [&] {
                const auto link = host::Link::read(options.link);
                if (options.printOnly)
                    results().write(link.page.absoluteString() + "\n");
                else
                    host::openLink(link);
            };
            if (options.printOnly || isSeen())
                opened();
            else
                tellingDesktop(opened);
        });
    });
}

int runProgram(int count, const char* const* arguments) {
    platform::CommandLine app("vela-companion",
                              "The companion's part for the widget: signing in and out, and its settings.",
                              VELA_VERSION);
    app.requireSubcommand();
    app.footer("Example:\n  vela-sandbox --print-credentials | vela-companion sign-in");

    Options options;
    addSignIn(app, options);
    addSignOut(app);
    addStatus(app);
    addDefaults(app, options);
    addOpen(app, options);
    return app.run(count, arguments, "sign-in");
}

}  // namespace

int main(int count, char** arguments) {
    platform::forbidCoreFiles();
    platform::wipeFreedMemory();
    return platform::statusOf("vela-companion", [&] { return runProgram(count, arguments); });
}
