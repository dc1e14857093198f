// SPDX-License-Identifier: Apache-2.0

#include "drawing/Layout/DisplayList.hpp"

#include <algorithm>
#include <utility>

#include "drawing/Layout/Layout.hpp"
#include "drawing/Layout/Mirroring.hpp"
#include "drawing/Layout/PixelGrid.hpp"

namespace drawing {
namespace {

class Flattening {
  public:
    explicit Flattening(DisplayList& list, double scale) : list_(list), grid_(scale) {}

    void add(const Layout& layout, Point origin) {
        std::visit(
            [&](const auto& kind) {
                visit(layout, {origin, layout.size}, kind);
            },
            layout.view.element().kind);
    }

  private:
    void children(const Layout& layout, Point origin) {
        for (const PlacedLayout& child : layout.children) add(*child.layout, origin + child.origin);
    }

    template <class Item>
    void item(const Layout& layout, Rect frame, Item kind) {
        const ColorScheme scheme = layout.inherited.colorScheme.value_or(list_.colorScheme);
        list_.items.push_back({frame, std::move(kind), scheme, clips_});
    }

    void visit(const Layout& layout, Rect frame, const element::Text& text) {
        if (text.words.empty()) return;
        if (!isSpokenFor_) list_.spoken.push_back({grid_.snappedText(frame), text.words});
        const InheritedValues& inherited = layout.inherited;
        const TextStyle style = inherited.font.value_or(TextStyle::body);
        const FontWeight weight = inherited.fontWeight.value_or(metrics(style).weight);
        const bool hangsOnRight =
            layout.textDirection == TextDirection::rightToLeft && !runsFromRight(inherited);
        item(layout, hangsOnRight ? grid_.snappedTextOnRight(frame) : grid_.snappedText(frame),
             TextItem{{text.words, style, weight, layout.lineLimit, layout.textScale,
                       inherited.textSize.value_or(TextSize::large)},
                      inherited.foregroundColor.value_or(Color::primary())});
    }
    static bool runsFromRight(const InheritedValues& inherited) {
        return inherited.layoutDirection == LayoutDirection::rightToLeft;
    }
    void visit(const Layout& layout, Rect frame, const element::AssetImage& image) {
        item(layout, grid_.snapped(frame), AssetItem{image.name});
    }
    void visit(const Layout& layout, Rect frame, const element::BitmapImage& image) {
        item(layout, grid_.snapped(frame), PictureItem{image.source, image.bitmap, image.contentMode});
    }
    void visit(const Layout& layout, Rect frame, const element::Rectangle& rectangle) {
        item(layout, grid_.snapped(frame), RectangleItem{rectangle.color});
    }
    void visit(const Layout& layout, Rect frame, const element::Divider& divider) {
        item(layout, grid_.snappedLine(frame), RectangleItem{divider.color});
    }
    void visit(const Layout& layout, Rect frame, const element::RoundedRectangle& rectangle) {
        item(layout, snappedShape(frame),
             RoundedRectangleItem{rectangle.cornerRadius, rectangle.color, rectangle.strokeWidth});
    }
    void visit(const Layout& layout, Rect frame, const element::LinearGradient& gradient) {
        item(layout, grid_.snapped(frame), LinearGradientItem{gradient.colors});
    }
    void visit(const Layout& layout, Rect frame, const element::Clipped& clipped) {
        clips_.push_back({grid_.snapped(frame), clipped.cornerRadius});
        children(layout, frame.origin);
        clips_.pop_back();
    }
    void visit(const Layout& layout, Rect frame, const element::AlignedToPixels&) {
        const auto outer = std::exchange(bar_, Bar{});
        children(layout, frame.origin);
        bar_ = outer;
    }
    void visit(const Layout& layout, Rect frame, const element::Linked& linked) {
        children(layout, frame.origin);
        const bool isWhole = linked.reach == element::Reach::widget;
        list_.links.push_back({isWhole ? list_.container.frame : grid_.snapped(frame), linked.url});
    }

