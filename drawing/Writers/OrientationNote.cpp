// SPDX-License-Identifier: Apache-2.0

#include "drawing/Writers/OrientationNote.hpp"

#include <utility>

namespace drawing {

using namespace std::string_literals;

StraightBitmap stored(const StraightBitmap& upright, Orientation orientation) {
    auto [width, height] = upright.size;
    const int right = width - 1, bottom = height - 1;
    if (orientation >= Orientation::transposed) std::swap(width, height);
    return painted({width, height}, [&](int x, int y) {
        switch (orientation) {
            case Orientation::upright: break;
            case Orientation::mirrored: return upright.at(right - x, y);
            case Orientation::upsideDown: return upright.at(right - x, bottom - y);
            case Orientation::mirroredUpsideDown: return upright.at(x, bottom - y);
            case Orientation::transposed: return upright.at(y, x);
            case Orientation::turnedLeft: return upright.at(right - y, x);
            case Orientation::transversed: return upright.at(right - y, bottom - x);
            case Orientation::turnedRight: return upright.at(y, bottom - x);
        }
        return upright.at(x, y);
    });
}

std::string orientationNote(int orientation, const OrientationNoteOptions& options) {
    constexpr int shortType = 3, longType = 4;  // as TIFF numbers them
    const bool isBigEndian = options.byteOrder == ExifByteOrder::bigEndian;
    const auto number = [&](int value, int length) {
        std::string bytes;
        for (int i = 0; i < length; ++i) bytes += char(value >> 8 * (isBigEndian ? length - 1 - i : i) & 255);
        return bytes;
    };
    const auto entry = [&](int tag, int type, const std::string& value) {
        return number(tag, 2) + number(type, 2) + number(1, 4) + value;
    };
    std::string entries;
    if (options.imageWidth) entries += entry(0x0100, longType, number(*options.imageWidth, 4));
    entries += entry(0x0112, shortType, number(orientation, 2) + number(0, 2));
    return "Exif\0\0"s + (isBigEndian ? "MM" : "II") + number(42, 2) + number(8, 4) +
           number(options.imageWidth ? 2 : 1, 2) + entries + number(0, 4);
}

}  // namespace drawing
