// SPDX-License-Identifier: Apache-2.0

#pragma once

// Where an exception meets what may not throw, a program of ours ends with a line and status 1, not with a
// signal: also what is constructed before `main`, and for want of memory. For the file of a program's `main`.

#include <errno.h>
#include <unistd.h>

#include <exception>

#include "platform/Streams/Streams.hpp"

namespace platform {

[[noreturn]] inline void endWithALine() {
    printError(program_invocation_short_name, "it cannot go on, perhaps for lack of memory");
    ::_exit(1);
}

/// Ahead of whatever is constructed before `main`, by the lowest priority that is a program's to choose.
__attribute__((constructor(101))) inline void endWithALineFromTheStart() {
    std::set_terminate(endWithALine);
}

/// What `run` gives; 1, and a line, for what it throws.
template <typename Run>
int statusOf(const char* program, Run run) {
    try {
        return run();
    } catch (const std::exception& failure) {
        printFailure(program, failure);
        return 1;
    }
}

}  // namespace platform
