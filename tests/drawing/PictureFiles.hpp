#pragma once

// Writers of pictures in every form that the decoder reads, for its tests.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "drawing/Image/Bitmap.hpp"

namespace tests {

struct Pixel {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
    std::uint8_t alpha = 255;
    friend bool operator==(const Pixel&, const Pixel&) = default;
};

/// Not premultiplied.
struct Picture {
    drawing::PixelSize size;
    std::vector<Pixel> pixels;

    Pixel& at(int x, int y) { return pixels[std::size_t(y) * std::size_t(size.width) + std::size_t(x)]; }
    const Pixel& at(int x, int y) const {
        return pixels[std::size_t(y) * std::size_t(size.width) + std::size_t(x)];
    }
};

/// Each pixel is what `paint(x, y)` gives.
template <typename Paint>
Picture painted(drawing::PixelSize size, Paint paint) {
    Picture picture{size, {}};
    for (int y = 0; y < size.height; ++y)
        for (int x = 0; x < size.width; ++x) picture.pixels.push_back(paint(x, y));
    return picture;
}

/// Soft shapes and some noise, as a photograph has them.
Picture photograph(drawing::PixelSize size);

enum class JPEGColors { gray, rgb, yccInks, cmykInks };
/// What one scan of a progressive file says: of which components, which coefficients, and which of their
/// bits.
struct JPEGScan {
    std::vector<int> components;
    int first = 0;
    int last = 0;
    int bitsBefore = 0;  // the lowest bit that is known already; 0 when none is
    int bits = 0;        // the lowest bit that this scan says
};
struct JPEGForm {
    JPEGColors colors = JPEGColors::rgb;
    int quality = 90;
    bool progressive = false;
    bool arithmetic = false;
    drawing::PixelSize sampling = {2, 2};  // pixels that share a colour, 1 to 4 a side
    unsigned restartInterval = 0;
    std::vector<JPEGScan> scans = {};  // libjpeg's own script if empty
    std::string_view exif = {};        // the contents of an APP1 segment
};
std::string jpeg(const Picture& picture, const JPEGForm& form = {});

/// As libjpeg itself decodes it with nothing of ours, the scans that are missing left out.
drawing::Bitmap decodedByLibjpeg(std::string_view bytes);

/// An APP1 segment that notes `orientation`.
std::string exifNoting(int orientation, std::string_view byteOrder);

/// PNG, assembled chunk by chunk.
std::string pngChunk(std::string_view type, std::string_view contents);
std::string pngSignature();
std::string pngHeaderChunk(drawing::PixelSize size, int bitDepth, int colorType, bool interlaced);
std::string deflated(std::string_view bytes);

enum class PNGColors { gray = 0, rgb = 2, palette = 3, grayAlpha = 4, rgba = 6 };
struct PNGForm {
    PNGColors colors = PNGColors::rgba;
    int bitDepth = 8;  // 8 or 16; up to 8 for a palette
    bool interlaced = false;
    std::string beside = {};  // chunks between the header and the pixels
};
std::string png(const Picture& picture, const PNGForm& form = {});

enum class WebPLoss { lossless, lossy };
std::string webp(const Picture& picture, WebPLoss loss);
/// With an effort of 0 to 9, each of which packs by other means.
std::string losslessWebP(const Picture& picture, int effort);

struct GIFForm {
    bool interlaced = false;
    std::optional<drawing::PixelSize> screen = {};  // the frame's own size if absent
    int left = 0;
    int top = 0;
    int frames = 1;  // the further ones are black
};
/// At most 255 colours; pixels without opacity become the transparent index.
std::string gif(const Picture& picture, const GIFForm& form = {});

}  // namespace tests
