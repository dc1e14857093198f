// SPDX-License-Identifier: Apache-2.0

#include "host/widget/TerminalImage.hpp"

#include <sys/ioctl.h>

namespace host {

namespace {

/// No font on any screen has cells beyond these pixels. Whoever claims more would be sent, and this process
/// would have to hold, gigabytes.
constexpr int widestCell = 64;
constexpr int highestCell = 128;

}  // namespace

TerminalGeometry TerminalGeometry::ofDescriptor(int descriptor) {
    winsize size = {};
    if (::ioctl(descriptor, TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0) return {};
    TerminalGeometry geometry = {.columns = size.ws_col, .rows = size.ws_row};
    if (size.ws_xpixel > size.ws_col * widestCell || size.ws_ypixel > size.ws_row * highestCell)
        return geometry;
    geometry.pixelWidth = size.ws_xpixel;
    geometry.pixelHeight = size.ws_ypixel;
    return geometry;
}

std::string terminalImage(std::string_view png, const TerminalGeometry& geometry) {
    static const auto write = reinterpret_cast<decltype(&velaTerminalImage)>(
        platform::moduleFunction("vela-terminal-image.so", "velaTerminalImage"));
    return platform::moduleResult(write, png.data(), png.size(), &geometry);
}

}  // namespace host
