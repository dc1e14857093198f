// SPDX-License-Identifier: Apache-2.0

#pragma once

// Work in a process of its own, for what one process cannot do to itself: be killed, run out of disk, lose
// its rights, start afresh.

#include <sys/types.h>

#include <functional>

namespace platform::testing {

class ChildProcess {
  public:
    /// Forks and runs `work`, whose result is the exit code; an exception is 125.
    explicit ChildProcess(const std::function<int()>& work);
    /// Kills what still runs.
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    void kill();
    /// The exit code, or minus the signal that ended it.
    int wait();

  private:
    pid_t id_;
};

/// The exit code of `work` in a child.
int runInChild(const std::function<int()>& work);

/// Whether VELA_LONG_TESTS=1 asks for thousands of rounds where some dozens are usual.
bool longTests();

/// `work` with the rights of nobody in particular, where this process may give up its own.
int runWithoutPrivileges(const std::function<int()>& work);

}  // namespace platform::testing
