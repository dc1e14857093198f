// SPDX-License-Identifier: Apache-2.0

#pragma once

// What the colours and pictures of a display list become on the surface that a painter draws on: themselves,
// or one tint. On a tinted surface the further a colour stands from the ground of its appearance (white or
// black), the more of the tint it gets; gradients are grounds and keep their colours. A plain value; the
// catalogue must outlive it.

#include <optional>
#include <string_view>

#include "drawing/Image/AssetCatalogue.hpp"
#include "drawing/Image/Bitmap.hpp"
#include "drawing/Views/Color.hpp"

namespace drawing {

struct Ink {
    const AssetCatalogue& catalogue;
    std::optional<RGBA> tint = std::nullopt;
    Contrast contrast = Contrast::standard;
    /// What translucent colours are laid on once and for all; absent: on whatever is behind.
    std::optional<RGBA> ground = std::nullopt;

    /// Nothing where there is nothing to draw.
    std::optional<RGBA> color(const Color& color, ColorScheme scheme) const;
    std::optional<RGBA> gradientStop(const Color& color, ColorScheme scheme) const;
    /// A drawing of the catalogue as large as `room` lets it be.
    std::optional<Bitmap> asset(std::string_view name, PixelSize room) const;
    const VectorImage* vector(std::string_view name) const;
    /// What a part of such a drawing is filled with.
    RGBA fill(const FilledPath& path) const;
    Bitmap picture(const Bitmap& bitmap, ColorScheme scheme) const;

  private:
    Tones tones() const;
    RGBA laidOnGround(RGBA color) const;
};

}  // namespace drawing
