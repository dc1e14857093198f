// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Tour/Guide.hpp"

#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>

#include "host/widget/OneShotHost.hpp"
#include "host/widget/TerminalStyle.hpp"
#include "platform/Files/Writing.hpp"
#include "platform/ProcessInfo/ChildProgram.hpp"
#include "platform/ProcessInfo/SiblingProgram.hpp"
#include "platform/Streams/Streams.hpp"
#include "platform/Text/ASCII.hpp"

namespace host {

namespace {

constexpr std::array tourEndings = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};
constexpr int notStarted = 127;

}  // namespace

Guide::Guide(TourManner manner) : manner_(manner) {
    ::sigemptyset(&watched_);
    for (const int signal : tourEndings) ::sigaddset(&watched_, signal);
    ::sigaddset(&watched_, SIGCONT);
    ::sigprocmask(SIG_BLOCK, &watched_, &before_);
    signals_ = platform::Descriptor(::signalfd(-1, &watched_, SFD_CLOEXEC | SFD_NONBLOCK));
}

Guide::~Guide() {
    ::sigprocmask(SIG_SETMASK, &before_, nullptr);
}

void Guide::say(const std::string& text) const {
    show(wrappedForTerminal(text, STDOUT_FILENO));
}

void Guide::show(const std::string& text) const {
    writeToStandardOutput(text + "\n");
}

std::optional<std::string> Guide::ask(const std::string& question) const {
    const auto put = [&] {
        platform::writeAll(STDOUT_FILENO, wrappedForTerminal(question, STDOUT_FILENO) + " ");
    };
    lookForSignals();
    put();
    std::string answer;
    // Who comes back to a job that was stopped sees the shell's words last, and what was typed is gone.
    for (char byte = 0; awaitOrThrow(STDIN_FILENO, put) && ::read(STDIN_FILENO, &byte, 1) == 1;) {
        if (byte == '\n') return std::string(platform::trimmed(answer));
        answer += byte;
    }
    say("");
    return std::nullopt;
}

bool Guide::agrees(const std::string& question) const {
    const auto answer = ask(question + " [y/N]").value_or("");
    return answer == "y" || answer == "Y" || answer == "yes";
}

int Guide::run(const std::string& program, const std::vector<std::string>& arguments,
               const ProgramVariables& variables) const {
    try {
        using Stream = platform::ChildProgram::Stream;
        platform::ChildProgram child({.program = program,
                                      .arguments = arguments,
                                      .variables = variables,
                                      .input = asks() ? Stream::inherited : Stream::discarded});
        awaitOrThrow(child.endDescriptor());
        return child.wait();
    } catch (const std::system_error& error) {
        say(program + " cannot be started: " + error.code().message());
        return notStarted;
    }
}

void Guide::lookForSignals() const {
    wasContinued();
}

/// Throws for any other signal that has come.
bool Guide::wasContinued() const {
    bool isContinued = false;
    signalfd_siginfo info = {};
    while (::read(signals_, &info, sizeof info) == sizeof info) {
        if (info.ssi_signo != SIGCONT) throw TourInterrupted{static_cast<int>(info.ssi_signo)};
        isContinued = true;
    }
    return isContinued;
}

bool Guide::awaitOrThrow(int descriptor, const std::function<void()>& onContinued) const {
    std::array<pollfd, 2> awaited = {pollfd{.fd = descriptor, .events = POLLIN, .revents = 0},
                                     pollfd{.fd = signals_, .events = POLLIN, .revents = 0}};
    while (true) {
        if (::poll(awaited.data(), awaited.size(), -1) < 0 && errno != EINTR) return false;
        if (wasContinued()) onContinued();
        if (awaited[0].revents != 0) return true;
        awaited[0].revents = awaited[1].revents = 0;
    }
}

std::string ownProgram(const char* name) {
    return platform::siblingProgramPath(name).string();
}

}  // namespace host
