// SPDX-License-Identifier: Apache-2.0

#include "platform/Files/Reading.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

namespace platform {

std::optional<std::string> readUpTo(int descriptor, std::size_t limit) {
    std::string text;
    struct stat found = {};
    if (::fstat(descriptor, &found) == 0 && found.st_size > 0)
        text.reserve(std::min(static_cast<std::size_t>(found.st_size), limit));
    std::array<char, std::size_t{64} << 10> part;
    while (text.size() <= limit) {
        const ssize_t count = ::read(descriptor, part.data(), part.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return std::nullopt;
        if (count == 0) break;
        text.append(part.data(), static_cast<std::size_t>(count));
    }
    return text;
}

}  // namespace platform
