// SPDX-License-Identifier: Apache-2.0

#include "platform/ProcessInfo/ChildProgram.hpp"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string_view>
#include <system_error>

#include "platform/Files/Writing.hpp"
#include "platform/ProcessInfo/Spawning.hpp"
#include "platform/Streams/Streams.hpp"

namespace platform {

namespace {

constexpr int patienceWithEnd = 3000;
constexpr std::size_t longestOutput = 64 << 10;

/// Both ends of a stream, or what stands in its place.
class ChildStream {
  public:
    ChildStream(ChildProgram::Stream kind, int number) : number_(number) {
        if (kind == ChildProgram::Stream::discarded) {
            theirs_ = Descriptor(::open("/dev/null", O_RDWR | O_CLOEXEC));
            if (!theirs_.isOpen()) fail();
        }
        if (kind == ChildProgram::Stream::piped) {
            std::array<int, 2> ends = {};
            if (::pipe2(ends.data(), O_CLOEXEC) != 0) fail();
            const bool isInput = number == STDIN_FILENO;
            theirs_ = Descriptor(isInput ? ends[0] : ends[1]);
            ours_ = Descriptor(isInput ? ends[1] : ends[0]);
        }
    }
    void addTo(posix_spawn_file_actions_t& actions) const {
        if (theirs_.isOpen()) ::posix_spawn_file_actions_adddup2(&actions, theirs_, number_);
    }
    Descriptor takeOurs() { return std::move(ours_); }

  private:
    [[noreturn]] static void fail() {
        throw std::system_error(errno, std::generic_category(), "cannot start a program");
    }

    int number_;
    Descriptor theirs_{-1};
    Descriptor ours_{-1};
};

bool isReadable(int descriptor, int milliseconds) {
    pollfd awaited = {.fd = descriptor, .events = POLLIN, .revents = 0};
    return ::poll(&awaited, 1, milliseconds) > 0;
}

}  // namespace

ChildProgram::ChildProgram(const Options& options) {
    ChildStream input(options.input, STDIN_FILENO);
    ChildStream output(options.output, STDOUT_FILENO);
    ChildStream errors(options.errors, STDERR_FILENO);
    Spawning spawning(options.isApart ? POSIX_SPAWN_SETPGROUP : 0);
    for (const auto* stream : {&input, &output, &errors}) stream->addTo(spawning.actions);
    std::vector<std::string> words = {options.program};
    words.insert(words.end(), options.arguments.begin(), options.arguments.end());
    process_ = spawning.start(options.program, std::move(words), options.variables);
    // Not in every C library.
    ended_ = Descriptor(static_cast<int>(::syscall(SYS_pidfd_open, process_, 0)));
    input_ = input.takeOurs();
    output_ = output.takeOurs();
    errors_ = errors.takeOurs();
}

ChildProgram::~ChildProgram() {
    if (status_) return;
    sendSignal(SIGTERM);
    sendSignal(SIGCONT);
    if (!ended_.isOpen() || !isReadable(ended_, patienceWithEnd)) sendSignal(SIGKILL);
    wait();
}

void ChildProgram::give(std::string_view text) {
    // Where it stops reading, it says itself why.
    sigset_t pipe;
    sigset_t before;
    ::sigemptyset(&pipe);
    ::sigaddset(&pipe, SIGPIPE);
    ::pthread_sigmask(SIG_BLOCK, &pipe, &before);
    const bool isGiven = writeAll(input_, text);
    const timespec atOnce = {};
    if (!isGiven && ::sigismember(&before, SIGPIPE) == 0) ::sigtimedwait(&pipe, nullptr, &atOnce);
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    input_ = Descriptor(-1);
}

void ChildProgram::sendSignal(int signal) const {
    if (!status_) ::kill(process_, signal);
}

int ChildProgram::wait() {
    if (status_) return *status_;
    int status = 0;
    while (::waitpid(process_, &status, 0) < 0)
        if (errno != EINTR) {
            status_ = 1;
            return *status_;
        }
    status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return *status_;
}

std::optional<std::string> outputOf(ChildProgram::Options options, int seconds) {
    options.input = ChildProgram::Stream::discarded;
    options.output = ChildProgram::Stream::piped;
    options.errors = ChildProgram::Stream::discarded;
    try {
        ChildProgram program(options);
        auto text = readAll({.descriptor = program.output(), .name = options.program}, longestOutput,
                            Deadline(std::chrono::seconds(seconds)));
        if (program.wait() != 0) return std::nullopt;
        return text;
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

}  // namespace platform
