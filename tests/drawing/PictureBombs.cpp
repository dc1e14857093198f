// SPDX-License-Identifier: Apache-2.0

#include "tests/drawing/PictureBombs.hpp"

#include <zlib.h>

#include <algorithm>
#include <utility>

#include "drawing/Writers/GIFFile.hpp"
#include "drawing/Writers/JPEGFile.hpp"
#include "drawing/Writers/OrientationNote.hpp"
#include "drawing/Writers/PNGChunks.hpp"
#include "drawing/Writers/WebPFile.hpp"
#include "tests/drawing/Photograph.hpp"

namespace tests {

using namespace drawing;
using namespace std::string_literals;

namespace {

std::string repeated(std::string_view piece, std::size_t times) {
    std::string whole;
    whole.reserve(piece.size() * times);
    for (std::size_t i = 0; i < times; ++i) whole += piece;
    return whole;
}

/// As many zeros, deflated without ever being there.
std::string deflatedZeros(std::size_t count) {
    z_stream stream = {};
    deflateInit(&stream, 6);
    std::string zeros(1u << 16, '\0'), out, piece(1u << 16, '\0');
    int result = Z_OK;
    while (result != Z_STREAM_END) {
        if (stream.avail_in == 0 && count > 0) {
            stream.next_in = reinterpret_cast<Bytef*>(zeros.data());
            stream.avail_in = uInt(std::min(count, zeros.size()));
            count -= stream.avail_in;
        }
        stream.next_out = reinterpret_cast<Bytef*>(piece.data());
        stream.avail_out = uInt(piece.size());
        result = deflate(&stream, count == 0 ? Z_FINISH : Z_NO_FLUSH);
        out.append(piece, 0, piece.size() - stream.avail_out);
    }
    deflateEnd(&stream);
    return out;
}

struct PNGBomb {
    int bitDepth = 8;
    PNGColors colors = PNGColors::gray;
    bool interlaced = false;
    std::string beside = {};
};

std::string blackPNG(PixelSize size, const PNGBomb& form) {
    const std::size_t channels = form.colors == PNGColors::rgba ? 4 : 1;
    const auto bytes = [&](std::size_t width, std::size_t height) {
        return width == 0 ? 0 : height * (1 + (width * channels * std::size_t(form.bitDepth) + 7) / 8);
    };
    std::size_t raw = 0;
    if (form.interlaced) {
        constexpr std::size_t passes[][4] = {{0, 0, 8, 8}, {4, 0, 8, 8}, {0, 4, 4, 8}, {2, 0, 4, 4},
                                             {0, 2, 2, 4}, {1, 0, 2, 2}, {0, 1, 1, 2}};
        const auto count = [](int side, std::size_t first, std::size_t step) {
            return std::size_t(side) <= first ? 0 : (std::size_t(side) - first - 1) / step + 1;
        };
        for (const auto& [left, top, across, down] : passes)
            raw += bytes(count(size.width, left, across), count(size.height, top, down));
    } else {
        raw = bytes(std::size_t(size.width), std::size_t(size.height));
    }
    const std::string palette =
        form.colors == PNGColors::palette ? pngChunk("PLTE", std::string(std::size_t(768), '\7')) : "";
    return std::string(pngSignature()) + pngHeaderChunk(size, form.bitDepth, form.colors, form.interlaced) +
           form.beside + palette + pngChunk("IDAT", deflatedZeros(raw)) + pngChunk("IEND", {});
}

std::string smallPNGBeside(const std::string& chunks) {
    return blackPNG({24, 16}, {.beside = chunks});
}

std::string compressedNote(const char* type, const std::string& head) {
    return repeated(pngChunk(type, head + deflatedZeros(50u << 20)), 2);
}

/// A segment that stands before everything else.
std::string withSegments(const std::string& jpegFile, std::string_view segments) {
    return jpegFile.substr(0, 2) + std::string(segments) + jpegFile.substr(2);
}

std::string jpegSegment(char marker, std::size_t length) {
    return "\xFF"s + marker + char((length + 2) >> 8) + char(length + 2) + std::string(length, 'x');
}

/// Each scan of the file `times` times over.
std::string withScansRepeated(const std::string& bytes, std::size_t times) {
    const auto isMarker = [&](std::size_t at) {
        const auto code = static_cast<unsigned char>(bytes[at + 1]);
        return bytes[at] == '\xFF' && code != 0 && (code < 0xD0 || code > 0xD7);
    };
    const auto scan = bytes.find("\xFF\xDA");
    auto end = scan + 2;
    while (!isMarker(end)) ++end;
    return bytes.substr(0, end) + repeated(bytes.substr(scan, end - scan), times - 1) + bytes.substr(end);
}

/// A JPEG of one colour, whose scans say next to nothing.
std::string plainJPEG(PixelSize size, const JPEGFileOptions& form) {
    return jpegFile(painted(size, [](int, int) { return Pixel{90, 90, 90}; }), form);
}

std::string smallGIF(const GIFFileOptions& form) {
    return gifFile(painted({1, 1}, [](int, int) { return Pixel{}; }), form);
}

/// Behind the header, the screen and the colours for 256 of them.
std::string gifWithExtensions(std::string_view extension, std::size_t count) {
    const std::string bytes = smallGIF({});
    constexpr std::size_t head = 6 + 7 + 768;
    return bytes.substr(0, head) + repeated(extension, count) + bytes.substr(head);
}

std::string littleEndian(std::size_t value, int length) {
    std::string bytes;
    for (int i = 0; i < length; ++i) bytes += char(value >> 8 * i & 255);
    return bytes;
}

/// Nothing but the code that clears the table, in three bits each.
std::string gifOfClears(PixelSize size) {
    const std::string bytes = smallGIF({.screen = size});
    const std::string frame = "\x2C\0\0\0\0"s + littleEndian(std::size_t(size.width), 2) +
                              littleEndian(std::size_t(size.height), 2);
    return bytes.substr(0, 6 + 7 + 768) + frame + "\0\2"s +
           repeated("\xFF" + repeated("\x24\x49\x92", 85), 32'000) + "\0;"s;
}

std::string webpChunk(const char* type, const std::string& contents) {
    return type + littleEndian(contents.size(), 4) + contents + (contents.size() % 2 ? "\0"s : ""s);
}

std::string webpFile(const std::string& chunks) {
    return "RIFF" + littleEndian(4 + chunks.size(), 4) + "WEBP" + chunks;
}

/// With its first chunk behind others.
std::string extendedWebP(const std::string& bytes, PixelSize size, char flags, const std::string& chunks) {
    return webpFile(webpChunk("VP8X", flags + "\0\0\0"s + littleEndian(std::size_t(size.width - 1), 3) +
                                          littleEndian(std::size_t(size.height - 1), 3)) +
                    chunks + bytes.substr(12));
}

/// Lowest bit first.
class BitWriter {
  public:
    BitWriter& operator()(unsigned value, int bits) {
        for (int i = 0; i < bits; ++i, ++count_) {
            if (count_ % 8 == 0) bytes_ += '\0';
            bytes_.back() = char(bytes_.back() | (value >> i & 1) << count_ % 8);
        }
        return *this;
    }
    /// A code whose only symbol is zero, which takes no bit.
    void onlyZero() { (*this)(1, 1)(0, 1)(0, 1)(0, 1); }
    /// A code in which each of 256 symbols takes eight bits.
    void eightBits() {
        constexpr int placeOfEight = 12;
        (*this)(0, 1)(placeOfEight - 4, 4);
        for (int i = 1; i < placeOfEight; ++i) (*this)(0, 3);
        (*this)(1, 3)(1, 1)(3, 3)(254, 8);
    }
    std::string bytes() const { return bytes_; }

  private:
    std::string bytes_;
    int count_ = 0;
};

unsigned reversed(unsigned byte) {
    unsigned value = 0;
    for (int i = 0; i < 8; ++i) value |= (byte >> i & 1) << (7 - i);
    return value;
}

/// A stream without loss, whose header is an alpha channel's not to have.
std::string streamOfGroups(PixelSize size, int groups, bool hasHeader) {
    BitWriter bits;
    if (hasHeader) bits(0x2F, 8)(unsigned(size.width - 1), 14)(unsigned(size.height - 1), 14)(0, 1)(0, 3);
    bits(0, 1)(0, 1)(1, 1)(0, 3);  // no transform, no cached colours, groups for blocks of 4 x 4
    bits(0, 1);                    // no cached colours
    bits.eightBits(), bits.eightBits();
    for (int i = 0; i < 3; ++i) bits.onlyZero();
    const int blocks = ((size.width + 3) / 4) * ((size.height + 3) / 4);
    for (int i = 0; i < blocks; ++i) {
        const auto group = unsigned(i % groups);
        bits(reversed(group & 255), 8)(reversed(group >> 8), 8);
    }
    for (int i = 0; i < groups * 5; ++i) bits.onlyZero();
    return bits.bytes() + std::string(8, '\0');
}

StraightBitmap translucent(PixelSize size) {
    return painted(size, [](int x, int y) {
        return Pixel{std::uint8_t(x / 8), std::uint8_t(y / 8), 40, std::uint8_t((x / 16 + y / 16) * 9)};
    });
}

StraightBitmap coarse(PixelSize size) {
    return painted(size, [](int x, int y) {
        return Pixel{std::uint8_t(x / 64 * 30), std::uint8_t(y / 64 * 40), std::uint8_t(x / 32)};
    });
}

}  // namespace

std::vector<PictureBomb> pngBombs() {
    const auto black = [](PixelSize size, const PNGBomb& form) {
        return [=] { return blackPNG(size, form); };
    };
    const auto beside = [](auto chunks) { return [=] { return smallPNGBeside(chunks()); }; };
    return {
        {"PNG, 64,000,000 x 1", black({64'000'000, 1}, {.bitDepth = 1}), Outcome::nothing},
        {"PNG, 1 x 64,000,000", black({1, 64'000'000}, {.bitDepth = 1}), Outcome::nothing},
        {"PNG, interlaced, 16,000,000 x 1", black({16'000'000, 1}, {.bitDepth = 1, .interlaced = true}),
         Outcome::nothing},
        {"PNG, interlaced, 1 x 16,000,000", black({1, 16'000'000}, {.bitDepth = 1, .interlaced = true}),
         Outcome::nothing},
        {"PNG, 32,768 x 1", black({32'768, 1}, {}), Outcome::nothing},
        {"PNG, 1 x 32,768", black({1, 32'768}, {}), Outcome::nothing},
        {"PNG, 32,767 x 1, 16 bits", black({32'767, 1}, {16, PNGColors::rgba}), Outcome::picture},
        {"PNG, 1 x 32,767, 16 bits", black({1, 32'767}, {16, PNGColors::rgba}), Outcome::picture},
        {"PNG, interlaced, 32,767 x 488, 16 bits", black({32'767, 488}, {16, PNGColors::rgba, true}),
         Outcome::picture, true},
        {"PNG, interlaced, 488 x 32,767, palette", black({488, 32'767}, {8, PNGColors::palette, true}),
         Outcome::picture, true},
        {"PNG, 32,767 x 1,953, palette", black({32'767, 1953}, {8, PNGColors::palette}), Outcome::picture,
         true},
        {"PNG, iCCP", beside([] { return compressedNote("iCCP", "x\0\0"s); }), Outcome::picture},
        {"PNG, zTXt", beside([] { return compressedNote("zTXt", "x\0\0"s); }), Outcome::picture},
        {"PNG, iTXt", beside([] { return compressedNote("iTXt", "x\0\1\0\0\0"s); }), Outcome::picture},
        {"PNG, 500,000 texts", beside([] { return repeated(pngChunk("tEXt", "x\0y"s), 500'000); }),
         Outcome::picture},
        {"PNG, a text of 7 MiB", beside([] { return pngChunk("tEXt", "x\0"s + std::string(7u << 20, 'y')); }),
         Outcome::picture},
        {"PNG, suggested palettes", beside([] {
             std::string chunks;
             for (int i = 0; i < 60; ++i)
                 chunks += pngChunk("sPLT", std::to_string(i) + "\0\10"s + std::string(60'000, 'x'));
             return chunks;
         }),
         Outcome::picture},
        {"PNG, animated", beside([] {
             return pngChunk("acTL", std::string(8, '\1')) +
                    repeated(pngChunk("fcTL", std::string(26, '\1')) + pngChunk("fdAT", std::string(99, 'x')),
                             40'000);
         }),
         Outcome::picture},
    };
}

std::vector<PictureBomb> jpegBombs() {
    const auto plain = [](PixelSize size, const JPEGFileOptions& form) {
        return [=] { return plainJPEG(size, form); };
    };
    const auto scans = [](PixelSize size, std::size_t times) {
        return [=] { return withScansRepeated(plainJPEG(size, {.progressive = true}), times); };
    };
    const auto segments = [](auto made) {
        return [=] { return withSegments(plainJPEG({24, 16}, {}), made()); };
    };
    const auto photo = [](PixelSize size, const JPEGFileOptions& form) {
        return [=] { return jpegFile(photograph(size), form); };
    };
    const JPEGFileOptions progressive{.progressive = true}, arithmetic{.arithmetic = true};
    const JPEGFileOptions fine{.quality = 100, .progressive = true, .sampling = {1, 1}};
    return {
        {"JPEG, 65,500 x 1", plain({65'500, 1}, {}), Outcome::nothing},
        {"JPEG, 1 x 65,500, in scans", plain({1, 65'500}, progressive), Outcome::nothing},
        {"JPEG, 32,767 x 1", plain({32'767, 1}, {}), Outcome::picture},
        {"JPEG, 32,767 x 1, turned",
         [] {
             return plainJPEG({32'767, 1}, {.exif = orientationNote(6, {.imageWidth = 640})});
         },
         Outcome::picture},
        {"JPEG, 32,767 x 32, in scans", plain({32'767, 32}, progressive), Outcome::picture},
        {"JPEG, 32 x 32,767, in scans", plain({32, 32'767}, progressive), Outcome::picture},
        {"JPEG, 32,767 x 64, sampled 4 x 2", plain({32'767, 64}, {.progressive = true, .sampling = {4, 2}}),
         Outcome::picture},
        {"JPEG, 12 megapixels", photo({4000, 3000}, {}), Outcome::picture, true},
        {"JPEG, 12 megapixels, in scans", photo({4000, 3000}, progressive), Outcome::picture, true},
        {"JPEG, 4 megapixels, in scans, fine", photo({2300, 1700}, fine), Outcome::picture, true},
        {"JPEG, 16 megapixels, arithmetic, in scans",
         plain({4000, 4000}, {.progressive = true, .arithmetic = true}), Outcome::picture, true},
        {"JPEG, 16 megapixels, arithmetic", plain({4000, 4000}, arithmetic), Outcome::picture, true},
        {"JPEG, 50 scans of 16 megapixels", scans({4000, 4000}, 50), Outcome::nothing, true},
        {"JPEG, 500 scans", scans({24, 16}, 500), Outcome::nothing},
        {"JPEG, 50 scans", scans({24, 16}, 50), Outcome::picture},
        {"JPEG, 1,900,000 notes", segments([] { return repeated(jpegSegment('\xE1', 0), 1'900'000); }),
         Outcome::picture},
        {"JPEG, 120 notes of 64 KB", segments([] { return repeated(jpegSegment('\xE1', 65'000), 120); }),
         Outcome::picture},
        {"JPEG, 120 profiles of 64 KB", segments([] { return repeated(jpegSegment('\xE2', 65'000), 120); }),
         Outcome::picture},
        {"JPEG, 1,900,000 comments", segments([] { return repeated(jpegSegment('\xFE', 0), 1'900'000); }),
         Outcome::picture},
    };
}

std::vector<PictureBomb> gifBombs() {
    return {
        {"GIF, a screen of 65,535 x 65,535",
         [] {
             return smallGIF({.screen = PixelSize{65'535, 65'535}});
         },
         Outcome::nothing},
        {"GIF, a screen of 65,535 x 1",
         [] {
             return smallGIF({.screen = PixelSize{65'535, 1}});
         },
         Outcome::nothing},
        {"GIF, a dot on 32,767 x 1,953",
         [] {
             return smallGIF({.screen = PixelSize{32'767, 1953}});
         },
         Outcome::picture, true},
        {"GIF, a dot on 1,953 x 32,767",
         [] {
             return smallGIF({.screen = PixelSize{1953, 32'767}});
         },
         Outcome::picture, true},
        {"GIF, 1,600,000 comments", [] { return gifWithExtensions("\x21\xFE\x01x\0"s, 1'600'000); },
         Outcome::picture},
        {"GIF, 1,000,000 controls", [] { return gifWithExtensions("\x21\xF9\4\0\0\0\0\0"s, 1'000'000); },
         Outcome::picture},
        {"GIF, a table cleared 20,000,000 times",
         [] {
             return gifOfClears({3000, 2800});
         },
         Outcome::nothing},
        {"GIF, 20,000 frames", [] { return smallGIF({.frames = 20'000}); }, Outcome::picture},
        {"GIF, 24 megapixels of one colour",
         [] {
             return gifFile(painted({6000, 4000}, [](int, int) { return Pixel{}; }));
         },
         Outcome::picture, true},
        {"GIF, interlaced, 32,767 x 488",
         [] {
             return gifFile(painted({32'767, 488}, [](int, int) { return Pixel{}; }), {.interlaced = true});
         },
         Outcome::picture, true},
    };
}

std::vector<PictureBomb> webpBombs() {
    const auto encoded = [](PixelSize size, WebPLoss loss) {
        return [=] { return webpFile(coarse(size), {.loss = loss}); };
    };
    const auto beside = [](const char* type, char flags) {
        return [=] {
            return extendedWebP(webpFile(coarse({24, 16}), {.loss = WebPLoss::lossy}), {24, 16}, flags,
                                webpChunk(type, std::string(7u << 20, 'x')));
        };
    };
    const auto lossless = WebPLoss::lossless, lossy = WebPLoss::lossy;
    return {
        {"WebP without loss, 6 megapixels", encoded({2500, 2500}, lossless), Outcome::nothing, true},
        {"WebP without loss, 3 megapixels", encoded({1700, 1700}, lossless), Outcome::picture},
        {"WebP without loss, 16,383 x 200", encoded({16'383, 200}, lossless), Outcome::picture},
        {"WebP without loss, 200 x 16,383", encoded({200, 16'383}, lossless), Outcome::picture},
        {"WebP without loss, 65,536 groups",
         [] {
             return webpOfGroups({1024, 1024}, 65'536);
         },
         Outcome::nothing},
        {"WebP without loss, 2,304 groups",
         [] {
             return webpOfGroups({192, 192}, 2304);
         },
         Outcome::nothing},
        {"WebP without loss, 600 groups",
         [] {
             return webpOfGroups({192, 192}, 600);
         },
         Outcome::picture},
        {"WebP, 16 megapixels", encoded({4000, 4000}, lossy), Outcome::picture, true},
        {"WebP, 16,383 x 100", encoded({16'383, 100}, lossy), Outcome::picture},
        {"WebP with alpha, 16 megapixels",
         [] {
             return webpFile(translucent({4000, 4000}), {.loss = WebPLoss::lossy});
         },
         Outcome::nothing, true},
        {"WebP with alpha, 3 megapixels",
         [] {
             return webpFile(translucent({2000, 1500}), {.loss = WebPLoss::lossy});
         },
         Outcome::picture},
        {"WebP whose alpha has 65,536 groups",
         [] {
             constexpr PixelSize size{1024, 1024};
             return extendedWebP(webpFile(coarse(size), {.loss = WebPLoss::lossy}), size, 0x10,
                                 webpChunk("ALPH", "\1" + streamOfGroups(size, 65'536, false)));
         },
         Outcome::nothing},
        {"WebP with a profile of 7 MiB", beside("ICCP", 0x20), Outcome::picture},
        {"WebP with a note of 7 MiB", beside("EXIF", 0x08), Outcome::picture},
        {"WebP, animated", beside("ANIM", 0x02), Outcome::nothing},
    };
}

std::string webpOfGroups(PixelSize size, int groups) {
    return webpFile(webpChunk("VP8L", streamOfGroups(size, groups, true)));
}

}  // namespace tests
