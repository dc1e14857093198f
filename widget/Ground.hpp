// SPDX-License-Identifier: Apache-2.0

#pragma once

// What stands behind a widget where its host shows backgrounds. Constants.

#include "drawing/Image/AssetCatalogue.hpp"
#include "drawing/Image/ColorScheme.hpp"

namespace widget {

/// A gradient from the top edge to the bottom edge.
struct Ground {
    drawing::RGBA top;
    drawing::RGBA middle;
    drawing::RGBA bottom;
};

constexpr Ground ground(drawing::ColorScheme colorScheme) {
    switch (colorScheme) {
        case drawing::ColorScheme::dark: return {{33, 33, 34}, {26, 26, 27}, {20, 20, 20}};
        case drawing::ColorScheme::light: break;
    }
    return {{255, 255, 255}, {255, 255, 255}, {255, 255, 255}};
}

}  // namespace widget
