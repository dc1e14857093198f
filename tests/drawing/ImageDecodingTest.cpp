// SPDX-License-Identifier: Apache-2.0

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>

#include "drawing/Image/Image.hpp"
#include "drawing/Writers/GIFFile.hpp"
#include "drawing/Writers/JPEGFile.hpp"
#include "drawing/Writers/OrientationNote.hpp"
#include "drawing/Writers/PNGFile.hpp"
#include "drawing/Writers/WebPFile.hpp"
#include "tests/drawing/Photograph.hpp"
#include "tests/support/MemoryLimit.hpp"

namespace {

using namespace drawing;
using namespace tests;

constexpr Pixel red{200, 30, 20}, green{20, 160, 40}, blue{30, 40, 190}, yellow{230, 210, 40};

/// Red and green above blue and yellow.
StraightBitmap quarters(PixelSize size) {
    return painted(size, [&](int x, int y) {
        if (y < size.height / 2) return x < size.width / 2 ? red : green;
        return x < size.width / 2 ? blue : yellow;
    });
}

/// The colours in the middle of the four quarters, row by row.
std::array<Pixel, 4> middles(const Bitmap& bitmap) {
    const auto at = [&](int right, int lower) {
        const std::uint32_t pixel =
            bitmap.row(bitmap.height() * (1 + 2 * lower) / 4)[bitmap.width() * (1 + 2 * right) / 4];
        return Pixel{std::uint8_t(pixel >> 16), std::uint8_t(pixel >> 8), std::uint8_t(pixel),
                     std::uint8_t(pixel >> 24)};
    };
    return {at(0, 0), at(1, 0), at(0, 1), at(1, 1)};
}

void expectColors(const Bitmap& bitmap, const std::array<Pixel, 4>& expected, int tolerance,
                  const std::string& name) {
    const auto found = middles(bitmap);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_NEAR(found[i].red, expected[i].red, tolerance) << name << ", quarter " << i;
        EXPECT_NEAR(found[i].green, expected[i].green, tolerance) << name << ", quarter " << i;
        EXPECT_NEAR(found[i].blue, expected[i].blue, tolerance) << name << ", quarter " << i;
        EXPECT_EQ(found[i].alpha, 255) << name << ", quarter " << i;
    }
}

struct Form {
    std::string name;
    std::string bytes;
    ImageHeader header;
    int tolerance;
};

std::vector<Form> everyForm(PixelSize size) {
    const StraightBitmap picture = quarters(size);
    const auto byRows = ImageDecoding::byRows, whole = ImageDecoding::whole;
    const auto lossless = WebPLoss::lossless, lossy = WebPLoss::lossy;
    return {
        {"JPEG", jpegFile(picture), {ImageFormat::jpeg, size, byRows}, 6},
        {"JPEG in several scans",
         jpegFile(picture, {.progressive = true}),
         {ImageFormat::jpeg, size, whole},
         6},
        {"JPEG, arithmetic coding",
         jpegFile(picture, {.arithmetic = true}),
         {ImageFormat::jpeg, size, byRows},
         6},
        {"JPEG of inks",
         jpegFile(picture, {.colors = JPEGColors::cmykInks}),
         {ImageFormat::jpeg, size, byRows},
         6},
        {"JPEG of inks, inverted",
         jpegFile(picture, {.colors = JPEGColors::yccInks}),
         {ImageFormat::jpeg, size, byRows},
         6},
        {"PNG", pngFile(picture), {ImageFormat::png, size, byRows}, 0},
        {"PNG without alpha",
         pngFile(picture, {.colors = PNGColors::rgb}),
         {ImageFormat::png, size, byRows},
         0},
        {"PNG of 16 bits", pngFile(picture, {.bitDepth = 16}), {ImageFormat::png, size, byRows}, 0},
        {"PNG of 16 bits without alpha",
         pngFile(picture, {.colors = PNGColors::rgb, .bitDepth = 16}),
         {ImageFormat::png, size, byRows},
         0},
        {"PNG with a palette",
         pngFile(picture, {.colors = PNGColors::palette}),
         {ImageFormat::png, size, byRows},
         0},
        {"PNG with a palette of 2 bits",
         pngFile(picture, {.colors = PNGColors::palette, .bitDepth = 2}),
         {ImageFormat::png, size, byRows},
         0},
        {"PNG, interlaced", pngFile(picture, {.interlaced = true}), {ImageFormat::png, size, whole}, 0},
        {"PNG with a palette, interlaced",
         pngFile(picture, {.colors = PNGColors::palette, .bitDepth = 4, .interlaced = true}),
         {ImageFormat::png, size, whole},
         0},
        {"WebP", webpFile(picture, {.loss = lossy}), {ImageFormat::webp, size, whole}, 10},
        {"WebP without loss", webpFile(picture, {.loss = lossless}), {ImageFormat::webp, size, whole}, 0},
        {"GIF", gifFile(picture), {ImageFormat::gif, size, byRows}, 0},
        {"GIF, interlaced", gifFile(picture, {.interlaced = true}), {ImageFormat::gif, size, whole}, 0},
    };
}

