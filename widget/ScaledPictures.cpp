// SPDX-License-Identifier: Apache-2.0

#include "widget/ScaledPictures.hpp"

#include <algorithm>
#include <cmath>

#include "drawing/Image/Image.hpp"

namespace widget {

std::shared_ptr<const drawing::Bitmap> ScaledPictures::picture(const platform::URL& url, double imageSize) {
    const int side = static_cast<int>(std::clamp(std::ceil(imageSize * displayScale_), 1.0,
                                                 static_cast<double>(drawing::ImageBounds::wantedSide)));
    const drawing::PixelSize room{side, side};
    const auto known = read_.find(url);
    if (known == read_.end()) return read_.emplace(url, read(url, room)).first->second;
    if (!known->second) return nullptr;
    const drawing::PixelSize fitting = drawing::scaledToFit(known->second->size, room);
    const bool isAsLarge = std::max(known->second->width(), known->second->height()) == side;
    return isAsLarge ? known->second
                     : std::make_shared<const drawing::Bitmap>(drawing::resized(*known->second, fitting));
}

std::shared_ptr<const drawing::Bitmap> ScaledPictures::read(const platform::URL& url,
                                                            drawing::PixelSize room) {
    const std::optional<std::string> bytes = loader_.read(url);
    if (!bytes) return nullptr;
    const std::optional<drawing::ImageHeader> header = drawing::imageHeader(*bytes);
    if (!header) return nullptr;
    std::optional<drawing::Bitmap> bitmap =
        drawing::decodedImage(*bytes, drawing::scaledToFit(header->size, room));
    return bitmap ? std::make_shared<const drawing::Bitmap>(*std::move(bitmap)) : nullptr;
}

}  // namespace widget
