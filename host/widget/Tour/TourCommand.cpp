// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Tour/TourCommand.hpp"

#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/widget/Setup/SetupSnippet.hpp"
#include "platform/Files/Descriptor.hpp"
#include "platform/Files/Patience.hpp"
#include "platform/Files/Writing.hpp"
#include "platform/ProcessInfo/ChildProgram.hpp"
#include "platform/ProcessInfo/ProcessInfo.hpp"
#include "platform/Streams/Streams.hpp"

namespace host {

namespace {

using platform::ChildProgram;
using Variables = std::map<std::string, std::string>;

constexpr std::array tourEndings = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};
constexpr platform::Patience patienceWithSandbox = {.inAll = std::chrono::seconds(10),
                                                    .pause = std::chrono::milliseconds(20)};

/// A signal asked the tour to end: what it started goes first.
struct TourInterrupted {
    int signal;
};

class Guide {
  public:
    Guide() {
        ::sigemptyset(&watched_);
        for (const int signal : tourEndings) ::sigaddset(&watched_, signal);
        ::sigprocmask(SIG_BLOCK, &watched_, &before_);
        signals_ = platform::Descriptor(::signalfd(-1, &watched_, SFD_CLOEXEC));
    }
    ~Guide() { ::sigprocmask(SIG_SETMASK, &before_, nullptr); }
    Guide(const Guide&) = delete;
    Guide& operator=(const Guide&) = delete;

    void say(const std::string& text) const { platform::writeAll(STDOUT_FILENO, text + "\n"); }

    /// The answer; nothing at the end of the input.
    std::optional<std::string> ask(const std::string& question) const {
        platform::writeAll(STDOUT_FILENO, question + " ");
        std::string answer;
        for (char byte = 0; awaitOrThrow(STDIN_FILENO) && ::read(STDIN_FILENO, &byte, 1) == 1;) {
            if (byte == '\n') return answer;
            answer += byte;
        }
        say("");
        return std::nullopt;
    }

    /// Runs a program of ours in this terminal, to its end.
    int run(const char* program, const std::vector<std::string>& arguments,
            const Variables& variables = {}) const {
        ChildProgram child({.program = pathOf(program), .arguments = arguments, .variables = variables});
        awaitOrThrow(child.endDescriptor());
        return child.wait();
    }

    static std::string pathOf(const char* program) {
        return (platform::executablePath().parent_path() / program).string();
    }

  private:
    bool awaitOrThrow(int descriptor) const {
        std::array<pollfd, 2> awaited = {pollfd{.fd = descriptor, .events = POLLIN, .revents = 0},
                                         pollfd{.fd = signals_, .events = POLLIN, .revents = 0}};
        while (::poll(awaited.data(), awaited.size(), -1) < 0)
            if (errno != EINTR) return false;
        signalfd_siginfo info = {};
        if (awaited[1].revents != 0 && ::read(signals_, &info, sizeof info) == sizeof info)
            throw TourInterrupted{static_cast<int>(info.ssi_signo)};
        return awaited[0].revents != 0;
    }

    sigset_t watched_ = {};
    sigset_t before_ = {};
    platform::Descriptor signals_{-1};
};

/// A sample person with a server, a data folder and a runtime folder of her own, gone with the object.
class SamplePerson {
  public:
    SamplePerson() {
        std::string name = (std::filesystem::temp_directory_path() / "vela-tour-XXXXXX").string();
        if (!::mkdtemp(name.data())) throw std::runtime_error("there is no room for a sample person");
        folder_ = name;
        for (const char* part : {"data", "runtime"}) {
            std::filesystem::create_directory(folder_ / part);
            std::filesystem::permissions(folder_ / part, std::filesystem::perms::owner_all);
        }
        try {
            settle();
        } catch (...) {
            leave();
            throw;
        }
    }
    ~SamplePerson() { leave(); }
    SamplePerson(const SamplePerson&) = delete;
    SamplePerson& operator=(const SamplePerson&) = delete;

    const Variables& variables() const { return variables_; }