TEST(ImageDecoding, ReadsEveryForm) {
    for (const PixelSize size : {PixelSize{64, 48}, {33, 17}})
        for (const Form& form : everyForm(size)) {
            EXPECT_EQ(imageHeader(form.bytes), form.header) << form.name;
            for (const PixelSize wanted : {size, PixelSize{20, 20}, PixelSize{150, 90}}) {
                const auto bitmap = decodedImage(form.bytes, wanted);
                ASSERT_TRUE(bitmap) << form.name;
                EXPECT_EQ(bitmap->size, wanted) << form.name;
                expectColors(*bitmap, {red, green, blue, yellow}, form.tolerance, form.name);
            }
        }
}

TEST(ImageDecoding, ReadsShadesOfGrey) {
    const StraightBitmap picture = quarters({32, 32});
    const auto grey = [](const Pixel& pixel) { return Pixel{pixel.green, pixel.green, pixel.green}; };
    const std::array expected = {grey(red), grey(green), grey(blue), grey(yellow)};
    expectColors(*decodedImage(jpegFile(picture, {.colors = JPEGColors::gray}), {32, 32}), expected, 4,
                 "JPEG");
    expectColors(*decodedImage(pngFile(picture, {.colors = PNGColors::gray}), {32, 32}), expected, 0, "PNG");
    expectColors(*decodedImage(pngFile(picture, {.colors = PNGColors::gray, .bitDepth = 16}), {32, 32}),
                 expected, 0, "16");
    expectColors(*decodedImage(pngFile(picture, {.colors = PNGColors::grayAlpha}), {32, 32}), expected, 0,
                 "with alpha");
}

/// A camera's note wherever a form has a place for it. `note` is a JPEG's.
std::vector<std::pair<std::string, std::string>> withNote(const StraightBitmap& picture,
                                                          const std::string& note) {
    const std::string alone = note.substr(std::min<std::size_t>(note.size(), 6));
    const std::string png = pngFile(picture);
    constexpr std::size_t endChunk = 12;
    const WebPFileOptions lossless = {.loss = WebPLoss::lossless, .exif = alone};
    return {
        {"JPEG ", jpegFile(picture, {.exif = note})},
        {"PNG ", pngFile(picture, {.beside = pngChunk("eXIf", alone)})},
        {"PNG, interlaced ",
         pngFile(picture, {.interlaced = true, .beside = pngChunk("tEXt", "a") + pngChunk("eXIf", alone)})},
        {"PNG, behind its pixels ",
         png.substr(0, png.size() - endChunk) + pngChunk("eXIf", alone) + png.substr(png.size() - endChunk)},
        {"WebP ", webpFile(picture, {.exif = alone})},
        {"WebP without loss ", webpFile(picture, lossless)},
        {"WebP with a JPEG's note ", webpFile(picture, {.exif = note})},
        {"WebP, animated ", animatedWebPFile(picture.size, {{picture}, {picture}}, lossless)},
    };
}

