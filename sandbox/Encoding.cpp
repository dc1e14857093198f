#include "sandbox/Encoding.hpp"

#include <gif_lib.h>
#include <webp/encode.h>
#include <zlib.h>

// libjpeg's header needs <cstdio> before it.
#include <cstdio>
#include <cstdlib>

#include <jpeglib.h>

#include <algorithm>
#include <map>
#include <vector>

#include "sandbox/Error.hpp"

namespace sandbox {
namespace {

// Colours of a palette

struct PalettedBitmap {
    std::vector<Pixel> palette;
    std::vector<std::uint8_t> indices;
};

int distance(const Pixel& one, const Pixel& other) {
    int sum = 0;
    for (std::size_t channel = 0; channel < one.size(); ++channel) {
        const int difference = one[channel] - other[channel];
        sum += difference * difference;
    }
    return sum;
}

/// The sixteen levels of each channel make boxes; the fullest boxes give the palette, and every box its
/// nearest entry. Enough for flat drawings.
PalettedBitmap paletted(const Bitmap& bitmap, std::size_t limit) {
    const auto boxOf = [](const Pixel& pixel) {
        return static_cast<std::uint32_t>((pixel[0] >> 4) << 12 | (pixel[1] >> 4) << 8 |
                                          (pixel[2] >> 4) << 4 | pixel[3] >> 4);
    };
    struct Box {
        std::uint64_t count = 0;
        std::array<std::uint64_t, 4> sums = {};
        Pixel mean() const {
            return {static_cast<std::uint8_t>(sums[0] / count), static_cast<std::uint8_t>(sums[1] / count),
                    static_cast<std::uint8_t>(sums[2] / count), static_cast<std::uint8_t>(sums[3] / count)};
        }
    };
    std::map<std::uint32_t, Box> boxes;
    for (const Pixel& pixel : bitmap.pixels) {
        Box& box = boxes[boxOf(pixel)];
        ++box.count;
        for (std::size_t channel = 0; channel < pixel.size(); ++channel) box.sums[channel] += pixel[channel];
    }
    std::vector<Box> fullest;
    for (const auto& [code, box] : boxes) fullest.push_back(box);
    std::sort(fullest.begin(), fullest.end(),
              [](const Box& one, const Box& other) { return one.count > other.count; });
    fullest.resize(std::min(fullest.size(), limit));

    PalettedBitmap result;
    for (const Box& box : fullest) result.palette.push_back(box.mean());
    std::map<std::uint32_t, std::uint8_t> nearest;
    for (const auto& [code, box] : boxes) {
        const Pixel mean = box.mean();
        const auto found = std::min_element(result.palette.begin(), result.palette.end(),
                                            [&mean](const Pixel& one, const Pixel& other) {
                                                return distance(one, mean) < distance(other, mean);
                                            });
        nearest[code] = static_cast<std::uint8_t>(found - result.palette.begin());
    }
    result.indices.reserve(bitmap.pixels.size());
    for (const Pixel& pixel : bitmap.pixels) result.indices.push_back(nearest[boxOf(pixel)]);
    return result;
}

// PNG, by the letter of RFC 2083

constexpr std::string_view pngSignature = "\x89PNG\r\n\x1a\n";

enum class PNGColour : std::uint8_t { palette = 3, truecolourWithAlpha = 6 };

std::string bigEndian(std::uint32_t number) {
    return {static_cast<char>(number >> 24), static_cast<char>(number >> 16), static_cast<char>(number >> 8),
            static_cast<char>(number)};
}

std::string chunk(std::string_view type, std::string_view data) {
    std::string body = std::string(type) + std::string(data);
    const auto checksum =
        crc32(0, reinterpret_cast<const Bytef*>(body.data()), static_cast<uInt>(body.size()));
    return bigEndian(static_cast<std::uint32_t>(data.size())) + body +
           bigEndian(static_cast<std::uint32_t>(checksum));
}

std::string headerChunk(std::uint32_t width, std::uint32_t height, int depth, PNGColour colour,
                        bool interlaced) {
    std::string data = bigEndian(width) + bigEndian(height);
    data += {static_cast<char>(depth), static_cast<char>(colour), '\0', '\0', static_cast<char>(interlaced)};
    return chunk("IHDR", data);
}

std::string deflated(const std::string& plain) {
    uLongf length = compressBound(static_cast<uLong>(plain.size()));
    std::string packed(length, '\0');
    compress2(reinterpret_cast<Bytef*>(packed.data()), &length, reinterpret_cast<const Bytef*>(plain.data()),
              static_cast<uLong>(plain.size()), Z_BEST_SPEED);
    packed.resize(length);
    return packed;
}

struct Pass {
    int firstColumn;
    int firstRow;
    int columnStep;
    int rowStep;
};

constexpr Pass wholePicture[] = {{0, 0, 1, 1}};
constexpr Pass adam7[] = {{0, 0, 8, 8}, {4, 0, 8, 8}, {0, 4, 4, 8}, {2, 0, 4, 4},
                          {0, 2, 2, 4}, {1, 0, 2, 2}, {0, 1, 1, 2}};

/// Rows of every pass, each behind the mark of "no filter".
template <typename AppendPixel>
std::string scanlines(const Bitmap& bitmap, bool interlaced, AppendPixel appendPixel) {
    std::string lines;
    const Pass* first = interlaced ? std::begin(adam7) : std::begin(wholePicture);
    const Pass* last = interlaced ? std::end(adam7) : std::end(wholePicture);
    for (const Pass* pass = first; pass != last; ++pass) {
        if (pass->firstColumn >= bitmap.width) continue;
        for (int row = pass->firstRow; row < bitmap.height; row += pass->rowStep) {
            lines += '\0';
            for (int column = pass->firstColumn; column < bitmap.width; column += pass->columnStep) {
                appendPixel(lines, static_cast<std::size_t>(row) * static_cast<std::size_t>(bitmap.width) +
                                       static_cast<std::size_t>(column));
            }
        }
    }
    return lines;
}

std::string png(const Bitmap& bitmap, int depth, bool interlaced) {
    const std::string lines = scanlines(bitmap, interlaced, [&](std::string& line, std::size_t index) {
        for (const std::uint8_t channel : bitmap.pixels[index]) {
            line.append(static_cast<std::size_t>(depth / 8), static_cast<char>(channel));
        }
    });
    return std::string(pngSignature) +
           headerChunk(static_cast<std::uint32_t>(bitmap.width), static_cast<std::uint32_t>(bitmap.height),
                       depth, PNGColour::truecolourWithAlpha, interlaced) +
           chunk("IDAT", deflated(lines)) + chunk("IEND", {});
}

std::string palettePNG(const Bitmap& bitmap) {
    const PalettedBitmap reduced = paletted(bitmap, 256);
    std::string colours;
    std::string alphas;
    for (const Pixel& entry : reduced.palette) {
        colours += {static_cast<char>(entry[0]), static_cast<char>(entry[1]), static_cast<char>(entry[2])};
        alphas += static_cast<char>(entry[3]);
    }
    const std::string lines = scanlines(bitmap, false, [&](std::string& line, std::size_t index) {
        line += static_cast<char>(reduced.indices[index]);
    });
    return std::string(pngSignature) +
           headerChunk(static_cast<std::uint32_t>(bitmap.width), static_cast<std::uint32_t>(bitmap.height), 8,
                       PNGColour::palette, false) +
           chunk("PLTE", colours) + chunk("tRNS", alphas) + chunk("IDAT", deflated(lines)) +
           chunk("IEND", {});
}

// JPEG

Bitmap turned(const Bitmap& upright, int orientation) {
    const bool onItsSide = orientation >= 5;
    Bitmap stored{.width = onItsSide ? upright.height : upright.width,
                  .height = onItsSide ? upright.width : upright.height,
                  .pixels = {}};
    stored.pixels.reserve(upright.pixels.size());
    const int right = upright.width - 1;
    const int bottom = upright.height - 1;
    for (int row = 0; row < stored.height; ++row) {
        for (int column = 0; column < stored.width; ++column) {
            switch (orientation) {
                case 2: stored.pixels.push_back(upright.at(right - column, row)); break;
                case 3: stored.pixels.push_back(upright.at(right - column, bottom - row)); break;
                case 4: stored.pixels.push_back(upright.at(column, bottom - row)); break;
                case 5: stored.pixels.push_back(upright.at(row, column)); break;
                case 6: stored.pixels.push_back(upright.at(right - row, column)); break;
                case 7: stored.pixels.push_back(upright.at(right - row, bottom - column)); break;
                case 8: stored.pixels.push_back(upright.at(row, bottom - column)); break;
                default: stored.pixels.push_back(upright.at(column, row)); break;
            }
        }
    }
    return stored;
}

/// The smallest EXIF block that holds an orientation: a big-endian TIFF header and one directory with one
/// entry.
std::string exifWithOrientation(int orientation) {
    using namespace std::string_view_literals;
    std::string block("Exif\0\0MM\0\x2a\0\0\0\x08\0\x01"sv);
    block += "\x01\x12\0\x03\0\0\0\x01\0"sv;
    block += static_cast<char>(orientation);
    block += "\0\0\0\0\0\0"sv;
    return block;
}

std::string jpeg(const Bitmap& upright, int orientation, bool progressive) {
    const Bitmap bitmap = turned(upright, orientation);
    jpeg_compress_struct compressor = {};
    jpeg_error_mgr errors = {};
    compressor.err = jpeg_std_error(&errors);
    jpeg_create_compress(&compressor);
    unsigned char* buffer = nullptr;
    unsigned long length = 0;
    jpeg_mem_dest(&compressor, &buffer, &length);
    compressor.image_width = static_cast<JDIMENSION>(bitmap.width);
    compressor.image_height = static_cast<JDIMENSION>(bitmap.height);
    compressor.input_components = 3;
    compressor.in_color_space = JCS_RGB;
    jpeg_set_defaults(&compressor);
    jpeg_set_quality(&compressor, 88, TRUE);
    if (progressive) jpeg_simple_progression(&compressor);
    jpeg_start_compress(&compressor, TRUE);
    if (orientation != 1) {
        const std::string exif = exifWithOrientation(orientation);
        jpeg_write_marker(&compressor, JPEG_APP0 + 1, reinterpret_cast<const JOCTET*>(exif.data()),
                          static_cast<unsigned>(exif.size()));
    }
    std::vector<JSAMPLE> line(static_cast<std::size_t>(bitmap.width) * 3);
    for (int row = 0; row < bitmap.height; ++row) {
        for (int column = 0; column < bitmap.width; ++column) {
            const Pixel& pixel = bitmap.at(column, row);
            std::copy_n(pixel.begin(), 3, line.begin() + std::ptrdiff_t{column} * 3);
        }
        JSAMPROW rows[] = {line.data()};
        jpeg_write_scanlines(&compressor, rows, 1);
    }
    jpeg_finish_compress(&compressor);
    jpeg_destroy_compress(&compressor);
    std::string file(reinterpret_cast<const char*>(buffer), length);
    std::free(buffer);
    return file;
}

// WebP and GIF

std::string webp(const Bitmap& bitmap, bool lossless) {
    uint8_t* buffer = nullptr;
    const auto* pixels = reinterpret_cast<const uint8_t*>(bitmap.pixels.data());
    const int stride = bitmap.width * 4;
    const std::size_t length =
        lossless ? WebPEncodeLosslessRGBA(pixels, bitmap.width, bitmap.height, stride, &buffer)
                 : WebPEncodeRGBA(pixels, bitmap.width, bitmap.height, stride, 85, &buffer);
    if (length == 0) throw Error("the picture cannot be written as WebP");
    std::string file(reinterpret_cast<const char*>(buffer), length);
    WebPFree(buffer);
    return file;
}

int appendToString(GifFileType* gif, const GifByteType* bytes, int length) {
    static_cast<std::string*>(gif->UserData)
        ->append(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(length));
    return length;
}

/// Two frames, the second of one colour: who shows it has not taken the first.
std::string gif(const Bitmap& bitmap) {
    const PalettedBitmap reduced = paletted(bitmap, 256);
    std::vector<GifColorType> colours(256, GifColorType{0, 0, 0});
    std::transform(reduced.palette.begin(), reduced.palette.end(), colours.begin(), [](const Pixel& pixel) {
        return GifColorType{pixel[0], pixel[1], pixel[2]};
    });
    std::string file;
    int error = 0;
    GifFileType* writer = EGifOpen(&file, appendToString, &error);
    if (writer == nullptr) throw Error("the picture cannot be written as GIF");
    EGifSetGifVersion(writer, true);
    ColorMapObject* map = GifMakeMapObject(256, colours.data());
    EGifPutScreenDesc(writer, bitmap.width, bitmap.height, 8, 0, map);
    std::vector<GifByteType> line(static_cast<std::size_t>(bitmap.width));
    for (const bool isFirstFrame : {true, false}) {
        const GifByteType control[] = {0, 50, 0, 0};
        EGifPutExtension(writer, GRAPHICS_EXT_FUNC_CODE, sizeof control, control);
        EGifPutImageDesc(writer, 0, 0, bitmap.width, bitmap.height, false, nullptr);
        for (int row = 0; row < bitmap.height; ++row) {
            if (isFirstFrame) {
                std::copy_n(reduced.indices.begin() + std::ptrdiff_t{row} * bitmap.width, line.size(),
                            line.begin());
            } else {
                std::fill(line.begin(), line.end(), GifByteType{0});
            }
            EGifPutLine(writer, line.data(), bitmap.width);
        }
    }
    GifFreeMapObject(map);
    EGifCloseFile(writer, &error);
    return file;
}

}  // namespace

std::string_view mediaType(PictureForm form) {
    switch (form) {
        case PictureForm::png:
        case PictureForm::pngPalette:
        case PictureForm::png16:
        case PictureForm::pngInterlaced: return "image/png";
        case PictureForm::jpeg:
        case PictureForm::jpegProgressive: return "image/jpeg";
        case PictureForm::webp:
        case PictureForm::webpLossless: return "image/webp";
        case PictureForm::gif: return "image/gif";
    }
    return {};
}

std::string encoded(const Bitmap& bitmap, const PictureEncoding& encoding) {
    switch (encoding.form) {
        case PictureForm::png: return png(bitmap, 8, false);
        case PictureForm::pngPalette: return palettePNG(bitmap);
        case PictureForm::png16: return png(bitmap, 16, false);
        case PictureForm::pngInterlaced: return png(bitmap, 8, true);
        case PictureForm::jpeg: return jpeg(bitmap, encoding.orientation, false);
        case PictureForm::jpegProgressive: return jpeg(bitmap, encoding.orientation, true);
        case PictureForm::webp: return webp(bitmap, false);
        case PictureForm::webpLossless: return webp(bitmap, true);
        case PictureForm::gif: return gif(bitmap);
    }
    return {};
}

std::string hollowPNG(std::uint32_t width, std::uint32_t height) {
    return std::string(pngSignature) + headerChunk(width, height, 8, PNGColour::truecolourWithAlpha, false) +
           chunk("IDAT", deflated(std::string(1024, '\0'))) + chunk("IEND", {});
}

}  // namespace sandbox
