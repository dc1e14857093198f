// SPDX-License-Identifier: Apache-2.0

#pragma once

// A program that this process starts and waits for, never by way of a shell. It gets no descriptors but the
// standard streams, no signal blocked and none ignored. For one thread at a time.

#include <sys/types.h>

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/Files/Descriptor.hpp"

namespace platform {

class ChildProgram {
  public:
    enum class Stream { inherited, discarded, piped };

    struct Options {
        /// A path; a name without a slash is looked for in PATH.
        std::string program;
        /// Without the program's own name.
        std::vector<std::string> arguments = {};
        /// Beside this process's environment, in place of what has their names.
        std::map<std::string, std::string> variables = {};
        Stream input = Stream::inherited;
        Stream output = Stream::inherited;
        Stream errors = Stream::inherited;
        /// In a process group of its own: a terminal's signals do not reach it.
        bool isApart = false;
    };

    /// Throws std::system_error where it cannot be started.
    explicit ChildProgram(const Options& options);
    /// One that still runs is asked to end, and ended after three seconds.
    ~ChildProgram();
    ChildProgram(const ChildProgram&) = delete;
    ChildProgram& operator=(const ChildProgram&) = delete;

    /// Becomes readable when it ends.
    const Descriptor& endDescriptor() const { return ended_; }
    /// Piped streams, to be read up to its end; not open where they are not piped.
    const Descriptor& output() const { return output_; }
    const Descriptor& errors() const { return errors_; }
    /// Writes `text` to the piped input, whole as far as it reads it, and closes that.
    void give(std::string_view text);
    void sendSignal(int signal) const;

    /// The exit status, or 128 + the signal that ended it. Blocks.
    int wait();

  private:
    pid_t process_ = 0;
    std::optional<int> status_;
    Descriptor ended_{-1};
    Descriptor input_{-1};
    Descriptor output_{-1};
    Descriptor errors_{-1};
};

/// What it prints, 64 KiB at most, in `seconds` at most; nothing where it cannot be started, prints more,
/// takes longer, or ends with another status than 0. Its errors are discarded.
std::optional<std::string> outputOf(ChildProgram::Options options, int seconds);

}  // namespace platform