TEST(ImageDecoding, ShowsAPhotographUprightWhicheverWayTheCameraWasHeld) {
    struct Row {
        int orientation;
        PixelSize size;
        std::array<Pixel, 4> shown;
    };
    constexpr PixelSize wide{64, 32}, tall{32, 64};
    for (const auto& [orientation, size, shown] : {
             Row{0, wide, {red, green, blue, yellow}},
             Row{1, wide, {red, green, blue, yellow}},
             Row{2, wide, {green, red, yellow, blue}},
             Row{3, wide, {yellow, blue, green, red}},
             Row{4, wide, {blue, yellow, red, green}},
             Row{5, tall, {red, blue, green, yellow}},
             Row{6, tall, {blue, red, yellow, green}},
             Row{7, tall, {yellow, green, blue, red}},
             Row{8, tall, {green, yellow, red, blue}},
             Row{9, wide, {red, green, blue, yellow}},
         })
        for (const ExifByteOrder byteOrder : {ExifByteOrder::littleEndian, ExifByteOrder::bigEndian}) {
            const std::string name =
                (byteOrder == ExifByteOrder::bigEndian ? "MM" : "II") + std::to_string(orientation);
            const std::string note =
                orientationNote(orientation, {.byteOrder = byteOrder, .imageWidth = 640});
            for (const auto& [form, bytes] : withNote(quarters(wide), note)) {
                ASSERT_TRUE(imageHeader(bytes)) << form << name;
                EXPECT_EQ(imageHeader(bytes)->size, size) << form << name;
                const auto bitmap = decodedImage(bytes, {size.width / 2, size.height / 2});
                ASSERT_TRUE(bitmap) << form << name;
                expectColors(*bitmap, shown, 10, form + name);
            }
        }
}

TEST(ImageDecoding, TakesANoteThatBreaksOffForUpright) {
    const std::string note =
        orientationNote(6, {.byteOrder = ExifByteOrder::littleEndian, .imageWidth = 640});
    for (std::size_t length = 0; length < note.size() - 8; ++length) {
        for (const auto& [form, bytes] : withNote(quarters({16, 8}), note.substr(0, length))) {
            const auto header = imageHeader(bytes);
            ASSERT_TRUE(header) << form;
            EXPECT_EQ(header->size, (PixelSize{16, 8})) << form << length;
        }
    }
}

TEST(ImageDecoding, MultipliesColoursByTheirAlpha) {
    const StraightBitmap glass = painted({8, 8}, [](int, int) { return Pixel{255, 128, 0, 128}; });
    const struct {
        const char* name;
        std::string bytes;
    } forms[] = {{"PNG", pngFile(glass)},
                 {"16 bits", pngFile(glass, {.bitDepth = 16})},
                 {"palette", pngFile(glass, {.colors = PNGColors::palette})},
                 {"interlaced", pngFile(glass, {.interlaced = true})},
                 {"WebP", webpFile(glass, {.loss = WebPLoss::lossless})}};
    for (const auto& [name, bytes] : forms)
        for (const int side : {3, 8, 20}) {
            const auto bitmap = decodedImage(bytes, {side, side});
            ASSERT_TRUE(bitmap) << name;
            for (const std::uint32_t pixel : bitmap->pixels) EXPECT_EQ(pixel, 0x80804000u) << name << side;
        }
}

TEST(ImageDecoding, LetsNoColourOutOfWhatIsTransparent) {
    const StraightBitmap stripes = painted({64, 64}, [](int x, int) {
        return x % 2 ? Pixel{0, 255, 0, 0} : Pixel{255, 0, 0, 255};
    });
    for (const std::string& bytes :
         {pngFile(stripes), gifFile(stripes), pngFile(stripes, {.interlaced = true})}) {
        const auto bitmap = decodedImage(bytes, {8, 8});
        ASSERT_TRUE(bitmap);
        for (const std::uint32_t pixel : bitmap->pixels) {
            EXPECT_EQ(pixel >> 8 & 255, 0u);
            EXPECT_NEAR(pixel >> 24, 128, 20);  // at the border fewer stripes are averaged
            EXPECT_EQ(pixel >> 16 & 255, pixel >> 24);
        }
    }
}

