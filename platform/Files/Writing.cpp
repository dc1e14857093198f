// SPDX-License-Identifier: Apache-2.0

#include "platform/Files/Writing.hpp"

#include <unistd.h>

#include <cerrno>

namespace platform {

bool writeAll(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const auto written = ::write(descriptor, text.data(), text.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        text.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

}  // namespace platform
