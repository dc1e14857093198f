#include "tests/drawing/PictureFiles.hpp"

#include <cstdio>

#include <jpeglib.h>

#include <gif_lib.h>
#include <webp/encode.h>
#include <zlib.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>
#include <stdexcept>

namespace tests {

using drawing::PixelSize;

namespace {

template <typename Integer>
void appendBigEndian(std::string& bytes, Integer value) {
    for (int shift = int(sizeof value) * 8 - 8; shift >= 0; shift -= 8) bytes += char(value >> shift & 255);
}

std::vector<jpeg_scan_info> scanScript(const std::vector<JPEGScan>& scans) {
    std::vector<jpeg_scan_info> script;
    for (const JPEGScan& scan : scans) {
        jpeg_scan_info info = {
            int(scan.components.size()), {}, scan.first, scan.last, scan.bitsBefore, scan.bits};
        std::copy(scan.components.begin(), scan.components.end(), info.component_index);
        script.push_back(info);
    }
    return script;
}

}  // namespace

Picture photograph(PixelSize size) {
    std::uint32_t random = 1;
    return painted(size, [&](int x, int y) {
        random = random * 1664525u + 1013904223u;
        const double u = double(x) / size.width, v = double(y) / size.height;
        const int grain = int(random >> 24) % 17 - 8;
        const auto tone = [&](double a, double b) {
            return std::uint8_t(
                std::clamp(128 + 90 * std::sin(a * u + b * v) * std::cos(b * u - a * v) + grain, 0.0, 255.0));
        };
        return Pixel{tone(9, 4), tone(5, 11), tone(3, 7), 255};
    });
}

std::string jpeg(const Picture& picture, const JPEGForm& form) {
    jpeg_compress_struct info = {};
    jpeg_error_mgr errors;
    info.err = jpeg_std_error(&errors);
    jpeg_create_compress(&info);
    unsigned char* buffer = nullptr;
    unsigned long length = 0;
    jpeg_mem_dest(&info, &buffer, &length);
    info.image_width = JDIMENSION(picture.size.width);
    info.image_height = JDIMENSION(picture.size.height);
    const bool inks = form.colors == JPEGColors::cmykInks || form.colors == JPEGColors::yccInks;
    info.input_components = inks ? 4 : form.colors == JPEGColors::gray ? 1 : 3;
    info.in_color_space = inks ? JCS_CMYK : form.colors == JPEGColors::gray ? JCS_GRAYSCALE : JCS_RGB;
    jpeg_set_defaults(&info);
    if (form.colors == JPEGColors::yccInks) jpeg_set_colorspace(&info, JCS_YCCK);
    if (form.colors == JPEGColors::cmykInks) info.write_Adobe_marker = FALSE;
    jpeg_set_quality(&info, form.quality, TRUE);
    if (!inks && form.colors != JPEGColors::gray) {
        info.comp_info[0].h_samp_factor = form.sampling.width;
        info.comp_info[0].v_samp_factor = form.sampling.height;
    }
    info.restart_interval = form.restartInterval;
    if (form.progressive) jpeg_simple_progression(&info);
    const std::vector<jpeg_scan_info> scans = scanScript(form.scans);
    if (!scans.empty()) info.scan_info = scans.data(), info.num_scans = int(scans.size());
    info.arith_code = form.arithmetic;
    jpeg_start_compress(&info, TRUE);
    if (!form.exif.empty())
        jpeg_write_marker(&info, JPEG_APP0 + 1, reinterpret_cast<const JOCTET*>(form.exif.data()),
                          unsigned(form.exif.size()));
    std::vector<std::uint8_t> row;
    for (int y = 0; y < picture.size.height; ++y) {
        row.clear();
        for (int x = 0; x < picture.size.width; ++x) {
            const Pixel& pixel = picture.at(x, y);
            if (form.colors == JPEGColors::gray)
                row.push_back(pixel.green);
            else if (form.colors == JPEGColors::cmykInks)  // no Adobe mark: 0 is no ink
                row.insert(row.end(), {std::uint8_t(255 - pixel.red), std::uint8_t(255 - pixel.green),
                                       std::uint8_t(255 - pixel.blue), 0});
            else if (form.colors == JPEGColors::yccInks)  // with it: 255 is no ink
                row.insert(row.end(), {pixel.red, pixel.green, pixel.blue, 255});
            else
                row.insert(row.end(), {pixel.red, pixel.green, pixel.blue});
        }
        JSAMPROW rows[] = {row.data()};
        jpeg_write_scanlines(&info, rows, 1);
    }
    jpeg_finish_compress(&info);
    jpeg_destroy_compress(&info);
    std::string bytes(reinterpret_cast<char*>(buffer), length);
    std::free(buffer);
    return bytes;
}

drawing::Bitmap decodedByLibjpeg(std::string_view bytes) {
    jpeg_decompress_struct info = {};
    jpeg_error_mgr errors;
    info.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&info);
    jpeg_mem_src(&info, reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
    jpeg_read_header(&info, TRUE);
    info.out_color_space = JCS_EXT_BGRA;
    info.do_block_smoothing = FALSE;
    jpeg_start_decompress(&info);
    auto bitmap = drawing::Bitmap::transparent({int(info.output_width), int(info.output_height)});
    for (int y = 0; y < bitmap.height(); ++y) {
        auto* row = reinterpret_cast<JSAMPROW>(bitmap.row(y));
        jpeg_read_scanlines(&info, &row, 1);
    }
    jpeg_finish_decompress(&info);
    jpeg_destroy_decompress(&info);
    return bitmap;
}

std::string exifNoting(int orientation, std::string_view byteOrder) {
    using namespace std::string_literals;
    const bool big = byteOrder == "MM";
    const auto number = [&](int value, int length) {
        std::string bytes(std::size_t(length), '\0');
        for (int i = 0; i < length; ++i)
            bytes[std::size_t(big ? length - 1 - i : i)] = char(value >> 8 * i & 255);
        return bytes;
    };
    const auto entry = [&](int tag, int type, const std::string& value) {
        return number(tag, 2) + number(type, 2) + number(1, 4) + value;
    };
    return "Exif\0\0"s + std::string(byteOrder) + number(42, 2) + number(8, 4) + number(2, 2) +
           entry(0x0100, 4, number(640, 4)) + entry(0x0112, 3, number(orientation, 2) + number(0, 2)) +
           number(0, 4);
}

std::string pngChunk(std::string_view type, std::string_view contents) {
    std::string body(type);
    body += contents;
    std::string chunk;
    appendBigEndian(chunk, std::uint32_t(contents.size()));
    chunk += body;
    appendBigEndian(chunk,
                    std::uint32_t(crc32(0, reinterpret_cast<const Bytef*>(body.data()), uInt(body.size()))));
    return chunk;
}

std::string pngSignature() {
    return "\x89PNG\r\n\x1A\n";
}

std::string pngHeaderChunk(PixelSize size, int bitDepth, int colorType, bool interlaced) {
    std::string header;
    appendBigEndian(header, std::uint32_t(size.width));
    appendBigEndian(header, std::uint32_t(size.height));
    header += {char(bitDepth), char(colorType), 0, 0, char(interlaced)};
    return pngChunk("IHDR", header);
}

std::string deflated(std::string_view bytes) {
    uLongf length = compressBound(uLong(bytes.size()));
    std::string out(length, '\0');
    compress2(reinterpret_cast<Bytef*>(out.data()), &length, reinterpret_cast<const Bytef*>(bytes.data()),
              uLong(bytes.size()), 6);
    out.resize(length);
    return out;
}

std::string png(const Picture& picture, const PNGForm& form) {
    std::vector<Pixel> palette;
    const auto indexOf = [&](const Pixel& pixel) {
        const auto index = std::size_t(std::find(palette.begin(), palette.end(), pixel) - palette.begin());
        if (index == palette.size()) palette.push_back(pixel);
        return int(index);
    };
    /// Samples of one pass's rows, packed as the header says; every row begins with filter 0.
    const auto rows = [&](int left, int top, int stepX, int stepY) {
        std::string bytes;
        for (int y = top; y < picture.size.height; y += stepY) {
            if (left >= picture.size.width) break;
            bytes += '\0';
            unsigned bits = 0;
            int pending = 0;
            const auto sample = [&](int value) {
                if (form.bitDepth == 16) {
                    bytes += {char(value), char(value)};  // 257 times the 8-bit value
                    return;
                }
                bits = bits << form.bitDepth | unsigned(value);
                pending += form.bitDepth;
                if (pending == 8) bytes += char(bits), pending = 0;
            };
            for (int x = left; x < picture.size.width; x += stepX) {
                const Pixel& pixel = picture.at(x, y);
                switch (form.colors) {
                    case PNGColors::palette: sample(indexOf(pixel)); break;
                    case PNGColors::gray: sample(pixel.green); break;
                    case PNGColors::grayAlpha: sample(pixel.green), sample(pixel.alpha); break;
                    case PNGColors::rgb: sample(pixel.red), sample(pixel.green), sample(pixel.blue); break;
                    case PNGColors::rgba:
                        sample(pixel.red), sample(pixel.green), sample(pixel.blue), sample(pixel.alpha);
                        break;
                }
            }
            if (pending) bytes += char(bits << (8 - pending));
        }
        return bytes;
    };
    std::string raw;
    if (form.interlaced) {
        constexpr int adam7[][4] = {{0, 0, 8, 8}, {4, 0, 8, 8}, {0, 4, 4, 8}, {2, 0, 4, 4},
                                    {0, 2, 2, 4}, {1, 0, 2, 2}, {0, 1, 1, 2}};
        for (const auto& pass : adam7) raw += rows(pass[0], pass[1], pass[2], pass[3]);
    } else {
        raw = rows(0, 0, 1, 1);
    }
    std::string file = pngSignature() +
                       pngHeaderChunk(picture.size, form.bitDepth, int(form.colors), form.interlaced) +
                       form.beside;
    if (form.colors == PNGColors::palette) {
        std::string colors, opacities;
        for (const Pixel& color : palette) {
            colors += {char(color.red), char(color.green), char(color.blue)};
            opacities += char(color.alpha);
        }
        file += pngChunk("PLTE", colors) + pngChunk("tRNS", opacities);
    }
    return file + pngChunk("IDAT", deflated(raw)) + pngChunk("IEND", {});
}

std::string webp(const Picture& picture, WebPLoss loss) {
    const auto* rgba = reinterpret_cast<const std::uint8_t*>(picture.pixels.data());
    const auto [width, height] = picture.size;
    std::uint8_t* buffer = nullptr;
    const std::size_t length = loss == WebPLoss::lossless
                                   ? WebPEncodeLosslessRGBA(rgba, width, height, width * 4, &buffer)
                                   : WebPEncodeRGBA(rgba, width, height, width * 4, 85, &buffer);
    std::string bytes(reinterpret_cast<char*>(buffer), length);
    WebPFree(buffer);
    return bytes;
}

std::string losslessWebP(const Picture& picture, int effort) {
    WebPConfig config;
    WebPConfigInit(&config);
    WebPConfigLosslessPreset(&config, effort);
    WebPPicture source;
    WebPPictureInit(&source);
    source.use_argb = 1;
    source.width = picture.size.width;
    source.height = picture.size.height;
    WebPMemoryWriter writer;
    WebPMemoryWriterInit(&writer);
    source.writer = WebPMemoryWrite;
    source.custom_ptr = &writer;
    WebPPictureImportRGBA(&source, reinterpret_cast<const std::uint8_t*>(picture.pixels.data()),
                          picture.size.width * 4);
    WebPEncode(&config, &source);
    std::string bytes(reinterpret_cast<char*>(writer.mem), writer.size);
    WebPMemoryWriterClear(&writer);
    WebPPictureFree(&source);
    return bytes;
}

std::string gif(const Picture& picture, const GIFForm& form) {
    constexpr int transparent = 255;
    std::vector<Pixel> palette;
    std::vector<GifPixelType> indices;
    for (const Pixel& pixel : picture.pixels) {
        if (pixel.alpha == 0) {
            indices.push_back(transparent);
            continue;
        }
        const auto index = std::size_t(std::find(palette.begin(), palette.end(), pixel) - palette.begin());
        if (index == palette.size()) palette.push_back(pixel);
        indices.push_back(GifPixelType(index));
    }
    std::string bytes;
    int error = 0;
    GifFileType* file = EGifOpen(
        &bytes,
        [](GifFileType* open, const GifByteType* data, int length) {
            static_cast<std::string*>(open->UserData)
                ->append(reinterpret_cast<const char*>(data), std::size_t(length));
            return length;
        },
        &error);
    GifColorType colors[256] = {};
    for (std::size_t i = 0; i < palette.size(); ++i)
        colors[i] = {palette[i].red, palette[i].green, palette[i].blue};
    ColorMapObject* map = GifMakeMapObject(256, colors);
    const PixelSize screen = form.screen.value_or(picture.size);
    const auto [width, height] = picture.size;
    EGifSetGifVersion(file, true);
    EGifPutScreenDesc(file, screen.width, screen.height, 8, 0, map);
    for (int frame = 0; frame < form.frames; ++frame) {
        const GraphicsControlBlock control = {DISPOSAL_UNSPECIFIED, false, 5, transparent};
        GifByteType block[4];
        EGifGCBToExtension(&control, block);
        EGifPutExtension(file, GRAPHICS_EXT_FUNC_CODE, sizeof block, block);
        EGifPutImageDesc(file, form.left, form.top, width, height, form.interlaced, nullptr);
        std::vector<int> order;
        constexpr int passes[][2] = {{0, 8}, {4, 8}, {2, 4}, {1, 2}};
        for (const auto& pass : passes)
            for (int y = pass[0]; y < height; y += pass[1]) order.push_back(y);
        if (!form.interlaced) std::sort(order.begin(), order.end());
        std::vector<GifPixelType> black(std::size_t(width), GifPixelType(palette.size()));
        for (int y : order)
            EGifPutLine(file, frame ? black.data() : indices.data() + std::size_t(y) * std::size_t(width),
                        width);
    }
    GifFreeMapObject(map);
    EGifCloseFile(file, &error);
    return bytes;
}

}  // namespace tests