TEST(ImageDecoding, TakesTheFirstFrameOfAnAnimation) {
    expectColors(*decodedImage(gifFile(quarters({20, 20}), {.frames = 3}), {20, 20}),
                 {red, green, blue, yellow}, 0, "");
    const StraightBitmap grey = painted({20, 20}, [](int, int) { return Pixel{128, 128, 128}; });
    for (const WebPLoss loss : {WebPLoss::lossy, WebPLoss::lossless}) {
        const std::string file =
            animatedWebPFile({20, 20}, {{quarters({20, 20})}, {grey}, {grey}}, {.loss = loss});
        EXPECT_EQ(imageHeader(file), (ImageHeader{ImageFormat::webp, {20, 20}, ImageDecoding::whole}));
        for (const int side : {10, 20, 40})
            expectColors(*decodedImage(file, {side, side}), {red, green, blue, yellow}, 16, "WebP");
        // What comes behind the first frame has no say.
        EXPECT_EQ(decodedImage(file.substr(0, file.size() - 30), {20, 20}), decodedImage(file, {20, 20}));
    }
}

TEST(ImageDecoding, LeavesTransparentWhereNoFrameOfAnAnimationLies) {
    const StraightBitmap frame = painted({20, 10}, [](int, int) { return red; });
    const std::string file = animatedWebPFile({40, 40}, {{frame, 20, 10}}, {.loss = WebPLoss::lossless});
    for (const int side : {20, 40}) {
        const auto bitmap = decodedImage(file, {side, side});
        ASSERT_TRUE(bitmap);
        const auto at = [&](int x, int y) { return bitmap->row(y * side / 8)[x * side / 8]; };
        EXPECT_EQ(at(1, 3), 0u);
        EXPECT_EQ(at(6, 0), 0u);
        EXPECT_EQ(at(6, 6), 0u);
        EXPECT_EQ(at(6, 3), 0xFFC81E14u);
    }
}

TEST(ImageDecoding, TakesNoFrameThatIsNotOnItsCanvas) {
    const auto file = [](PixelSize canvas, int left, int top) {
        return animatedWebPFile(canvas, {{quarters({20, 10}), left, top}});
    };
    EXPECT_TRUE(imageHeader(file({24, 14}, 4, 4)));
    for (const std::string& wrong : {file({24, 14}, 6, 4), file({24, 14}, 4, 6), file({10, 10}, 0, 0),
                                     file({24, 14}, 1 << 24, 1 << 24), animatedWebPFile({20, 10}, {})}) {
        EXPECT_FALSE(imageHeader(wrong));
        EXPECT_FALSE(decodedImage(wrong, {10, 10}));
    }
    std::string lies = file({24, 14}, 0, 0);
    lies[lies.find("ANMF") + 8 + 6] = 9;  // its width, where its pixels say 20
    EXPECT_FALSE(imageHeader(lies));
}

TEST(ImageDecoding, ReadsAJPEGThatLacksOnlyItsEnd) {
    const StraightBitmap picture = photograph({70, 40});
    const JPEGFileOptions forms[] = {{},
                                     {.progressive = true},
                                     {.colors = JPEGColors::gray},
                                     {.colors = JPEGColors::yccInks},
                                     {.restartInterval = 2}};
    for (const JPEGFileOptions& form : forms) {
        const std::string bytes = jpegFile(picture, form);
        const auto whole = decodedImage(bytes, {35, 20});
        ASSERT_TRUE(whole);
        for (const std::string& open : {bytes.substr(0, bytes.size() - 1), bytes.substr(0, bytes.size() - 2)})
            EXPECT_EQ(decodedImage(open, {35, 20}), whole);
        EXPECT_FALSE(decodedImage(bytes.substr(0, bytes.size() - 12), {35, 20}));
    }
    // Of arithmetic coding nobody can tell whether something is missing.
    const std::string arithmetic = jpegFile(picture, {.arithmetic = true});
    EXPECT_FALSE(decodedImage(arithmetic.substr(0, arithmetic.size() - 12), {35, 20}));
}

TEST(ImageDecoding, TakesNoJPEGWithoutItsEndWhoseScansAreNotAllThere) {
    const std::string bytes = jpegFile(photograph({70, 40}), {.progressive = true});
    for (auto scan = bytes.find("\xFF\xDA", bytes.find("\xFF\xDA") + 2); scan != std::string::npos;
         scan = bytes.find("\xFF\xDA", scan + 2)) {
        EXPECT_FALSE(decodedImage(bytes.substr(0, scan), {35, 20})) << scan;
    }
}

