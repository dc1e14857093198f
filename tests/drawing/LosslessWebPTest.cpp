// SPDX-License-Identifier: Apache-2.0

#include "drawing/Image/LosslessWebP.hpp"

#include <gtest/gtest.h>

#include <webp/decode.h>

#include <utility>

#include "drawing/Writers/WebPFile.hpp"
#include "tests/drawing/Photograph.hpp"
#include "tests/drawing/PictureBombs.hpp"
#include "tests/support/AllocatedMemory.hpp"

namespace {

using namespace drawing;
using namespace tests;

/// What libwebp takes for the stream of a file without loss, its outcome aside.
std::size_t takenByLibwebp(const std::string& file) {
    return peakMemory([&] {
        int width, height;
        std::uint8_t* rgba =
            WebPDecodeRGBA(reinterpret_cast<const std::uint8_t*>(file.data()), file.size(), &width, &height);
        WebPFree(rgba);
    });
}

TEST(LosslessWebP, TakesNoMoreThanIsMeasured) {
    const auto plain = [](int, int) { return Pixel{7, 8, 9}; };
    const auto fewColors = [](int x, int y) {
        return Pixel{std::uint8_t(x / 20 * 20), std::uint8_t(y % 3), 0};
    };
    for (const PixelSize size : {PixelSize{1, 1}, {3, 200}, {192, 192}}) {
        const std::pair<const char*, StraightBitmap> pictures[] = {{"photograph", photograph(size)},
                                                                   {"plain", painted(size, plain)},
                                                                   {"few", painted(size, fewColors)}};
        for (const auto& [name, picture] : pictures)
            for (const int effort : {0, 4, 8}) {
                const std::string file = webpFile(picture, {.loss = WebPLoss::lossless, .effort = effort});
                const auto measured =
                    losslessWebPMemory(std::string_view(file).substr(20), size, LosslessHeader::present);
                ASSERT_TRUE(measured) << name << ' ' << size.width;
                if (!memoryIsCounted) continue;
                const std::size_t outcome = std::size_t(size.width) * std::size_t(size.height) * 4;
                EXPECT_LE(takenByLibwebp(file), *measured + outcome) << name << ' ' << size.width;
            }
    }
}

TEST(LosslessWebP, IsMeasuredWithItsGroups) {
    constexpr PixelSize size{400, 400};
    for (const int groups : {1, 2, 999, 1000, 1001, 10'000}) {
        const std::string file = webpOfGroups(size, groups);
        const auto measured =
            losslessWebPMemory(std::string_view(file).substr(20), size, LosslessHeader::present);
        ASSERT_TRUE(measured) << groups;
        EXPECT_GE(*measured, std::size_t(groups) * 10'000) << groups;
        EXPECT_LE(*measured, std::size_t(groups) * 30'000 + (2u << 20)) << groups;
        if (memoryIsCounted) {
            EXPECT_LE(takenByLibwebp(file), *measured + 400 * 400 * 4) << groups;
        }
    }
}

TEST(LosslessWebP, IsNothingWhereItIsBrokenBeforeItsPixels) {
    constexpr PixelSize size{64, 64};
    const std::string stream = webpOfGroups(size, 200).substr(20);
    const auto measured = [&](std::string_view bytes) {
        return losslessWebPMemory(bytes, size, LosslessHeader::present).has_value();
    };
    EXPECT_TRUE(measured(stream));
    for (std::size_t length = 0; length < 400; ++length)
        EXPECT_FALSE(measured(stream.substr(0, length))) << length;
    EXPECT_FALSE(losslessWebPMemory(stream, {64, 63}, LosslessHeader::present));
}

}  // namespace
