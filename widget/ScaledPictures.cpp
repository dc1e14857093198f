#include "widget/ScaledPictures.hpp"

#include <algorithm>
#include <cmath>

#include "platform/Image/Image.hpp"

namespace widget {

std::shared_ptr<const platform::Bitmap> ScaledPictures::picture(const platform::URL& url, double imageSize) {
    const int side = static_cast<int>(std::clamp(std::ceil(imageSize * displayScale_), 1.0,
                                                 static_cast<double>(platform::ImageBounds::wantedSide)));
    const platform::PixelSize room{side, side};
    const auto known = read_.find(url);
    if (known == read_.end()) return read_.emplace(url, read(url, room)).first->second;
    if (!known->second) return nullptr;
    const platform::PixelSize fitting = platform::scaledToFit(known->second->size, room);
    const bool isAsLarge = std::max(known->second->width(), known->second->height()) == side;
    return isAsLarge ? known->second
                     : std::make_shared<const platform::Bitmap>(platform::resized(*known->second, fitting));
}

std::shared_ptr<const platform::Bitmap> ScaledPictures::read(const platform::URL& url,
                                                             platform::PixelSize room) {
    const std::optional<std::string> bytes = loader_.read(url);
    if (!bytes) return nullptr;
    const std::optional<platform::ImageHeader> header = platform::imageHeader(*bytes);
    if (!header) return nullptr;
    std::optional<platform::Bitmap> bitmap =
        platform::decodedImage(*bytes, platform::scaledToFit(header->size, room));
    return bitmap ? std::make_shared<const platform::Bitmap>(*std::move(bitmap)) : nullptr;
}

}  // namespace widget
