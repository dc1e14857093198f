#include <gtest/gtest.h>

#include <webp/decode.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <utility>

#include "drawing/Image/Image.hpp"
#include "drawing/Image/LosslessWebP.hpp"
#include "drawing/Writers/PNGChunks.hpp"
#include "drawing/Writers/WebPFile.hpp"
#include "tests/drawing/AllocatedMemory.hpp"
#include "tests/drawing/Photograph.hpp"
#include "tests/drawing/PictureBombs.hpp"

namespace {

using namespace drawing;
using namespace tests;

const std::uint8_t* data(const std::string& bytes) {
    return reinterpret_cast<const std::uint8_t*>(bytes.data());
}

/// So that nothing is left out.
void use(void* memory) {
    asm volatile("" : : "g"(memory) : "memory");
}

TEST(AllocatedMemory, IsCountedWhereverItComesFrom) {
    if (!memoryIsCounted) GTEST_SKIP() << "the sanitizer has its own allocator";
    constexpr std::size_t size = 1u << 20;
    const auto peak = [](auto allocate) {
        return peakMemory([&] {
            void* memory = allocate();
            use(memory);
            std::free(memory);
        });
    };
    EXPECT_GE(peak([] { return std::malloc(size); }), size);
    EXPECT_GE(peak([] { return std::calloc(size / 8, 8); }), size);
    EXPECT_GE(peak([] { return std::aligned_alloc(64, size); }), size);
    EXPECT_GE(peak([] { return std::realloc(std::malloc(8), size); }), size);
    EXPECT_GE(peakMemory([] { use(std::vector<char>(size).data()); }), size);
    EXPECT_GE(peakMemory([] { deflated("x"); }), 200'000u);  // a library's own
    EXPECT_LT(peakMemory([] {}), 1000u);
}

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

/// What libwebp takes for the stream of a file without loss, its outcome aside.
std::size_t takenByLibwebp(const std::string& file) {
    return peakMemory([&] {
        int width, height;
        std::uint8_t* rgba = WebPDecodeRGBA(data(file), file.size(), &width, &height);
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
