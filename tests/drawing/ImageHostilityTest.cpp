// SPDX-License-Identifier: Apache-2.0

#include <gtest/gtest.h>

#include <cstdio>

#include <jpeglib.h>

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
using namespace std::string_literals;

struct File {
    std::string name;
    std::string bytes;
};

std::vector<File> smallFiles() {
    const StraightBitmap picture = photograph({24, 16});
    const StraightBitmap plain = painted({24, 16}, [](int x, int y) {
        return Pixel{std::uint8_t(x * 9), std::uint8_t(y / 4 * 50), 7};
    });
    return {
        {"JPEG", jpegFile(picture)},
        {"JPEG with a noted orientation",
         jpegFile(picture, {.exif = orientationNote(6, {.imageWidth = 640})})},
        {"JPEG in several scans", jpegFile(picture, {.progressive = true})},
        {"JPEG of inks", jpegFile(picture, {.colors = JPEGColors::yccInks})},
        {"PNG", pngFile(picture)},
        {"PNG with a palette", pngFile(plain, {.colors = PNGColors::palette})},
        {"PNG, interlaced", pngFile(picture, {.bitDepth = 16, .interlaced = true})},
        {"WebP", webpFile(picture, {.loss = WebPLoss::lossy})},
        {"WebP without loss", webpFile(picture, {.loss = WebPLoss::lossless})},
        {"PNG with a noted orientation",
         pngFile(picture, {.beside = pngChunk("eXIf", orientationNote(6).substr(6))})},
        {"WebP with a noted orientation", webpFile(picture, {.exif = orientationNote(6).substr(6)})},
        {"WebP, animated", animatedWebPFile({30, 20}, {{picture, 2, 4}})},
        {"WebP, animated without loss",
         animatedWebPFile({24, 16}, {{picture}}, {.loss = WebPLoss::lossless})},
        {"GIF", gifFile(plain)},
        {"GIF, interlaced", gifFile(plain, {.interlaced = true})},
    };
}

constexpr PixelSize wanted{10, 10};

TEST(HostileImages, AreNothingWhenTheyAreNoPictures) {
    for (const std::string& bytes :
         {""s, "\xFF"s, "\xFF\xD8\xFF"s, "\x89PNG\r\n\x1A\n"s, "RIFF"s, "RIFF\x04\0\0\0WEBP"s, "GIF89a"s,
          "GIF87a\0\0"s, "<html><body>Not found</body></html>"s, "BM\0\0"s, "II*\0"s,
          std::string(5000, '\0')}) {
        EXPECT_FALSE(imageHeader(bytes)) << bytes.substr(0, 12);
        EXPECT_FALSE(decodedImage(bytes, wanted)) << bytes.substr(0, 12);
    }
}

TEST(HostileImages, AreNothingOrWholeWhereverTheyAreCutShort) {
    for (const auto& [name, bytes] : smallFiles()) {
        const auto whole = decodedImage(bytes, wanted);
        ASSERT_TRUE(whole) << name;
        for (std::size_t length = 0; length < bytes.size(); ++length) {
            const std::string cut =
                bytes.substr(0, length);  // a buffer of just that length, for the sanitizer
            const auto bitmap = decodedImage(cut, wanted);
            EXPECT_EQ(bitmap.value_or(*whole), *whole) << name << " at " << length;
            EXPECT_FALSE(bitmap && length < bytes.size() - 20) << name << " at " << length;
        }
    }
}

TEST(HostileImages, ReadNothingBeyondTheirBytesWhicheverByteIsWrong) {
    for (const auto& [name, bytes] : smallFiles())
        for (std::size_t at = 0; at < bytes.size(); ++at)
            for (const int change : {0x01, 0x80, 0xFF}) {
                std::string wrong = bytes;
                wrong[at] = char(wrong[at] ^ change);
                const auto bitmap = decodedImage(wrong, wanted);
                EXPECT_EQ(bitmap ? bitmap->size : wanted, wanted) << name << " at " << at;
            }
}

/// The sides stand as two 16-bit numbers, height first, five bytes into the frame header.
std::string jpegDeclaring(PixelSize size, const JPEGFileOptions& form) {
    std::string bytes = jpegFile(photograph({16, 16}), form);
    const auto frame = bytes.find(form.progressive ? "\xFF\xC2" : "\xFF\xC0");
    bytes[frame + 5] = char(size.height >> 8), bytes[frame + 6] = char(size.height);
    bytes[frame + 7] = char(size.width >> 8), bytes[frame + 8] = char(size.width);
    return bytes;
}

