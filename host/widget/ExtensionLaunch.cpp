// SPDX-License-Identifier: Apache-2.0

#include "host/widget/ExtensionLaunch.hpp"

#include <fcntl.h>
#include <linux/close_range.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <string>

#include "platform/Files/Descriptor.hpp"

namespace host {

using platform::Descriptor;

namespace {

/// The descriptor at which the extension finds its socket.
constexpr int inheritedSocket = 3;
constexpr int startPatience = 1000;  // milliseconds

[[noreturn]] void failToStart(const std::filesystem::path& executable, int error) {
    throw ExtensionError("cannot start " + executable.string() + ": " + std::strerror(error));
}

/// What the child needs, made before there is one: it may call nothing that a signal handler may not.
struct Launch {
    char* const* arguments;
    int socket;
    int output;
    /// Takes the error where the program cannot be started, and is closed where it can.
    int report;
    pid_t host;
};

void resetSignals() {
    for (int signal = 1; signal < NSIG; ++signal) ::signal(signal, SIG_DFL);
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

[[noreturn]] void become(const Launch& launch) {
    // Keys such as Ctrl-C reach the terminal's own group only; and one that is stopped when its host dies is
    // woken by the system, as one of a group that nobody could continue any more.
    ::setpgid(0, 0);
    resetSignals();
    // Until it says what else becomes of it.
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (::getppid() != launch.host) ::_exit(0);
    const int report = ::fcntl(launch.report, F_DUPFD_CLOEXEC, inheritedSocket + 1);
    const int input = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    const bool isReady =
        report >= 0 && input >= 0 && ::dup2(input, STDIN_FILENO) >= 0 &&
        ::dup2(launch.output, STDOUT_FILENO) >= 0 && ::dup2(launch.output, STDERR_FILENO) >= 0 &&
        ::dup2(launch.socket, inheritedSocket) >= 0 && ::fcntl(inheritedSocket, F_SETFD, 0) >= 0;
    if (isReady) {
        // What this process has inherited itself, a pipe perhaps whose reader waits for its end.
        ::close_range(inheritedSocket + 1, UINT_MAX, CLOSE_RANGE_CLOEXEC);
        ::execv(launch.arguments[0], launch.arguments);
    }
    const int error = errno;
    [[maybe_unused]] const auto written = ::write(report >= 0 ? report : launch.report, &error, sizeof error);
    ::_exit(127);
}

/// Not vfork, nor what is built on it: the host would stand still for as long as the child is stopped.
pid_t forked(const Launch& launch) {
    sigset_t all;
    sigset_t previous;
    ::sigfillset(&all);
    // A handler of the host's is not to run in the child.
    ::pthread_sigmask(SIG_SETMASK, &all, &previous);
    const pid_t process = ::fork();
    if (process == 0) become(launch);
    const int error = errno;
    ::pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    errno = error;
    return process;
}

/// Why the program could not be started; 0 where it was, or where that is not to be learnt in time.
int startError(int report) {
    pollfd end = {.fd = report, .events = POLLIN, .revents = 0};
    int error = 0;
    if (::poll(&end, 1, startPatience) <= 0) return 0;
    return ::read(report, &error, sizeof error) == sizeof error ? error : 0;
}

}  // namespace

LaunchedExtension launchExtension(const std::filesystem::path& executable) {
    std::array<int, 2> ends;
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0)
        failToStart(executable, errno);
    Descriptor socket(ends[0]);
    const Descriptor theirSocket(ends[1]);
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) failToStart(executable, errno);
    Descriptor output(ends[0]);
    const Descriptor theirOutput(ends[1]);
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) failToStart(executable, errno);
    const Descriptor report(ends[0]);
    Descriptor theirReport(ends[1]);

    std::string program = executable.string();
    std::string option = "--host-socket=" + std::to_string(inheritedSocket);
    std::array<char*, 3> arguments = {program.data(), option.data(), nullptr};
    const pid_t process = forked({.arguments = arguments.data(),
                                  .socket = theirSocket,
                                  .output = theirOutput,
                                  .report = theirReport,
                                  .host = ::getpid()});
    if (process < 0) failToStart(executable, errno);
    theirReport = Descriptor(-1);
    if (const int error = startError(report); error != 0) {
        ::kill(process, SIGKILL);
        ::waitpid(process, nullptr, 0);
        failToStart(executable, error);
    }
    return {.process = process, .socket = socket.release(), .output = output.release()};
}

}  // namespace host
