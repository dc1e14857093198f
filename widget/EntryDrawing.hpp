// SPDX-License-Identifier: Apache-2.0

#pragma once

// An entry as a picture.

#include <string>

#include "drawing/Layout/DisplayList.hpp"
#include "drawing/Painters/Ink.hpp"
#include "drawing/Views/PictureLoader.hpp"
#include "widget/DrawingRequest.hpp"
#include "widget/ScaledPictures.hpp"

namespace widget {

/// In points, as the design has it.
drawing::Size referenceSize(platform::WidgetFamily family);

/// What is drawn, and in which colours. Blocks while pictures are read that `pictures` does not have yet.
drawing::DisplayList displayList(const DrawingRequest& request, ScaledPictures& pictures,
                                 const drawing::TextMeasurer& measurer);
drawing::Ink ink(const DrawingRequest& request);

/// The bytes of the picture, with pictures of the network's (http, https, file and data URLs) where the
/// request allows them, or `pictures`. Blocks while those are read. Safe from any thread.
std::string draw(const DrawingRequest& request);
std::string draw(const DrawingRequest& request, drawing::PictureLoader& pictures);

}  // namespace widget
