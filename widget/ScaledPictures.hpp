// SPDX-License-Identifier: Apache-2.0

#pragma once

// The pictures of one drawing, reduced to the size at which they are shown. Each URL is read once, whatever
// comes of it; only the reduced picture is kept. Not safe from several threads at once.

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

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

    /// Runs `build`, to which every picture is absent, and then reads all that it asked for together. Blocks
    /// while they are read.
    void readTogether(const std::function<void()>& build);

  private:
    /// A picture that is wanted, with the longest side at which it is, in pixels.
    struct Wanted {
        platform::URL url;
        int side;
    };
    int pixels(double imageSize) const;
    static std::shared_ptr<const drawing::Bitmap> decoded(const std::optional<std::string>& bytes, int side);
    void want(const platform::URL& url, int side);

    drawing::PictureLoader& loader_;
    double displayScale_;
    std::map<platform::URL, std::shared_ptr<const drawing::Bitmap>> read_;
    /// The same in other sizes, by their longest side in pixels.
    std::map<std::pair<platform::URL, int>, std::shared_ptr<const drawing::Bitmap>> redrawn_;
    /// While it is only asked what is wanted.
    std::optional<std::vector<Wanted>> wanted_;
};

}  // namespace widget