TEST(ImageDecoding, UnpacksAGIFThatFillsItsTableOverAndOver) {
    std::uint32_t random = 1;
    for (const int colors : {2, 3, 16, 200}) {
        const StraightBitmap noise = painted({301, 200}, [&](int x, int) {
            random = random * 1664525u + 1013904223u;
            return Pixel{std::uint8_t(x % 50 ? (random >> 16) % unsigned(colors) : 1), 9, 77};
        });
        const auto bitmap = decodedImage(gifFile(noise), noise.size);
        ASSERT_TRUE(bitmap) << colors;
        for (int y = 0; y < noise.size.height; ++y)
            for (int x = 0; x < noise.size.width; ++x)
                ASSERT_EQ(bitmap->row(y)[x], 0xFF00094Du | unsigned(noise.at(x, y).red) << 16)
                    << colors << " colours at " << x << ", " << y;
    }
}

TEST(ImageDecoding, PutsAFrameAtItsPlaceOnTheScreen) {
    for (const bool interlaced : {false, true}) {
        const Bitmap shown = *decodedImage(
            gifFile(quarters({10, 10}),
                    {.interlaced = interlaced, .screen = PixelSize{20, 30}, .left = 10, .top = 5}),
            {20, 30});
        EXPECT_EQ(shown.row(0)[0], 0u);
        EXPECT_EQ(shown.row(10)[9], 0u);
        EXPECT_EQ(shown.row(15)[15], 0u);
        EXPECT_EQ(shown.row(5)[10], 0xFFC81E14u);
        EXPECT_EQ(shown.row(14)[19], 0xFFE6D228u);
    }
}

TEST(ImageDecoding, MakesTheScreenHoldItsFrame) {
    const std::string bytes = gifFile(quarters({10, 10}), {.screen = PixelSize{4, 4}, .left = 2, .top = 1});
    EXPECT_EQ(imageHeader(bytes)->size, (PixelSize{12, 11}));
    EXPECT_TRUE(decodedImage(bytes, {12, 11}));
}

TEST(ImageDecoding, MakesNoPictureOfAnUnusableSize) {
    const std::string bytes = pngFile(quarters({4, 4}));
    for (const PixelSize wanted : {PixelSize{0, 4}, {4, 0}, {-1, 4}, {1025, 4}, {4, 1 << 30}})
        EXPECT_FALSE(decodedImage(bytes, wanted)) << wanted.width << " x " << wanted.height;
    EXPECT_TRUE(decodedImage(bytes, {1024, 1024}));
}

TEST(ImageDecoding, CostsAFewRowsAndNotTheWholePicture) {
    const StraightBitmap large = painted({4000, 3000}, [](int x, int y) {
        return Pixel{std::uint8_t(x / 16), std::uint8_t(y / 12), std::uint8_t(x + y)};
    });
    const StraightBitmap coarse = painted({4000, 3000}, [](int x, int y) {
        return Pixel{std::uint8_t(x / 500 * 30), std::uint8_t(y / 500 * 40), 0};
    });
    const PixelSize wanted{168, 168};
    const struct {
        const char* name;
        std::string bytes;
    } forms[] = {{"JPEG", jpegFile(large)},
                 {"PNG", pngFile(large, {.colors = PNGColors::rgb})},
                 {"interlaced PNG", pngFile(coarse, {.interlaced = true})},
                 {"interlaced GIF", gifFile(coarse, {.interlaced = true})}};
    for (const auto& [name, bytes] : forms)
        EXPECT_TRUE(succeedsWithin(3 << 20, [&, &file = bytes] {
            return decodedImage(file, wanted).has_value();
        })) << name;
    const std::string whole = webpFile(coarse, {.loss = WebPLoss::lossless});
    if (memoryCanBeLimited) {
        EXPECT_FALSE(succeedsWithin(3 << 20, [&] { return decodedImage(whole, wanted).has_value(); }));
    }
}

TEST(ImageDecoding, PacksWhatTheScansOfAPhotographSay) {
    const std::string photo = jpegFile(photograph({4000, 3000}), {.progressive = true});
    EXPECT_TRUE(succeedsWithin(16 << 20, [&] { return decodedImage(photo, {168, 126}).has_value(); }));
}

}  // namespace