    void visit(const Layout& layout, Rect frame, const element::Spoken& spoken) {
        const bool isOutermost = !std::exchange(isSpokenFor_, true);
        if (isOutermost) list_.spoken.push_back({grid_.snapped(frame), spoken.words});
        children(layout, frame.origin);
        isSpokenFor_ = !isOutermost;
    }

    // These draw nothing of their own; their children stand where layout has placed them.
    void visit(const Layout& layout, Rect frame, const element::Stack&) { children(layout, frame.origin); }
    void visit(const Layout& layout, Rect frame, const element::RowsThatFit&) {
        children(layout, frame.origin);
    }
    void visit(const Layout& layout, Rect frame, const element::ViewThatFits&) {
        children(layout, frame.origin);
    }
    void visit(const Layout& layout, Rect frame, const element::LayeredStack&) {
        children(layout, frame.origin);
    }
    void visit(const Layout& layout, Rect frame, const element::GeometryReader&) {
        children(layout, frame.origin);
    }
    void visit(const Layout& layout, Rect frame, const element::Framed&) { children(layout, frame.origin); }
    void visit(const Layout& layout, Rect frame, const element::Paragraph&) {
        children(layout, frame.origin);
    }
    void visit(const Layout& layout, Rect frame, const element::Padded&) { children(layout, frame.origin); }
    void visit(const Layout& layout, Rect frame, const element::Offset&) { children(layout, frame.origin); }
    void visit(const Layout& layout, Rect frame, const element::Layered&) { children(layout, frame.origin); }
    void visit(const Layout& layout, Rect frame, const element::OnContainer&) {
        children(layout, frame.origin);
    }
    void visit(const Layout& layout, Rect frame, const element::Inheriting&) {
        children(layout, frame.origin);
    }

    // And these have none.
    void visit(const Layout&, Rect, const element::Empty&) {}
    void visit(const Layout&, Rect, const element::Spacer&) {}

    /// Of shapes that are aligned with each other, the first.
    struct Bar {
        double height = 0;
        std::optional<Rect> snapped = std::nullopt;
    };

    Rect snappedShape(Rect frame) {
        if (!bar_) return grid_.snapped(frame);
        if (!bar_->snapped) bar_ = Bar{frame.size.height, grid_.snappedLine(frame)};
        return frame.size.height == bar_->height ? grid_.snappedLine(frame)
                                                 : grid_.snappedMark(frame, *bar_->snapped);
    }

    DisplayList& list_;
    PixelGrid grid_;
    std::optional<Bar> bar_;
    std::vector<Shape> clips_;
    bool isSpokenFor_ = false;
};

/// The background that a view or one around which it is wrapped has declared; nothing when none has.
const View* containerBackground(const Layout& layout) {
    if (const auto* container = std::get_if<element::OnContainer>(&layout.view.element().kind)) {
        return &container->background;
    }
    for (const PlacedLayout& child : layout.children) {
        if (const View* background = containerBackground(*child.layout)) return background;
    }
    return nullptr;
}

}  // namespace

DisplayList displayList(const View& view, const WidgetContainer& container, const TextMeasurer& measurer) {
    DisplayList list{container.family, container.colorScheme, {{{}, container.size}, container.cornerRadius}};
    Flattening flattening(list, container.scale);

    const Rect room = list.container.frame.insetBy(container.contentMargin);
    const auto content = layout(view, {std::max(0.0, room.size.width), std::max(0.0, room.size.height)},
                                measurer, {.layoutDirection = container.layoutDirection});

    list.isWhole = !content->cutsText && content->size.width <= room.size.width + tolerance &&
                   content->size.height <= room.size.height + tolerance;

    const View* background = containerBackground(*content);
    if (background && container.background == WidgetContainer::Background::shown) {
        const Proposal whole{container.size.width, container.size.height};
        flattening.add(*layout(*background, whole, measurer, content->inherited), {});
    }
    flattening.add(*content, {room.origin.x + (room.size.width - content->size.width) / 2,
                              room.origin.y + (room.size.height - content->size.height) / 2});
    if (container.layoutDirection == LayoutDirection::rightToLeft)
        return mirrored(std::move(list), container.scale);
    return list;
}

}  // namespace drawing
