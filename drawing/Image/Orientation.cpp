// SPDX-License-Identifier: Apache-2.0

#include "drawing/Image/Orientation.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <utility>

namespace drawing {

namespace {

/// A TIFF structure; reads beyond its end give nothing.
class TIFF {
  public:
    TIFF(std::string_view bytes, bool bigEndian) : bytes_(bytes), bigEndian_(bigEndian) {}

    static std::optional<TIFF> from(std::string_view bytes) {
        using namespace std::string_view_literals;
        if (bytes.starts_with("MM\0*"sv)) return TIFF(bytes, true);
        if (bytes.starts_with("II*\0"sv)) return TIFF(bytes, false);
        return {};
    }

    std::optional<std::uint32_t> number(std::size_t at, std::size_t length) const {
        if (at > bytes_.size() || bytes_.size() - at < length) return {};
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < length; ++i) {
            const std::size_t place = at + (bigEndian_ ? i : length - 1 - i);
            value = value << 8 | static_cast<unsigned char>(bytes_[place]);
        }
        return value;
    }

  private:
    std::string_view bytes_;
    bool bigEndian_;
};

struct Turn {
    bool swapsSides;
    bool fromRight;
    bool fromBottom;
};

constexpr std::array<Turn, 8> turns = {{
    {false, false, false},
    {false, true, false},
    {false, true, true},
    {false, false, true},
    {true, false, false},
    {true, false, true},
    {true, true, true},
    {true, true, false},
}};

const Turn& turn(Orientation orientation) {
    return turns[std::size_t(orientation) - 1];
}

constexpr std::string_view prefixInJPEG("Exif\0\0", 6);

Orientation orientationInTIFF(std::string_view note) {
    constexpr std::size_t entryLength = 12;
    constexpr std::uint32_t orientationTag = 0x0112, shortType = 3;
    const auto tiff = TIFF::from(note);
    const auto directory = tiff ? tiff->number(4, 4) : std::nullopt;
    const auto count = directory ? tiff->number(*directory, 2) : std::nullopt;
    for (std::size_t i = 0; count && i < *count; ++i) {
        const std::size_t entry = std::size_t(*directory) + 2 + i * entryLength;
        if (tiff->number(entry, 2) != orientationTag || tiff->number(entry + 2, 2) != shortType) continue;
        const std::uint32_t value = tiff->number(entry + 8, 2).value_or(1);
        return value >= 1 && value <= turns.size() ? Orientation(value) : Orientation::upright;
    }
    return Orientation::upright;
}

}  // namespace

Orientation notedOrientation(std::string_view segment) {
    return segment.starts_with(prefixInJPEG) ? orientationInTIFF(segment.substr(prefixInJPEG.size()))
                                             : Orientation::upright;
}

Orientation notedOrientationInChunk(std::string_view chunk) {
    if (chunk.starts_with(prefixInJPEG)) chunk.remove_prefix(prefixInJPEG.size());
    return orientationInTIFF(chunk);
}

bool swapsSides(Orientation orientation) {
    return turn(orientation).swapsSides;
}

PixelSize oriented(PixelSize size, Orientation orientation) {
    if (swapsSides(orientation)) std::swap(size.width, size.height);
    return size;
}

Bitmap oriented(Bitmap bitmap, Orientation orientation) {
    if (orientation == Orientation::upright) return bitmap;
    const Turn& how = turn(orientation);
    Bitmap shown = Bitmap::transparent(oriented(bitmap.size, orientation));
    for (int y = 0; y < shown.height(); ++y)
        for (int x = 0; x < shown.width(); ++x) {
            const int column = how.swapsSides ? y : x, row = how.swapsSides ? x : y;
            shown.row(y)[x] =
                bitmap.row(how.fromBottom ? bitmap.height() - 1 - row
                                          : row)[how.fromRight ? bitmap.width() - 1 - column : column];
        }
    return shown;
}

}  // namespace drawing
