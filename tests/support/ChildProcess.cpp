// SPDX-License-Identifier: Apache-2.0

#include "tests/support/ChildProcess.hpp"

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string_view>

namespace platform::testing {

ChildProcess::ChildProcess(const std::function<int()>& work) : id_(::fork()) {
    if (id_ < 0) throw std::runtime_error("no child process can be made");
    if (id_ > 0) return;
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    int code = 125;
    try {
        code = work();
    } catch (const std::exception& error) {
        std::cerr << error.what() << std::endl;
    }
    std::cout.flush();
    ::_exit(code);
}

ChildProcess::~ChildProcess() {
    if (id_ <= 0) return;
    kill();
    wait();
}

void ChildProcess::kill() {
    ::kill(id_, SIGKILL);
}

int ChildProcess::wait() {
    int status = 0;
    while (::waitpid(id_, &status, 0) < 0 && errno == EINTR) {
    }
    id_ = 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

int runInChild(const std::function<int()>& work) {
    return ChildProcess(work).wait();
}

bool longTests() {
    const char* wish = std::getenv("VELA_LONG_TESTS");
    return wish && std::string_view(wish) == "1";
}

int runWithoutPrivileges(const std::function<int()>& work) {
    constexpr uid_t nobody = 65534;
    return runInChild([&work] {
        if (::geteuid() == 0 && ::setresuid(nobody, nobody, nobody) != 0) return 124;
        return work();
    });
}

}  // namespace platform::testing
