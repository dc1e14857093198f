// SPDX-License-Identifier: Apache-2.0

#pragma once

// Runs our own built programs as a person would: arguments, environment, standard input in; status, output
// and errors out. A program that outlives its limit is killed and fails the test.

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/Patience.hpp"

namespace platform::testing {

struct ProgramResult {
    /// The exit status, or 128 + the signal that ended it.
    int status = -1;
    std::string output;
    std::string errors;
    /// The largest resident size of the process, in bytes.
    long peakMemory = 0;
};

struct ProgramRun {
    /// The name of a program of ours, or an absolute path.
    std::string program;
    std::vector<std::string> arguments = {};
    /// The whole environment; PATH is added where it is missing.
    std::map<std::string, std::string> environment = {};
    std::string input = {};
    std::chrono::seconds limit = std::chrono::seconds(60);
    /// In a process group of its own, as a terminal starts a program: what it starts belongs to the group
    /// too.
    bool leadsGroup = false;

    ProgramResult run() const;
};

/// A program that goes on while the test does; killed at the end of its scope.
class BackgroundProgram {
  public:
    explicit BackgroundProgram(const ProgramRun& run);
    ~BackgroundProgram();
    BackgroundProgram(const BackgroundProgram&) = delete;
    BackgroundProgram& operator=(const BackgroundProgram&) = delete;

    pid_t processIdentifier() const { return process_; }
    void sendSignal(int signal) const;
    /// To it and to what it has started: it leads a group.
    void sendSignalToGroup(int signal) const;
    /// Waits for its end; nothing when it goes on for longer than `limit`.
    std::optional<int> waitForEnd(std::chrono::milliseconds limit = patience);

  private:
    pid_t process_;
};

/// The processes that a process has started from its first thread and not yet waited for.
std::vector<pid_t> childrenOf(pid_t process);

/// One that has ended and that nobody has waited for yet is not.
bool isAlive(pid_t process);

/// Where our programs were built.
std::filesystem::path programFolder();

/// Tests `condition` every few milliseconds until it holds or `limit` has passed.
template <typename Condition>
bool eventually(Condition condition, std::chrono::milliseconds limit = patience);

void sleepBriefly();

template <typename Condition>
bool eventually(Condition condition, std::chrono::milliseconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) return false;
        sleepBriefly();
    }
    return true;
}

}  // namespace platform::testing
