// SPDX-License-Identifier: Apache-2.0

#include "drawing/Writers/JPEGFile.hpp"

// libjpeg's header needs <cstdio> before it.
#include <cstdio>

#include <jpeglib.h>

#include <algorithm>
#include <cstdlib>

namespace drawing {

namespace {

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

/// `script` must outlive the compression.
void configure(jpeg_compress_struct& info, PixelSize size, const JPEGFileOptions& options,
               const std::vector<jpeg_scan_info>& script) {
    const bool isGray = options.colors == JPEGColors::gray;
    const bool inks = options.colors == JPEGColors::cmykInks || options.colors == JPEGColors::yccInks;
    info.image_width = JDIMENSION(size.width);
    info.image_height = JDIMENSION(size.height);
    info.input_components = inks ? 4 : isGray ? 1 : 3;
    info.in_color_space = inks ? JCS_CMYK : isGray ? JCS_GRAYSCALE : JCS_RGB;
    jpeg_set_defaults(&info);
    if (options.colors == JPEGColors::yccInks) jpeg_set_colorspace(&info, JCS_YCCK);
    if (options.colors == JPEGColors::cmykInks) info.write_Adobe_marker = FALSE;
    jpeg_set_quality(&info, options.quality, TRUE);
    if (!inks && !isGray) {
        info.comp_info[0].h_samp_factor = options.sampling.width;
        info.comp_info[0].v_samp_factor = options.sampling.height;
    }
    info.restart_interval = options.restartInterval;
    if (options.progressive) jpeg_simple_progression(&info);
    if (!script.empty()) info.scan_info = script.data(), info.num_scans = int(script.size());
    info.arith_code = options.arithmetic;
}

void append(std::vector<JSAMPLE>& row, const Pixel& pixel, JPEGColors colors) {
    const auto inverted = [](std::uint8_t value) { return JSAMPLE(255 - value); };
    switch (colors) {
        case JPEGColors::gray: row.push_back(pixel.green); break;
        case JPEGColors::rgb: row.insert(row.end(), {pixel.red, pixel.green, pixel.blue}); break;
        case JPEGColors::yccInks:  // with an Adobe mark 255 is no ink
            row.insert(row.end(), {pixel.red, pixel.green, pixel.blue, 255});
            break;
        case JPEGColors::cmykInks:  // without it 0 is no ink
            row.insert(row.end(), {inverted(pixel.red), inverted(pixel.green), inverted(pixel.blue), 0});
            break;
    }
}

}  // namespace

std::string jpegFile(const StraightBitmap& bitmap, const JPEGFileOptions& options) {
    jpeg_compress_struct info = {};
    jpeg_error_mgr errors;
    info.err = jpeg_std_error(&errors);
    jpeg_create_compress(&info);
    unsigned char* buffer = nullptr;
    unsigned long length = 0;
    jpeg_mem_dest(&info, &buffer, &length);
    const std::vector<jpeg_scan_info> script = scanScript(options.scans);
    configure(info, bitmap.size, options, script);
    jpeg_start_compress(&info, TRUE);
    if (!options.exif.empty())
        jpeg_write_marker(&info, JPEG_APP0 + 1, reinterpret_cast<const JOCTET*>(options.exif.data()),
                          unsigned(options.exif.size()));
    std::vector<JSAMPLE> row;
    for (int y = 0; y < bitmap.size.height; ++y) {
        row.clear();
        for (int x = 0; x < bitmap.size.width; ++x) append(row, bitmap.at(x, y), options.colors);
        JSAMPROW rows[] = {row.data()};
        jpeg_write_scanlines(&info, rows, 1);
    }
    jpeg_finish_compress(&info);
    jpeg_destroy_compress(&info);
    std::string file(reinterpret_cast<char*>(buffer), length);
    std::free(buffer);
    return file;
}

}  // namespace drawing