  private:
    void settle() {
        using Stream = ChildProgram::Stream;
        const auto ready = folder_ / "ready";
        const auto bundle = (folder_ / "bundle").string();
        const auto sandbox = Guide::pathOf("vela-sandbox");
        sandbox_.emplace(ChildProgram::Options{
            .program = sandbox,
            .arguments = {"--bundle", bundle, "--ready-file", ready.string(), "--stop-with-parent"},
            .input = Stream::discarded,
            .output = Stream::discarded,
            .errors = Stream::discarded,
            .isApart = true});
        std::string address;
        const bool isReady = patienceWithSandbox.suffices([&] {
            std::ifstream stream(ready);
            return static_cast<bool>(std::getline(stream, address));
        });
        if (!isReady) throw std::runtime_error("vela-sandbox does not start");
        variables_ = {{"XDG_DATA_HOME", (folder_ / "data").string()},
                      {"XDG_RUNTIME_DIR", (folder_ / "runtime").string()},
                      {"VELA_BUNDLE", bundle},
                      {"VELA_KEYCHAIN", "embedded"},
                      {"BASE_URL", address}};
        const auto pair = platform::outputOf({.program = sandbox, .arguments = {"--print-credentials"}}, 5);
        ChildProgram signIn({.program = Guide::pathOf("vela-companion"),
                             .arguments = {"sign-in"},
                             .variables = variables_,
                             .input = Stream::piped,
                             .isApart = true});
        signIn.give(pair.value_or(""));
        if (signIn.wait() != 0) throw std::runtime_error("the sample person cannot sign in");
    }
    void leave() {
        sandbox_.reset();
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }

    std::filesystem::path folder_;
    std::optional<ChildProgram> sandbox_;
    Variables variables_;
};

bool isSomebodySignedIn() {
    const auto status =
        platform::outputOf({.program = Guide::pathOf("vela-companion"), .arguments = {"status"}}, 10);
    return status.value_or("").find("signed in: yes\n") != std::string::npos;
}

void showPackages(const Guide& guide) {
    if (isSomebodySignedIn()) {
        guide.say("Somebody is signed in. This is what the widget has:");
        guide.run("vela-widget", {"show"});
        return;
    }
    guide.say(
        "Nobody is signed in.\n  1  sign in now\n  2  just look, at a sample person's parcels\n  3  go on");
    const auto answer = guide.ask("Which? [2]").value_or("3");
    if (answer == "1") {
        if (guide.run("vela-companion", {"sign-in"}) == 0) guide.run("vela-widget", {"show"});
    } else if (answer.empty() || answer == "2") {
        guide.say(
            "A server of this machine's own, and a person who does not exist; your own data is not touched.");
        const SamplePerson sample;
        guide.run("vela-widget", {"show"}, sample.variables());
        guide.say("The sample person and her server are gone again.");
    }
}

/// A surface's program is called as its setup is, but for these.
std::string programOf(const std::string& target) {
    if (target == "systemd") return "systemctl";
    return target == "genmon" ? "xfce4-panel" : target;
}

void showSurfaces(const Guide& guide) {
    const auto search = platform::environmentVariable("PATH").value_or("");
    std::string names;
    for (const auto& [name, target] : setupTargets)
        if (!foundInPath(search, programOf(name)).empty())
            names += std::string(names.empty() ? "" : ", ") + name;
    guide.say(names.empty() ? "None of the bars that are known is installed."
                            : "Installed here, and ready for the widget: " + names + ".");
    while (const auto answer = guide.ask("Show what to paste for which? [none]")) {
        if (answer->empty()) return;
        // It says itself what it does not know.
        guide.run("vela-widget", {"setup", *answer});
    }
}

constexpr const char* tourSteps =
    "vela-widget tour asks on a terminal. It would\n"
    "  1  look at what the widget needs        vela-widget doctor\n"
    "  2  offer to sign in, or a sample person vela-companion sign-in\n"
    "  3  show the packages                    vela-widget show\n"
    "  4  show what to paste for your surfaces vela-widget setup HOST\n";

void guideThrough(const Guide& guide) {
    guide.say("Vela's widget, in three steps. Ctrl-C ends it at any time and leaves nothing behind.");
    guide.say("\n1  What the widget needs\n");
    guide.run("vela-widget", {"doctor"});
    guide.say("\n2  Your parcels\n");
    showPackages(guide);
    guide.say("\n3  Where you see them\n");
    showSurfaces(guide);
    guide.say(
        "\nThat was all. vela-widget show --follow keeps a terminal current; vela-widget --help has the "
        "rest.");
}

}  // namespace

int runTour() {
    if (::isatty(STDIN_FILENO) != 1 || ::isatty(STDOUT_FILENO) != 1) {
        platform::writeAll(STDERR_FILENO, tourSteps);
        return 2;
    }
    int ending = 0;
    try {
        const Guide guide;
        guideThrough(guide);
    } catch (const TourInterrupted& interrupted) {
        ending = interrupted.signal;
    } catch (const std::exception& failure) {
        platform::printFailure("vela-widget", failure);
        return 1;
    }
    if (ending != 0) ::raise(ending);
    return ending == 0 ? 0 : 1;
}

}  // namespace host
