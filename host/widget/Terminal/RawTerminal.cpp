// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Terminal/RawTerminal.hpp"

#include <signal.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <exception>
#include <system_error>

#include "host/widget/TerminalStyle.hpp"
#include "platform/Files/Writing.hpp"

namespace host {

namespace {

// Private modes of xterm, which all terminals of today share: 1049 alternate screen, 25 cursor, 7 wrapping.
constexpr std::string_view takeScreen = "\x1b[?1049h\x1b[?25l\x1b[?7l\x1b[H\x1b[2J";
constexpr std::string_view returnScreen = "\x1b[0m\x1b[?7h\x1b[?25h\x1b[?1049l";

/// All that end a process and of which it can still do something.
constexpr std::array endings = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGABRT, SIGSEGV,
                                SIGBUS, SIGFPE,  SIGILL, SIGSYS,  SIGXCPU};

/// Of the process's one terminal; read by signal handlers.
struct Taken {
    volatile sig_atomic_t isTaken = 0;
    termios before = {};
    std::array<struct sigaction, endings.size()> actions = {};
    std::terminate_handler terminate = nullptr;
};
Taken taken;

/// Calls nothing that a signal handler may not.
void giveBack() noexcept {
    if (taken.isTaken == 0) return;
    taken.isTaken = 0;
    [[maybe_unused]] const auto written = ::write(STDOUT_FILENO, returnScreen.data(), returnScreen.size());
    ::tcsetattr(STDIN_FILENO, TCSANOW, &taken.before);
}

void endBySignal(int signal) {
    const int error = errno;
    giveBack();
    for (std::size_t index = 0; index < endings.size(); ++index)
        if (endings[index] == signal) ::sigaction(signal, &taken.actions[index], nullptr);
    // Comes once this handler has returned.
    ::raise(signal);
    errno = error;
}

[[noreturn]] void endByException() {
    giveBack();
    taken.terminate();
    std::abort();
}

void watchEndings() {
    struct sigaction action = {};
    action.sa_handler = endBySignal;
    ::sigemptyset(&action.sa_mask);
    for (std::size_t index = 0; index < endings.size(); ++index) {
        ::sigaction(endings[index], nullptr, &taken.actions[index]);
        // As `nohup` has it.
        if (taken.actions[index].sa_handler != SIG_IGN) ::sigaction(endings[index], &action, nullptr);
    }
    taken.terminate = std::set_terminate(endByException);
}

void leaveEndings() {
    for (std::size_t index = 0; index < endings.size(); ++index)
        ::sigaction(endings[index], &taken.actions[index], nullptr);
    std::set_terminate(taken.terminate);
}

}  // namespace

bool RawTerminal::isAvailable() {
    return isCapableTerminal(STDIN_FILENO) && isCapableTerminal(STDOUT_FILENO);
}

RawTerminal::RawTerminal() {
    if (::tcgetattr(STDIN_FILENO, &taken.before) != 0)
        throw std::system_error(errno, std::generic_category(), "cannot use the terminal");
    watchEndings();
    enter();
}

RawTerminal::~RawTerminal() {
    giveBack();
    leaveEndings();
}

void RawTerminal::leave() {
    giveBack();
}

void RawTerminal::enter() {
    auto modes = taken.before;
    // Keys that send signals go on doing so.
    modes.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO | IEXTEN);
    modes.c_iflag &= ~static_cast<tcflag_t>(IXON);
    modes.c_cc[VMIN] = 1;
    modes.c_cc[VTIME] = 0;
    taken.isTaken = 1;
    ::tcsetattr(STDIN_FILENO, TCSADRAIN, &modes);
    write(takeScreen);
}

RawTerminal::Size RawTerminal::size() const {
    winsize size = {};
    const bool isKnown = ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_row > 0 && size.ws_col > 0;
    return isKnown ? Size{.rows = size.ws_row, .columns = size.ws_col} : Size{.rows = 24, .columns = 80};
}

bool RawTerminal::write(std::string_view text) const {
    return platform::writeAll(STDOUT_FILENO, text);
}

}  // namespace host
