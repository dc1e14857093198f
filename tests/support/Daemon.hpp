// SPDX-License-Identifier: Apache-2.0

#pragma once

// A program that serves a test.

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <string>
#include <vector>

namespace platform::testing {

// A process that is ended, by its id, with the object.
class Daemon {
  public:
    Daemon(std::vector<std::string> arguments, const std::string& input) {
        std::array<int, 2> standardInput = {};
        std::array<int, 2> standardOutput = {};
        if (::pipe(standardInput.data()) != 0 || ::pipe(standardOutput.data()) != 0) return;
        id_ = ::fork();
        if (id_ == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            ::dup2(standardInput[0], STDIN_FILENO);
            ::dup2(standardOutput[1], STDOUT_FILENO);
            for (const int end : {standardInput[0], standardInput[1], standardOutput[0], standardOutput[1]})
                ::close(end);
            std::vector<char*> pointers;
            for (std::string& argument : arguments) pointers.push_back(argument.data());
            pointers.push_back(nullptr);
            ::execvp(pointers[0], pointers.data());
            ::_exit(127);
        }
        ::close(standardInput[0]);
        ::close(standardOutput[1]);
        (void)!::write(standardInput[1], input.data(), input.size());
        ::close(standardInput[1]);
        output_ = standardOutput[0];
    }
    ~Daemon() {
        if (id_ > 0) {
            ::kill(id_, SIGKILL);
            ::waitpid(id_, nullptr, 0);
        }
        if (output_ >= 0) ::close(output_);
    }
    Daemon(const Daemon&) = delete;
    Daemon& operator=(const Daemon&) = delete;

    std::string firstLine() const {
        std::string line;
        for (char character = 0; ::read(output_, &character, 1) == 1 && character != '\n';) line += character;
        return line;
    }

  private:
    pid_t id_ = -1;
    int output_ = -1;
};

}  // namespace platform::testing
