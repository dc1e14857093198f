// SPDX-License-Identifier: Apache-2.0

#pragma once

// A program of ours in a terminal of its own, as a person at it sees and uses it.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/Program.hpp"

namespace host {

class PseudoTerminal {
  public:
    PseudoTerminal() : controller_(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
        ::grantpt(controller_);
        ::unlockpt(controller_);
        // Kept open, so that what the program leaves can be seen.
        terminal_ = ::open(::ptsname(controller_), O_RDWR | O_NOCTTY | O_CLOEXEC);
        resize(24, 80);
        ::tcgetattr(terminal_, &before_);
    }
    ~PseudoTerminal() {
        if (process_ > 0) {
            ::kill(process_, SIGKILL);
            ::waitpid(process_, nullptr, 0);
        }
        ::close(terminal_);
        ::close(controller_);
    }
    PseudoTerminal(const PseudoTerminal&) = delete;
    PseudoTerminal& operator=(const PseudoTerminal&) = delete;

    void start(std::vector<std::string> words, const std::map<std::string, std::string>& environment) {
        words[0] = (platform::testing::programFolder() / words[0]).string();
        std::vector<std::string> variables;
        for (const auto& [name, value] : environment) variables.push_back(name + "=" + value);
        const auto arguments = pointers(words);
        const auto values = pointers(variables);
        process_ = ::fork();
        if (process_ != 0) return;
        ::setsid();
        ::ioctl(terminal_, TIOCSCTTY, 0);
        for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) ::dup2(terminal_, stream);
        ::execve(arguments[0], arguments.data(), values.data());
        ::_exit(127);
    }

    void type(const std::string& keys) const {
        EXPECT_EQ(::write(controller_, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
    }
    /// The system tells the program.
    void resize(unsigned short rows, unsigned short columns) const {
        const winsize size = {.ws_row = rows, .ws_col = columns, .ws_xpixel = 0, .ws_ypixel = 0};
        ::ioctl(controller_, TIOCSWINSZ, &size);
    }
    void sendSignal(int signal) const { ::kill(process_, signal); }
    pid_t processIdentifier() const { return process_; }

    /// Waits until it has shown `words` since the last `forget`, after `others` where there are some.
    bool shows(const std::string& words, const std::string& others = {}) {
        return platform::testing::eventually([&] {
            read();
            const auto from = shown_.find(others);
            return from != std::string::npos && shown_.find(words, from) != std::string::npos;
        });
    }
    const std::string& shown() const { return shown_; }
    void forget() {
        read();
        shown_.clear();
    }

    /// The exit status, or 128 + the signal that ended it.
    std::optional<int> end() {
        int status = 0;
        const bool hasEnded = platform::testing::eventually([&] {
            read();
            return ::waitpid(process_, &status, WNOHANG) == process_;
        });
        if (!hasEnded) return std::nullopt;
        process_ = -1;
        read();
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

    /// Whether it behaves as before the program was started.
    bool isAsBefore() const {
        termios now = {};
        ::tcgetattr(terminal_, &now);
        return now.c_iflag == before_.c_iflag && now.c_oflag == before_.c_oflag &&
               now.c_lflag == before_.c_lflag && std::memcmp(now.c_cc, before_.c_cc, sizeof now.c_cc) == 0;
    }

    /// Bytes that were typed and that nobody has read.
    int waitingInput() const {
        int count = 0;
        termios modes = before_;
        modes.c_lflag &= ~static_cast<tcflag_t>(ICANON);
        ::tcsetattr(terminal_, TCSANOW, &modes);
        ::ioctl(terminal_, FIONREAD, &count);
        ::tcsetattr(terminal_, TCSANOW, &before_);
        return count;
    }

  private:
    static std::vector<char*> pointers(std::vector<std::string>& texts) {
        std::vector<char*> result;
        for (auto& text : texts) result.push_back(text.data());
        result.push_back(nullptr);
        return result;
    }

    void read() {
        pollfd ready = {.fd = controller_, .events = POLLIN, .revents = 0};
        std::array<char, 4096> bytes;
        while (::poll(&ready, 1, 0) > 0 && (ready.revents & POLLIN) != 0) {
            const auto length = ::read(controller_, bytes.data(), bytes.size());
            if (length <= 0) return;
            shown_.append(bytes.data(), static_cast<std::size_t>(length));
        }
    }

    int controller_;
    int terminal_;
    termios before_ = {};
    pid_t process_ = -1;
    std::string shown_;
};

}  // namespace host