TEST(HostileImages, MayNotDeclareMorePixelsThanTheirFormAllows) {
    struct Row {
        const char* name;
        std::string bytes;
        bool isWithinBounds;
    };
    const StraightBitmap dot = painted({1, 1}, [](int, int) { return Pixel{}; });
    for (const auto& [name, bytes, isWithinBounds] : {
             Row{"PNG of 60,000 x 60,000", hollowPNGFile({60'000, 60'000}), false},
             Row{"PNG of 2^31 - 1 a side", hollowPNGFile({0x7FFFFFFF, 0x7FFFFFFF}), false},
             Row{"PNG of no width", hollowPNGFile({0, 10}), false},
             Row{"PNG of 64 megapixels", hollowPNGFile({8000, 8000}), true},
             Row{"PNG of more", hollowPNGFile({8001, 8000}), false},
             Row{"PNG of 32 megapixels of 16 bits", hollowPNGFile({8000, 4000}, {.bitDepth = 16}), true},
             Row{"PNG of more", hollowPNGFile({8000, 4001}, {.bitDepth = 16}), false},
             Row{"PNG of the longest side", hollowPNGFile({32'767, 1}), true},
             Row{"PNG of a longer one", hollowPNGFile({32'768, 1}), false},
             Row{"PNG of a higher one", hollowPNGFile({1, 32'768}), false},
             Row{"interlaced PNG of 16 megapixels", hollowPNGFile({4000, 4000}, {.interlaced = true}), true},
             Row{"interlaced PNG of more", hollowPNGFile({4001, 4000}, {.interlaced = true}), false},
             Row{"JPEG of 64 megapixels", jpegDeclaring({8000, 8000}, {}), true},
             Row{"JPEG of more", jpegDeclaring({8001, 8000}, {}), false},
             Row{"JPEG of 65,500 x 65,500", jpegDeclaring({65'500, 65'500}, {}), false},
             Row{"JPEG in several scans of 16 megapixels", jpegDeclaring({4000, 4000}, {.progressive = true}),
                 true},
             Row{"JPEG in several scans of more", jpegDeclaring({4001, 4000}, {.progressive = true}), false},
             Row{"GIF of 64 megapixels", gifFile(dot, {.screen = PixelSize{8000, 8000}}), true},
             Row{"GIF of more", gifFile(dot, {.screen = PixelSize{8001, 8000}}), false},
             Row{"interlaced GIF of 16 megapixels",
                 gifFile(dot, {.interlaced = true, .screen = PixelSize{4000, 4000}}), true},
             Row{"interlaced GIF of more",
                 gifFile(dot, {.interlaced = true, .screen = PixelSize{4001, 4000}}), false},
         }) {
        EXPECT_EQ(imageHeader(bytes).has_value(), isWithinBounds) << name;
        EXPECT_FALSE(!isWithinBounds && decodedImage(bytes, wanted)) << name;
    }
}

TEST(HostileImages, MayNotHaveMoreThanEightMebibytes) {
    std::string bytes = jpegFile(photograph({16, 16}));
    bytes.resize(8u << 20);
    EXPECT_TRUE(decodedImage(bytes, wanted));
    bytes += '\0';
    EXPECT_FALSE(imageHeader(bytes));
    EXPECT_FALSE(decodedImage(bytes, wanted));
}

TEST(HostileImages, DoNotBlowUpByWhatStandsBesideThePicture) {
    const std::string bomb = deflated(std::string(200u << 20, 'a'));
    for (const auto& [type, head] :
         {std::pair{"iCCP", "x\0\0"s}, {"zTXt", "x\0\0"s}, {"iTXt", "x\0\1\0\0\0"s}}) {
        const std::string bytes = pngFile(
            photograph({24, 16}), {.beside = pngChunk(type, head + bomb) + pngChunk(type, head + bomb)});
        EXPECT_TRUE(succeedsWithin(12 << 20, [&, &file = bytes] {
            decodedImage(file, wanted);
            return true;
        })) << type;
    }
}

TEST(HostileImages, AreNotMistakenForThoseWithALargeProfile) {
    std::string profile;
    for (unsigned i = 0; i < 600'000; ++i) profile += char(i * i >> 7);
    EXPECT_TRUE(decodedImage(
        pngFile(photograph({24, 16}), {.beside = pngChunk("iCCP", "x\0\0"s + deflated(profile))}), wanted));
}

/// Scripts that end before everything is said.
struct Script {
    const char* name;
    std::vector<JPEGScan> scans;
};

std::vector<Script> incompleteScripts(JPEGColors colors) {
    const std::vector<int> every = colors == JPEGColors::gray ? std::vector{0} : std::vector{0, 1, 2};
    const JPEGScan average{every}, coarseAverage{.components = every, .bits = 2};
    const JPEGScan lowFirst{{0}, 1, 5, 0, 2}, highFirst{{0}, 6, 63, 0, 2}, lowRefined{{0}, 1, 5, 2, 1};
    std::vector<Script> scripts = {
        {"averages", {average}},
        {"coarse averages", {coarseAverage}},
        {"refined averages", {coarseAverage, {every, 0, 0, 2, 1}}},
        {"averages and one coefficient", {average, {{0}, 1, 1}}},
        {"averages and low frequencies", {average, lowFirst}},
        {"averages and high frequencies", {average, highFirst}},
        {"no last refinement", {coarseAverage, lowFirst, highFirst, lowRefined}},
    };
    if (every.size() > 1) {
        scripts.push_back({"averages apart", {{{0}}, {{1}}, {{2}}}});
        scripts.push_back({"one colour whole", {average, {{2}, 1, 63}}});
    }
    return scripts;
}

/// As libjpeg itself decodes it with nothing of ours, the scans that are missing left out.
Bitmap decodedByLibjpeg(std::string_view bytes) {
    jpeg_decompress_struct info = {};
    jpeg_error_mgr errors;
    info.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&info);
    jpeg_mem_src(&info, reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
    jpeg_read_header(&info, TRUE);
    info.out_color_space = JCS_EXT_BGRA;
    info.do_block_smoothing = FALSE;
    jpeg_start_decompress(&info);
    auto bitmap = Bitmap::transparent({int(info.output_width), int(info.output_height)});
    for (int y = 0; y < bitmap.height(); ++y) {
        auto* row = reinterpret_cast<JSAMPROW>(bitmap.row(y));
        jpeg_read_scanlines(&info, &row, 1);
    }
    jpeg_finish_decompress(&info);
    jpeg_destroy_decompress(&info);
    return bitmap;
}

TEST(HostileImages, MayLeaveOutScans) {
    for (const JPEGColors colors : {JPEGColors::rgb, JPEGColors::gray})
        for (const auto& [name, scans] : incompleteScripts(colors))
            for (const PixelSize sampling : {PixelSize{1, 1}, {2, 1}, {1, 2}, {2, 2}, {4, 1}, {1, 4}, {4, 2}})
                for (const PixelSize size : {PixelSize{64, 64}, {1, 1}, {70, 9}, {17, 33}, {8, 70}, {47, 24}})
                    for (const bool arithmetic : {false, true})
                        for (const unsigned restartInterval : {0u, 3u}) {
                            const std::string bytes =
                                jpegFile(photograph(size), {.colors = colors,
                                                            .progressive = true,
                                                            .arithmetic = arithmetic,
                                                            .sampling = sampling,
                                                            .restartInterval = restartInterval,
                                                            .scans = scans});
                            const auto bitmap = decodedImage(bytes, size);
                            EXPECT_TRUE(bitmap == decodedByLibjpeg(bytes))
                                << name << ' ' << size.width << " x " << size.height << ", sampled "
                                << sampling.width << " x " << sampling.height;
                            EXPECT_TRUE(decodedImage(bytes, wanted)) << name;
                        }
}

TEST(HostileImages, MayNotGoOverThePictureWithoutEnd) {
    const std::string bytes = jpegFile(photograph({24, 16}), {.progressive = true});
    const auto scan = bytes.find("\xFF\xDA");
    auto end = scan + 2;
    while (bytes[end] != '\xFF' || bytes[end + 1] == '\0') ++end;
    const auto repeated = [&](int times) {
        std::string scans;
        for (int i = 0; i < times; ++i) scans += bytes.substr(scan, end - scan);
        return bytes.substr(0, end) + scans + bytes.substr(end);
    };
    EXPECT_TRUE(decodedImage(repeated(5), wanted));
    EXPECT_FALSE(decodedImage(repeated(500), wanted));
}

}  // namespace
