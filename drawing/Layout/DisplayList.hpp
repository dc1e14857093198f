// SPDX-License-Identifier: Apache-2.0

#pragma once

// What stands between views and painters: items back to front, each with its frame on the pixel grid. Plain
// values.

#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "drawing/Image/Bitmap.hpp"
#include "drawing/Image/ColorScheme.hpp"
#include "drawing/Layout/TextMeasurer.hpp"
#include "drawing/Views/Appearance.hpp"
#include "drawing/Views/Color.hpp"
#include "drawing/Views/Geometry.hpp"
#include "drawing/Views/View.hpp"
#include "platform/URL/URL.hpp"
#include "platform/WidgetKit/WidgetFamily.hpp"

namespace drawing {

struct LinearGradientItem {
    std::vector<Color> stops;
};
struct RoundedRectangleItem {
    double cornerRadius;
    Color color;
    std::optional<double> strokeWidth = std::nullopt;
};
struct RectangleItem {
    Color color;
};
struct TextItem {
    TextRun run;
    Color color;
};
struct AssetItem {
    std::string name;
};
struct PictureItem {
    platform::URL url;
    std::shared_ptr<const Bitmap> bitmap;
    ContentMode contentMode;
};

/// A rounded rectangle that cuts what it holds.
struct Shape {
    Rect frame;
    double cornerRadius = 0;
};

struct DisplayItem {
    Rect frame;
    std::variant<LinearGradientItem, RoundedRectangleItem, RectangleItem, TextItem, AssetItem, PictureItem>
        kind;
    /// In which appearance its colours are looked up.
    ColorScheme colorScheme;
    /// It shows where it is inside all of these.
    std::vector<Shape> clips = {};
};

struct DisplayLink {
    Rect frame;
    platform::URL url;
};

/// What is said of a part of the picture.
struct SpokenPart {
    Rect frame;
    std::string words;
};

struct DisplayList {
    platform::WidgetFamily family;
    ColorScheme colorScheme;
    /// From (0, 0); outside is transparent.
    Shape container;
    std::vector<DisplayItem> items = {};
    std::vector<DisplayLink> links = {};
    /// In the order in which they are seen.
    std::vector<SpokenPart> spoken = {};
    /// Where it runs from the right, lines of text begin at the right of their frames.
    LayoutDirection layoutDirection = LayoutDirection::leftToRight;
    /// Whether the container holds the view within its margins, with all that is wanted whole.
    bool isWhole = true;
};

/// The place that a host has for a widget.
struct WidgetContainer {
    platform::WidgetFamily family;
    ColorScheme colorScheme;
    Size size;
    double cornerRadius = 0;
    double contentMargin = 0;
    /// Pixels to a point.
    double scale = 1;
    enum class Background { shown, removed } background = Background::shown;
    LayoutDirection layoutDirection = LayoutDirection::leftToRight;
};

/// Lays the view out in the middle of the container, within its margins.
DisplayList displayList(const View& view, const WidgetContainer& container, const TextMeasurer& measurer);

}  // namespace drawing
