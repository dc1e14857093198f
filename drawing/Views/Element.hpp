// SPDX-License-Identifier: Apache-2.0

#pragma once

// What views are made of. For layout; whoever builds views needs View.hpp alone.

#include <variant>

#include "drawing/Views/Appearance.hpp"
#include "drawing/Views/View.hpp"

namespace drawing {

/// What a view inherits. As a modifier, a field that is absent changes nothing.
struct InheritedValues {
    std::optional<TextStyle> font = std::nullopt;
    std::optional<FontWeight> fontWeight = std::nullopt;
    std::optional<Color> foregroundColor = std::nullopt;
    std::optional<int> lineLimit = std::nullopt;
    std::optional<double> minimumScaleFactor = std::nullopt;
    std::optional<ColorScheme> colorScheme = std::nullopt;
    std::optional<bool> isWantedWhole = std::nullopt;
    /// Of the whole layout: no view changes it.
    std::optional<LayoutDirection> layoutDirection = std::nullopt;
    std::optional<TextSize> textSize = std::nullopt;

    /// These values where they are present, else those of `outer`.
    InheritedValues over(const InheritedValues& outer) const;
    bool operator==(const InheritedValues&) const = default;
};

enum class Axis { horizontal, vertical };

namespace element {

struct Empty {};
struct Text {
    std::string words;
};
struct AssetImage {
    std::string name;
};
struct BitmapImage {
    std::shared_ptr<const Bitmap> bitmap;
    Size size;
    platform::URL source;
    ContentMode contentMode;
};
struct Rectangle {
    Color color;
};
struct RoundedRectangle {
    double cornerRadius;
    Color color;
    std::optional<double> strokeWidth;
};
struct LinearGradient {
    std::vector<Color> colors;
};
struct Divider {
    Color color;
};
struct Spacer {
    double minimumLength;
};
struct Stack {
    Axis axis;
    Alignment alignment;
    double spacing;
    std::vector<View> children;
};
struct RowsThatFit {
    drawing::RowsThatFit arrangement;
    std::size_t count;
    std::function<View(std::size_t)> row;
};
struct ViewThatFits {
    std::vector<View> choices;
};
struct LayeredStack {
    Alignment alignment;
    std::vector<View> children;
};
struct GeometryReader {
    std::function<View(Size)> content;
};

struct Framed {
    View content;
    Frame frame;
};
struct Padded {
    View content;
    EdgeInsets insets;
};
struct Offset {
    View content;
    Point distance;
};
enum class Side { front, back };
struct Layered {
    View content;
    View other;
    Side side;
    Alignment alignment;
};
struct Clipped {
    View content;
    double cornerRadius;
};
struct AlignedToPixels {
    View content;
};
struct Paragraph {
    View content;
};
enum class Reach { view, widget };
struct Linked {
    View content;
    platform::URL url;
    Reach reach;
};
struct Spoken {
    View content;
    std::string words;
};
struct OnContainer {
    View content;
    View background;
};
struct Inheriting {
    View content;
    InheritedValues values;
};

}  // namespace element

struct Element {
    std::variant<element::Empty, element::Text, element::AssetImage, element::BitmapImage, element::Rectangle,
                 element::RoundedRectangle, element::LinearGradient, element::Divider, element::Spacer,
                 element::Stack, element::RowsThatFit, element::ViewThatFits, element::LayeredStack,
                 element::GeometryReader, element::Framed, element::Padded, element::Offset, element::Layered,
                 element::Clipped, element::AlignedToPixels, element::Paragraph, element::Linked,
                 element::Spoken, element::OnContainer, element::Inheriting>
        kind;
};

}  // namespace drawing
