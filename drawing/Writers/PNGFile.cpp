// SPDX-License-Identifier: Apache-2.0

#include "drawing/Writers/PNGFile.hpp"

#include <span>

namespace drawing {

namespace {

struct Pass {
    int left, top, stepX, stepY;
};

constexpr Pass wholePicture[] = {{0, 0, 1, 1}};
constexpr Pass adam7[] = {{0, 0, 8, 8}, {4, 0, 8, 8}, {0, 4, 4, 8}, {2, 0, 4, 4},
                          {0, 2, 2, 4}, {1, 0, 2, 2}, {0, 1, 1, 2}};

/// Samples of one row, packed as the header says.
class Samples {
  public:
    Samples(std::string& bytes, int bitDepth) : bytes_(bytes), bitDepth_(bitDepth) {}

    void add(std::uint8_t value) {
        if (bitDepth_ == 16) {
            bytes_ += {char(value), char(value)};  // 257 times the 8-bit value
            return;
        }
        bits_ = bits_ << bitDepth_ | value;
        pending_ += bitDepth_;
        if (pending_ == 8) bytes_ += char(bits_), pending_ = 0;
    }
    void end() {
        if (pending_ > 0) bytes_ += char(bits_ << (8 - pending_));
    }

  private:
    std::string& bytes_;
    int bitDepth_;
    unsigned bits_ = 0;
    int pending_ = 0;
};

/// Rows of every pass, each behind the mark of "no filter". `addPixel(samples, index)` adds one pixel's
/// samples.
template <typename AddPixel>
std::string scanlines(PixelSize size, const PNGFileOptions& options, AddPixel addPixel) {
    std::string bytes;
    const auto addPass = [&](const Pass& pass) {
        if (pass.left >= size.width) return;
        for (int y = pass.top; y < size.height; y += pass.stepY) {
            bytes += '\0';
            Samples samples(bytes, options.bitDepth);
            for (int x = pass.left; x < size.width; x += pass.stepX)
                addPixel(samples, std::size_t(y) * std::size_t(size.width) + std::size_t(x));
            samples.end();
        }
    };
    const auto passes =
        options.interlaced ? std::span<const Pass>(adam7) : std::span<const Pass>(wholePicture);
    for (const Pass& pass : passes) addPass(pass);
    return bytes;
}

void addPixel(Samples& samples, const Pixel& pixel, PNGColors colors) {
    switch (colors) {
        case PNGColors::palette: break;
        case PNGColors::gray: samples.add(pixel.green); break;
        case PNGColors::grayAlpha: samples.add(pixel.green), samples.add(pixel.alpha); break;
        case PNGColors::rgb: samples.add(pixel.red), samples.add(pixel.green), samples.add(pixel.blue); break;
        case PNGColors::rgba:
            samples.add(pixel.red), samples.add(pixel.green), samples.add(pixel.blue);
            samples.add(pixel.alpha);
            break;
    }
}

std::string assembled(PixelSize size, PNGColors colors, const PNGFileOptions& options,
                      const std::string& palette, const std::string& lines) {
    std::string file(pngSignature());
    file += pngHeaderChunk(size, options.bitDepth, colors, options.interlaced) + options.beside + palette;
    return file + pngChunk("IDAT", deflated(lines, options.compression)) + pngChunk("IEND", {});
}

}  // namespace

std::string pngFile(const StraightBitmap& bitmap, const PNGFileOptions& options) {
    if (options.colors == PNGColors::palette) return pngFile(PalettedBitmap::exact(bitmap), options);
    const std::string lines = scanlines(bitmap.size, options, [&](Samples& samples, std::size_t index) {
        addPixel(samples, bitmap.pixels[index], options.colors);
    });
    return assembled(bitmap.size, options.colors, options, {}, lines);
}

std::string pngFile(const PalettedBitmap& bitmap, const PNGFileOptions& options) {
    std::string colors, opacities;
    for (const Pixel& color : bitmap.palette) {
        colors += {char(color.red), char(color.green), char(color.blue)};
        opacities += char(color.alpha);
    }
    const std::string lines = scanlines(bitmap.size, options, [&](Samples& samples, std::size_t index) {
        samples.add(bitmap.indices[index]);
    });
    return assembled(bitmap.size, PNGColors::palette, options,
                     pngChunk("PLTE", colors) + pngChunk("tRNS", opacities), lines);
}

std::string hollowPNGFile(PixelSize size, const PNGFileOptions& options) {
    return assembled(size, options.colors, options, {}, std::string(1024, '\0'));
}

}  // namespace drawing
