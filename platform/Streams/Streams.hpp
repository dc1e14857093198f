#pragma once

// Bounded reads, for our programs' standard streams and files, and what they say of failures.

#include <cstddef>
#include <exception>
#include <istream>
#include <optional>
#include <string>
#include <string_view>

namespace platform {

/// Takes the places of standard streams that a program was started without, so that nothing it opens later
/// is read or written in their stead. Such a stream still fails, as a closed one does. To be called first.
void holdStandardStreams();

/// Everything up to the stream's end; nothing for more than `limit` bytes.
std::optional<std::string> readAll(std::istream& stream, std::size_t limit);

/// "PROGRAM: MESSAGE" on standard error. Needs no memory.
void printError(std::string_view program, std::string_view message) noexcept;

/// The same for what an exception says.
void printFailure(std::string_view program, const std::exception& failure) noexcept;

}  // namespace platform
