// SPDX-License-Identifier: Apache-2.0

#pragma once

// The vocabulary of pictures. A view is an immutable value that says what is to be seen; it knows neither its
// place nor who paints it. Elements are made by name, and modifiers are read left to right:
//
//     text("Out for delivery").font(TextStyle::subheadline).fontWeight(FontWeight::medium).padding({.top =
//     4})
//
// Each modifier gives a new view around the one it is called on. Copies are cheap. Safe from any thread.

#include <cstddef>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "drawing/Image/Bitmap.hpp"
#include "drawing/Image/ColorScheme.hpp"
#include "drawing/Views/Appearance.hpp"
#include "drawing/Views/Color.hpp"
#include "drawing/Views/Font.hpp"
#include "drawing/Views/Geometry.hpp"
#include "platform/URL/URL.hpp"

namespace drawing {

struct Element;

enum class HorizontalAlignment { leading, center, trailing };
enum class VerticalAlignment { top, center, bottom };
struct Alignment {
    HorizontalAlignment horizontal = HorizontalAlignment::center;
    VerticalAlignment vertical = VerticalAlignment::center;
    bool operator==(const Alignment&) const = default;

    static const Alignment center, leading, trailing, topLeading, topTrailing;
};
inline constexpr Alignment Alignment::center = {};
inline constexpr Alignment Alignment::leading = {.horizontal = HorizontalAlignment::leading};
inline constexpr Alignment Alignment::trailing = {.horizontal = HorizontalAlignment::trailing};
inline constexpr Alignment Alignment::topLeading = {HorizontalAlignment::leading, VerticalAlignment::top};
inline constexpr Alignment Alignment::topTrailing = {HorizontalAlignment::trailing, VerticalAlignment::top};

/// How a picture of one shape stands in a frame of another: whole, or covering it.
enum class ContentMode { fit, fill };

/// As much room as there is.
inline constexpr double infinity = std::numeric_limits<double>::infinity();

/// A length that is not given is left to what stands inside.
struct Frame {
    std::optional<double> width = std::nullopt;
    std::optional<double> height = std::nullopt;
    std::optional<double> maxWidth = std::nullopt;
    std::optional<double> maxHeight = std::nullopt;
    Alignment alignment = {};
};

/// May be negative: then what stands inside reaches out.
struct EdgeInsets {
    double top = 0;
    double leading = 0;
    double bottom = 0;
    double trailing = 0;

    static EdgeInsets horizontal(double length) { return {.leading = length, .trailing = length}; }
    static EdgeInsets vertical(double length) { return {.top = length, .bottom = length}; }
};

class View {
  public:
    /// Nothing to see, and no room taken.
    View();
    explicit View(Element element);

    View frame(Frame frame) const;
    View padding(EdgeInsets insets) const;
    View offset(Point distance) const;
    /// Another view in front of this one or behind it, proposed the size of this one.
    View overlay(View front, Alignment alignment = {}) const;
    View background(View back, Alignment alignment = {}) const;
    /// Cut to a rounded rectangle with continuous corners.
    View clipped(double cornerRadius) const;

    /// For a bar with markers: its first shape is the bar, as thick everywhere, and the others have their
    /// middles on its own to the pixel.
    View alignedToPixels() const;

    /// Opens a URL where this view stands, or, for a widget, wherever no other link does.
    View link(platform::URL url) const;
    View widgetURL(platform::URL url) const;
    /// What stands behind the whole widget where its host shows backgrounds.
    View containerBackground(View background) const;

    /// What is said of this view and everything in it to who does not see it; a text says itself otherwise.
    View spoken(std::string words) const;

    // What everything inside inherits until it says otherwise itself.
    View font(TextStyle style) const;
    View fontWeight(FontWeight weight) const;
    View foregroundColor(Color color) const;
    View lineLimit(int lines) const;
    /// A text that does not fit as it is may be set smaller, down to this part of its size, where that shows
    /// all of it. Otherwise it keeps its size and ends in an ellipsis. At a text size below the design's, the
    /// part is one of the design's own size: what is small already is made no smaller.
    View minimumScaleFactor(double factor) const;
    /// `viewThatFits` passes over a choice in which such a text would be cut. Above the design's text size a
    /// word that is broken counts as cut.
    View wantedWhole() const;
    /// A text among others: where it is read from the right in a layout that runs from the left, it hangs on
    /// the right edge of the room that it is offered, and takes all of its width.
    View paragraph() const;
    /// The person's: fonts and lines grow with it, pictures and distances do not.
    View textSize(TextSize size) const;
    View colorScheme(ColorScheme scheme) const;

    const Element& element() const { return *element_; }

  private:
    std::shared_ptr<const Element> element_;
};

/// A modifier that is applied only where there is something to apply.
template <typename Value, typename Modifier>
View applying(const View& view, const std::optional<Value>& value, Modifier modifier) {
    return value ? (view.*modifier)(*value) : view;
}

/// Lines of a text that is shown whole are about as long as each other: no word is left alone on the last.
View text(std::string words);

/// A drawing of the asset catalogue, as large as its frame lets it be without losing its shape.
View image(std::string assetName);
/// A picture from `source` that is already in memory; `size` is its own, in points.
View image(std::shared_ptr<const Bitmap> bitmap, Size size, platform::URL source, ContentMode contentMode);

View rectangle(Color color);
/// With continuous corners.
View roundedRectangle(double cornerRadius, Color color);
/// The line lies half inside the edge and half outside.
View roundedRectangleStroke(double cornerRadius, Color color, double lineWidth);
/// From the top edge to the bottom edge.
View linearGradient(std::vector<Color> colors);
/// A hairline across.
View divider(Color color);
/// Takes the room that is left over in a stack.
View spacer(double minimumLength = 0);

/// Views that are nothing take no room in a stack, nor does the spacing beside them.
struct HorizontalStack {
    VerticalAlignment alignment = VerticalAlignment::center;
    double spacing = 8;
};
View horizontalStack(HorizontalStack stack, std::vector<View> children);

struct VerticalStack {
    HorizontalAlignment alignment = HorizontalAlignment::center;
    double spacing = 8;
};
View verticalStack(VerticalStack stack, std::vector<View> children);

/// As many rows from the first on as fit into the height proposed and show whole what is wanted whole, each
/// at its own height; the others are not even made. The first is there in any case. Takes all of that height;
/// `alignment` says where the rows stand in it.
struct RowsThatFit {
    Alignment alignment = Alignment::topLeading;
    double spacing = 8;
    /// How far rows move apart where height is left over.
    double widestSpacing = spacing;
    /// Stands between two rows, with the spacing on both of its sides.
    std::optional<View> divider = std::nullopt;
    /// How many rows it is content with where no height is proposed: `viewThatFits` passes it over where
    /// these do not fit. Absent: all of them.
    std::optional<std::size_t> fewest = std::nullopt;
};
View rowsThatFit(RowsThatFit rows, std::size_t count, std::function<View(std::size_t)> row);

/// The first of the choices that is no higher than the height proposed and shows whole what is wanted whole,
/// or the last.
View viewThatFits(std::vector<View> choices);

/// One on top of the other, the first at the back.
View layeredStack(Alignment alignment, std::vector<View> children);

/// Takes all room proposed, and shows at its top leading corner what `content` makes of it.
View geometryReader(std::function<View(Size)> content);

}  // namespace drawing
