// SPDX-License-Identifier: Apache-2.0

#pragma once

// Bounded reads, for our programs' standard streams and files, and what they say of failures.

#include <cstddef>
#include <exception>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "platform/Streams/Deadline.hpp"

namespace platform {

/// Takes the places of standard streams that a program was started without, so that nothing it opens later
/// is read or written in their stead. Such a stream still fails, as a closed one does. To be called first.
void holdStandardStreams();

/// Holds more than it may, or has not ended in time.
class InputError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// What is to be read, and what a person knows it as.
struct Input {
    int descriptor;
    std::string name;
};

/// Everything up to the input's end, `limit` bytes at most. Throws InputError, or std::system_error where it
/// cannot be read. Without a deadline it waits for as long as whoever writes.
std::string readAll(const Input& input, std::size_t limit,
                    const std::optional<Deadline>& deadline = std::nullopt);

/// The same of a file. A pipe that nobody writes to is waited for until the deadline.
std::string readFile(const std::string& path, std::size_t limit, const Deadline& deadline);

/// "PROGRAM: MESSAGE" on standard error. Needs no memory.
void printError(std::string_view program, std::string_view message) noexcept;

/// The same for what an exception says.
void printFailure(std::string_view program, const std::exception& failure) noexcept;

}  // namespace platform
