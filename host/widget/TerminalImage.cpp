// SPDX-License-Identifier: Apache-2.0

#include "host/widget/TerminalImage.hpp"

#include <sys/ioctl.h>

namespace host {

TerminalGeometry TerminalGeometry::ofDescriptor(int descriptor) {
    winsize size = {};
    if (::ioctl(descriptor, TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0) return {};
    return {.columns = size.ws_col,
            .rows = size.ws_row,
            .pixelWidth = size.ws_xpixel,
            .pixelHeight = size.ws_ypixel};
}

std::string terminalImage(std::string_view png, const TerminalGeometry& geometry) {
    static const auto write = reinterpret_cast<decltype(&velaTerminalImage)>(
        platform::moduleFunction("vela-terminal-image.so", "velaTerminalImage"));
    return platform::moduleResult(write, png.data(), png.size(), &geometry);
}

}  // namespace host
