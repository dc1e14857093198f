// SPDX-License-Identifier: Apache-2.0

#pragma once

// An entry as a picture.

#include <string>

#include "drawing/Views/PictureLoader.hpp"
#include "widget/DrawingRequest.hpp"

namespace widget {

/// In points, as the design has it.
drawing::Size referenceSize(platform::WidgetFamily family);

/// The bytes of the picture, with pictures of the network's (http, https, file and data URLs) where the
/// request allows them, or `pictures`. Blocks while those are read. Safe from any thread.
std::string draw(const DrawingRequest& request);
std::string draw(const DrawingRequest& request, drawing::PictureLoader& pictures);

}  // namespace widget
