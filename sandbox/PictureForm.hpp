// SPDX-License-Identifier: Apache-2.0

#pragma once

// The forms in which the gallery serves its pictures: those that shops and carriers really send.

#include <string>
#include <string_view>

#include "drawing/Writers/OrientationNote.hpp"
#include "drawing/Writers/StraightBitmap.hpp"

namespace sandbox {

struct PictureForm {
    std::string_view name;
    std::string_view mediaType;
    /// A JPEG alone has an orientation: its rows are stored turned, so that the picture that a reader shows
    /// is upright in any of them. Throws std::runtime_error when the file cannot be written.
    std::string (*file)(const drawing::StraightBitmap& upright, drawing::Orientation orientation);
};

/// Throws Error for a name that no form has.
PictureForm pictureForm(std::string_view name);

}  // namespace sandbox
