// SPDX-License-Identifier: Apache-2.0

#include "drawing/Painters/Ink.hpp"

#include <algorithm>
#include <cmath>

#include "drawing/Image/Lightness.hpp"

namespace drawing {
namespace {

/// How much of the tint a colour gets, by its lightness of 0 to 1. What reads as plain text gets all of it,
/// and so do quiet words where more contrast is asked for: what is behind them is anybody's guess.
double distanceFromGround(double light, ColorScheme scheme, Contrast contrast) {
    constexpr double ofPrimaryText = 0.89;
    constexpr double ofQuietWords = 0.6;
    const double distance = scheme == ColorScheme::dark ? light : 1 - light;
    if (contrast == Contrast::increased) return distance < ofQuietWords ? distance : 1;
    return std::clamp(distance / ofPrimaryText, 0.0, 1.0);
}

std::uint8_t channel(double value) {
    return static_cast<std::uint8_t>(std::lround(value));
}

std::uint32_t premultiplied(RGBA color, double alpha) {
    const auto part = [&](std::uint8_t value) { return std::uint32_t{channel(value * alpha)}; };
    return std::uint32_t{channel(255 * alpha)} << 24 | part(color.red) << 16 | part(color.green) << 8 |
           part(color.blue);
}

std::uint32_t tinted(std::uint32_t pixel, RGBA tint, ColorScheme scheme, Contrast contrast) {
    const double alpha = (pixel >> 24) / 255.0;
    if (alpha == 0) return 0;
    const double light = lightness(pixel >> 16 & 0xFF, pixel >> 8 & 0xFF, pixel & 0xFF) / 255 / alpha;
    return premultiplied(tint, alpha * distanceFromGround(light, scheme, contrast));
}

PixelSize scaledIntoRoom(const VectorImage& drawing, PixelSize room) {
    const double factor = std::min(room.width / drawing.width, room.height / drawing.height);
    return {std::max(1, static_cast<int>(std::lround(drawing.width * factor))),
            std::max(1, static_cast<int>(std::lround(drawing.height * factor)))};
}

}  // namespace

std::optional<RGBA> Ink::color(const Color& color, ColorScheme scheme) const {
    const std::optional<RGBA> own = color.resolved(scheme, catalogue, contrast);
    if (!own) return std::nullopt;
    if (!tint) return laidOnGround(*own);
    const double opacity =
        distanceFromGround(lightness(own->red, own->green, own->blue) / 255, scheme, contrast);
    return laidOnGround({tint->red, tint->green, tint->blue, channel(own->alpha * opacity)});
}

std::optional<RGBA> Ink::gradientStop(const Color& color, ColorScheme scheme) const {
    return color.resolved(scheme, catalogue, contrast);
}

std::optional<Bitmap> Ink::asset(std::string_view name, PixelSize room) const {
    const VectorImage* drawing = vector(name);
    if (!drawing || room.width < 1 || room.height < 1) return std::nullopt;
    std::optional<Bitmap> bitmap = catalogue.image(name, scaledIntoRoom(*drawing, room), tones());
    if (bitmap && tint) {
        for (std::uint32_t& pixel : bitmap->pixels) pixel = premultiplied(*tint, (pixel >> 24) / 255.0);
    }
    return bitmap;
}

const VectorImage* Ink::vector(std::string_view name) const {
    return catalogue.vector(name, tones());
}

RGBA Ink::fill(const FilledPath& path) const {
    return tint ? RGBA{tint->red, tint->green, tint->blue, path.fill.alpha} : path.fill;
}

Tones Ink::tones() const {
    return contrast == Contrast::increased || ground ? Tones::solid : Tones::asDrawn;
}

RGBA Ink::laidOnGround(RGBA color) const {
    if (!ground) return color;
    const double opacity = color.alpha / 255.0;
    const auto mixed = [opacity](std::uint8_t front, std::uint8_t back) {
        return channel(front * opacity + back * (1 - opacity));
    };
    return {mixed(color.red, ground->red), mixed(color.green, ground->green),
            mixed(color.blue, ground->blue)};
}

Bitmap Ink::picture(const Bitmap& bitmap, ColorScheme scheme) const {
    Bitmap copy = bitmap;
    if (tint) {
        for (std::uint32_t& pixel : copy.pixels) pixel = tinted(pixel, *tint, scheme, contrast);
    }
    return copy;
}

}  // namespace drawing
