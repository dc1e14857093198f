#pragma once

// Whole writes and bounded reads, for our programs' standard streams and files.

#include <cstddef>
#include <istream>
#include <optional>
#include <string>
#include <string_view>

namespace host {

/// False, with errno set, when the descriptor did not take all of `text`.
bool writeAll(int descriptor, std::string_view text);

/// Everything up to the stream's end; nothing for more than `limit` bytes.
std::optional<std::string> readAll(std::istream& stream, std::size_t limit);

}  // namespace host
