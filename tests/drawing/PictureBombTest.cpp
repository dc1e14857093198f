// SPDX-License-Identifier: Apache-2.0

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <ctime>

#include "drawing/Image/Image.hpp"
#include "tests/drawing/PictureBombs.hpp"
#include "tests/support/AllocatedMemory.hpp"

namespace {

using namespace drawing;
using namespace tests;

/// A row for each is printed, for docs/performance.md.
void expectWithinMemory(const std::vector<PictureBomb>& bombs) {
    for (const PictureBomb& bomb : bombs) {
        if (bomb.isLarge && !memoryIsCounted) continue;
        const std::string bytes = bomb.bytes();
        EXPECT_LE(bytes.size(), ImageBounds::bytes) << bomb.name;
        std::size_t peak = 0;
        double seconds = 0;
        const auto decode = [&](auto wantedOf) {
            const std::clock_t start = std::clock();
            bool isPicture = false;
            peak = std::max(peak, peakMemory([&] {
                                const auto header = imageHeader(bytes);
                                isPicture = header && decodedImage(bytes, wantedOf(header->size));
                            }));
            EXPECT_EQ(isPicture, bomb.outcome == Outcome::picture) << bomb.name;
            seconds = std::max(seconds, double(std::clock() - start) / CLOCKS_PER_SEC);
        };
        constexpr PixelSize largest{ImageBounds::wantedSide, ImageBounds::wantedSide};
        decode([](PixelSize size) { return scaledToFit(size, {168, 168}); });
        decode([=](PixelSize) { return largest; });
        if (memoryIsCounted)
            std::printf("%-42s %8.1f kB, peak %6.2f MiB, %5.2f s\n", bomb.name.c_str(),
                        double(bytes.size()) / 1000, double(peak) / (1 << 20), seconds);
        EXPECT_LE(peak, ImageBounds::memory) << bomb.name;
    }
}

TEST(PictureBombs, TakeNoMoreThanTheirMemoryAsPNG) {
    expectWithinMemory(pngBombs());
}
TEST(PictureBombs, TakeNoMoreThanTheirMemoryAsJPEG) {
    expectWithinMemory(jpegBombs());
}
TEST(PictureBombs, TakeNoMoreThanTheirMemoryAsGIF) {
    expectWithinMemory(gifBombs());
}
TEST(PictureBombs, TakeNoMoreThanTheirMemoryAsWebP) {
    expectWithinMemory(webpBombs());
}

}  // namespace
