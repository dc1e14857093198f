// SPDX-License-Identifier: Apache-2.0

#include "platform/Log/StandardError.hpp"

#include <unistd.h>

#include <cerrno>
#include <string>

namespace platform {

void writeLineToStandardError(std::string_view text) {
    constexpr std::string_view hexDigits = "0123456789abcdef";
    std::string line;
    line.reserve(text.size() + 1);
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x20 && byte != 0x7F) {
            line += c;
        } else {
            line.append("\\x");
            line += hexDigits[byte >> 4];
            line += hexDigits[byte & 0xF];
        }
    }
    line += '\n';
    for (std::string_view rest = line; !rest.empty();) {
        const auto written = write(STDERR_FILENO, rest.data(), rest.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return;
        rest.remove_prefix(static_cast<std::size_t>(written));
    }
}

}  // namespace platform
