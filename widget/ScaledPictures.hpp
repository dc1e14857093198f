// SPDX-License-Identifier: Apache-2.0

#pragma once

// The pictures of one view build, reduced to the size at which they are shown. Each URL is read once,
// whatever comes of it; only the reduced picture is kept. Not safe from several threads at once.

#include <map>
#include <memory>

#include "drawing/Image/Bitmap.hpp"
#include "drawing/Views/PictureLoader.hpp"
#include "platform/URL/URL.hpp"

namespace widget {

class ScaledPictures {
  public:
    /// `displayScale` in pixels to a point.
    ScaledPictures(drawing::PictureLoader& loader, double displayScale)
        : loader_(loader), displayScale_(displayScale) {}

    double displayScale() const { return displayScale_; }

    /// The picture, redrawn to fit a square of `imageSize` points; null for every failure. Blocks while it is
    /// read.
    std::shared_ptr<const drawing::Bitmap> picture(const platform::URL& url, double imageSize);

  private:
    std::shared_ptr<const drawing::Bitmap> read(const platform::URL& url, drawing::PixelSize room);

    drawing::PictureLoader& loader_;
    double displayScale_;
    std::map<platform::URL, std::shared_ptr<const drawing::Bitmap>> read_;
};

}  // namespace widget
