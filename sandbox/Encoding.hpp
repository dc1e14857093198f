#pragma once

// Picture files from bitmaps: the forms that shops and carriers really send.

#include <string>
#include <string_view>

#include "sandbox/Bitmap.hpp"

namespace sandbox {

enum class PictureForm {
    png,
    pngPalette,
    png16,
    pngInterlaced,
    jpeg,
    jpegProgressive,
    webp,
    webpLossless,
    gif
};

struct PictureEncoding {
    PictureForm form;
    /// Of a JPEG: the EXIF orientation, 1 to 8. The pixels are stored turned, so that the picture that a
    /// reader shows is upright in any of them.
    int orientation = 1;
};

std::string_view mediaType(PictureForm form);

/// Throws Error when the picture cannot be written in that form.
std::string encoded(const Bitmap& bitmap, const PictureEncoding& encoding);

/// A PNG that declares a size which its data does not hold.
std::string hollowPNG(std::uint32_t width, std::uint32_t height);

}  // namespace sandbox
