// SPDX-License-Identifier: Apache-2.0

#pragma once

// Talks with a person in her terminal, and runs programs there. A signal that is to end the process becomes
// TourInterrupted while one is there, so that all that was started goes first. For one thread, one at a time.

#include <signal.h>

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/Files/Descriptor.hpp"

namespace host {

using ProgramVariables = std::map<std::string, std::string>;

/// A signal asked the tour to end: what it started goes first.
struct TourInterrupted {
    int signal;
};

enum class TourManner {
    /// Asks before each step.
    asking,
    /// For scripts: asks nothing, changes nothing, and says what it would have offered.
    byItself
};

class Guide {
  public:
    explicit Guide(TourManner manner);
    ~Guide();
    Guide(const Guide&) = delete;
    Guide& operator=(const Guide&) = delete;

    bool asks() const { return manner_ == TourManner::asking; }
    /// Sentences, as wide as the terminal. Throws std::exception where they cannot be written.
    void say(const std::string& text) const;
    /// The same of lines that are to be pasted: they stay as they are.
    void show(const std::string& text) const;
    /// The answer without blanks at its ends; nothing at the end of the input. Asks again after the job was
    /// stopped. Only for a guide that asks.
    std::optional<std::string> ask(const std::string& question) const;
    /// Whether the person says so; she has to.
    bool agrees(const std::string& question) const;

    /// Runs a program in this terminal, to its end; a name without a slash is looked for in PATH. Its status,
    /// or 127 where it cannot be started.
    int run(const std::string& program, const std::vector<std::string>& arguments,
            const ProgramVariables& variables = {}) const;
    /// Throws TourInterrupted where a signal has come.
    void lookForSignals() const;

  private:
    bool wasContinued() const;
    bool awaitOrThrow(
        int descriptor, const std::function<void()>& onContinued = [] {}) const;

    TourManner manner_;
    sigset_t watched_ = {};
    sigset_t before_ = {};
    platform::Descriptor signals_{-1};
};

/// Where a program of ours lies.
std::string ownProgram(const char* name);

}  // namespace host
