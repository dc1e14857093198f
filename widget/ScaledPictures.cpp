// SPDX-License-Identifier: Apache-2.0

#include "widget/ScaledPictures.hpp"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

#include "drawing/Image/Image.hpp"

namespace widget {

using drawing::Bitmap;

int ScaledPictures::pixels(double imageSize) const {
    return static_cast<int>(std::clamp(std::ceil(imageSize * displayScale_), 1.0,
                                       static_cast<double>(drawing::ImageBounds::wantedSide)));
}

std::shared_ptr<const Bitmap> ScaledPictures::picture(const platform::URL& url, double imageSize) {
    const int side = pixels(imageSize);
    const auto known = read_.find(url);
    if (known == read_.end() && wanted_) {
        want(url, side);
        return nullptr;
    }
    if (known == read_.end()) return read_.emplace(url, decoded(loader_.read(url), side)).first->second;
    if (!known->second) return nullptr;
    if (std::max(known->second->width(), known->second->height()) == side) return known->second;
    std::shared_ptr<const Bitmap>& redrawn = redrawn_[{url, side}];
    if (!redrawn) {
        const drawing::PixelSize fitting = drawing::scaledToFit(known->second->size, {side, side});
        redrawn = std::make_shared<const Bitmap>(drawing::resized(*known->second, fitting));
    }
    return redrawn;
}

void ScaledPictures::want(const platform::URL& url, int side) {
    const auto found = std::find_if(wanted_->begin(), wanted_->end(),
                                    [&url](const Wanted& wanted) { return wanted.url == url; });
    if (found == wanted_->end()) {
        wanted_->push_back({url, side});
    } else {
        found->side = std::max(found->side, side);
    }
}

void ScaledPictures::readTogether(const std::function<void()>& build) {
    wanted_.emplace();
    build();
    const std::vector<Wanted> wanted = *std::exchange(wanted_, std::nullopt);
    std::vector<platform::URL> urls;
    for (const Wanted& each : wanted) urls.push_back(each.url);
    loader_.readAll(urls, [&](std::size_t place, const std::optional<std::string>& bytes) {
        read_[wanted[place].url] = decoded(bytes, wanted[place].side);
    });
}

std::shared_ptr<const Bitmap> ScaledPictures::decoded(const std::optional<std::string>& bytes, int side) {
    if (!bytes) return nullptr;
    const std::optional<drawing::ImageHeader> header = drawing::imageHeader(*bytes);
    if (!header) return nullptr;
    std::optional<Bitmap> bitmap =
        drawing::decodedImage(*bytes, drawing::scaledToFit(header->size, {side, side}));
    return bitmap ? std::make_shared<const Bitmap>(*std::move(bitmap)) : nullptr;
}

}  // namespace widget
