// SPDX-License-Identifier: Apache-2.0

#include "host/widget/TerminalImage.hpp"

#include <gtest/gtest.h>
#include <pty.h>

#include "platform/Files/Descriptor.hpp"

namespace host {
namespace {

using platform::Descriptor;

/// What is read from a terminal that gives these measures of itself.
TerminalGeometry geometryOf(winsize size) {
    int host = -1;
    int terminal = -1;
    if (::openpty(&host, &terminal, nullptr, nullptr, &size) != 0) ADD_FAILURE() << "no terminal";
    const Descriptor hostEnd(host);
    const Descriptor terminalEnd(terminal);
    return TerminalGeometry::ofDescriptor(terminalEnd);
}

winsize measures(unsigned short rows, unsigned short columns, unsigned short width, unsigned short height) {
    return {.ws_row = rows, .ws_col = columns, .ws_xpixel = width, .ws_ypixel = height};
}

TEST(TerminalGeometry, IsWhatTheTerminalTells) {
    const auto geometry = geometryOf(measures(50, 100, 1000, 2000));
    EXPECT_EQ(geometry.columns, 100);
    EXPECT_EQ(geometry.rows, 50);
    EXPECT_EQ(geometry.pixelWidth, 1000);
    EXPECT_EQ(geometry.pixelHeight, 2000);
}

TEST(TerminalGeometry, IsTheUsualOneWithoutRowsOrColumns) {
    const auto geometry = geometryOf(measures(0, 0, 1000, 2000));
    EXPECT_EQ(geometry.columns, 80);
    EXPECT_EQ(geometry.rows, 24);
    EXPECT_EQ(geometry.pixelWidth, 0);
}

TEST(TerminalGeometry, HasTheLargestCellsThatAreBelieved) {
    const auto geometry = geometryOf(measures(10, 20, 20 * 64, 10 * 128));
    EXPECT_EQ(geometry.pixelWidth, 20 * 64);
    EXPECT_EQ(geometry.pixelHeight, 10 * 128);
}

TEST(TerminalGeometry, HasNoPixelsWhereCellsWouldBeLargerThanAnyFonts) {
    for (const auto& size : {measures(24, 80, 65535, 480), measures(24, 80, 800, 65535),
                             measures(1, 1, 65535, 65535), measures(24, 80, 80 * 64 + 1, 480)}) {
        const auto geometry = geometryOf(size);
        EXPECT_EQ(geometry.columns, size.ws_col);
        EXPECT_EQ(geometry.rows, size.ws_row);
        EXPECT_EQ(geometry.pixelWidth, 0);
        EXPECT_EQ(geometry.pixelHeight, 0);
    }
}

}  // namespace
}  // namespace host
