// SPDX-License-Identifier: Apache-2.0

#include "drawing/Writers/GIFFile.hpp"

#include <gif_lib.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace drawing {

namespace {

int append(GifFileType* file, const GifByteType* data, int length) {
    static_cast<std::string*>(file->UserData)
        ->append(reinterpret_cast<const char*>(data), std::size_t(length));
    return length;
}

/// In the order in which a file has them.
std::vector<int> rowOrder(int height, bool interlaced) {
    constexpr int passes[][2] = {{0, 8}, {4, 8}, {2, 4}, {1, 2}};
    std::vector<int> order;
    for (const auto& [first, step] : passes)
        for (int y = first; y < height; y += step) order.push_back(y);
    if (!interlaced) std::sort(order.begin(), order.end());
    return order;
}

/// The colour that stands for all that have no opacity.
std::optional<GifPixelType> transparentIndex(const std::vector<Pixel>& palette) {
    const auto found =
        std::find_if(palette.begin(), palette.end(), [](const Pixel& p) { return p.alpha == 0; });
    if (found == palette.end()) return std::nullopt;
    return GifPixelType(found - palette.begin());
}

bool putControl(GifFileType* file, std::optional<GifPixelType> transparent, int delay) {
    const GifByteType block[] = {GifByteType(transparent.has_value()), GifByteType(delay),
                                 GifByteType(delay >> 8), transparent.value_or(0)};
    return EGifPutExtension(file, GRAPHICS_EXT_FUNC_CODE, sizeof block, block) == GIF_OK;
}

bool putFrames(GifFileType* file, std::vector<GifPixelType> indices, PixelSize size,
               std::optional<GifPixelType> transparent, const GIFFileOptions& options) {
    const auto [width, height] = size;
    std::vector<GifPixelType> plainRow(std::size_t(width), GifPixelType(0));
    bool isWritten = true;
    for (int frame = 0; frame < options.frames; ++frame) {
        isWritten &= putControl(file, transparent, options.delay);
        isWritten &= EGifPutImageDesc(file, options.left, options.top, width, height, options.interlaced,
                                      nullptr) == GIF_OK;
        for (const int y : rowOrder(height, options.interlaced)) {
            GifPixelType* row = indices.data() + std::size_t(y) * std::size_t(width);
            isWritten &= EGifPutLine(file, frame == 0 ? row : plainRow.data(), width) == GIF_OK;
        }
    }
    return isWritten;
}

}  // namespace

std::string gifFile(const PalettedBitmap& bitmap, const GIFFileOptions& options) {
    const auto transparent = transparentIndex(bitmap.palette);
    std::vector<GifPixelType> indices = bitmap.indices;
    for (GifPixelType& index : indices)
        if (bitmap.palette[index].alpha == 0) index = *transparent;
    GifColorType colors[256] = {};
    std::transform(bitmap.palette.begin(), bitmap.palette.end(), colors, [](const Pixel& color) {
        return GifColorType{color.red, color.green, color.blue};
    });

    std::string bytes;
    int error = 0;
    GifFileType* file = EGifOpen(&bytes, append, &error);
    if (file == nullptr) throw std::runtime_error("the picture cannot be written as GIF");
    ColorMapObject* map = GifMakeMapObject(256, colors);
    const PixelSize screen = options.screen.value_or(bitmap.size);
    EGifSetGifVersion(file, true);
    bool isWritten = EGifPutScreenDesc(file, screen.width, screen.height, 8, 0, map) == GIF_OK;
    isWritten &= putFrames(file, std::move(indices), bitmap.size, transparent, options);
    GifFreeMapObject(map);
    isWritten &= EGifCloseFile(file, &error) == GIF_OK;
    if (!isWritten) throw std::runtime_error("the picture cannot be written as GIF");
    return bytes;
}

std::string gifFile(const StraightBitmap& bitmap, const GIFFileOptions& options) {
    return gifFile(PalettedBitmap::exact(bitmap), options);
}

}  // namespace drawing
