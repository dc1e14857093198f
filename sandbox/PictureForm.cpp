// SPDX-License-Identifier: Apache-2.0

#include "sandbox/PictureForm.hpp"

#include <algorithm>

#include "drawing/Writers/GIFFile.hpp"
#include "drawing/Writers/JPEGFile.hpp"
#include "drawing/Writers/PNGFile.hpp"
#include "drawing/Writers/WebPFile.hpp"
#include "sandbox/Error.hpp"

namespace sandbox {
namespace {

using drawing::gifFile;
using drawing::Orientation;
using drawing::PalettedBitmap;
using drawing::pngFile;
using drawing::StraightBitmap;
using drawing::webpFile;
using drawing::WebPLoss;

/// Of zlib's levels: nobody stores these files.
constexpr int quick = 1;

std::string storedJPEG(const StraightBitmap& upright, Orientation orientation,
                       drawing::JPEGFileOptions options) {
    if (orientation != Orientation::upright) {
        options.exif = drawing::orientationNote(static_cast<int>(orientation));
    }
    return drawing::jpegFile(drawing::stored(upright, orientation), options);
}

/// Of a GIF that moves the first frame is the picture: who shows the second one shows a single colour.
constexpr PictureForm forms[] = {
    {"png", "image/png",
     [](const StraightBitmap& picture, Orientation) { return pngFile(picture, {.compression = quick}); }},
    {"png-palette", "image/png",
     [](const StraightBitmap& picture, Orientation) {
         return pngFile(PalettedBitmap::reduced(picture), {.compression = quick});
     }},
    {"png-16", "image/png",
     [](const StraightBitmap& picture, Orientation) {
         return pngFile(picture, {.bitDepth = 16, .compression = quick});
     }},
    {"png-interlaced", "image/png",
     [](const StraightBitmap& picture, Orientation) {
         return pngFile(picture, {.interlaced = true, .compression = quick});
     }},
    {"jpeg", "image/jpeg",
     [](const StraightBitmap& picture, Orientation orientation) {
         return storedJPEG(picture, orientation, {.quality = 88});
     }},
    {"jpeg-progressive", "image/jpeg",
     [](const StraightBitmap& picture, Orientation orientation) {
         return storedJPEG(picture, orientation, {.quality = 88, .progressive = true});
     }},
    {"webp", "image/webp",
     [](const StraightBitmap& picture, Orientation) { return webpFile(picture, {.loss = WebPLoss::lossy}); }},
    {"webp-lossless", "image/webp",
     [](const StraightBitmap& picture, Orientation) {
         return webpFile(picture, {.loss = WebPLoss::lossless});
     }},
    {"gif", "image/gif",
     [](const StraightBitmap& picture, Orientation) {
         return gifFile(PalettedBitmap::reduced(picture), {.frames = 2, .delay = 50});
     }},
};

}  // namespace

PictureForm pictureForm(std::string_view name) {
    const auto found = std::find_if(std::begin(forms), std::end(forms),
                                    [name](const PictureForm& form) { return form.name == name; });
    if (found == std::end(forms)) throw Error("unknown form \"" + std::string(name) + "\"");
    return *found;
}

}  // namespace sandbox
