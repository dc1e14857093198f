#pragma once

// The pictures of one view build, reduced to the size at which they are shown. Each URL is read once,
// whatever comes of it; only the reduced picture is kept. Not safe from several threads at once.

#include <map>
#include <memory>

#include "platform/Image/Bitmap.hpp"
#include "platform/SwiftUI/PictureLoader.hpp"
#include "platform/URL/URL.hpp"

namespace widget {

class ScaledPictures {
  public:
    /// `displayScale` in pixels to a point.
    ScaledPictures(platform::PictureLoader& loader, double displayScale)
        : loader_(loader), displayScale_(displayScale) {}

    double displayScale() const { return displayScale_; }

    /// The picture, redrawn to fit a square of `imageSize` points; null for every failure. Blocks while it is
    /// read.
    std::shared_ptr<const platform::Bitmap> picture(const platform::URL& url, double imageSize);

  private:
    std::shared_ptr<const platform::Bitmap> read(const platform::URL& url, platform::PixelSize room);

    platform::PictureLoader& loader_;
    double displayScale_;
    std::map<platform::URL, std::shared_ptr<const platform::Bitmap>> read_;
};

}  // namespace widget
