// SPDX-License-Identifier: Apache-2.0

#include "drawing/Views/View.hpp"

#include "drawing/Views/Element.hpp"

namespace drawing {
namespace {

template <class Kind>
View viewOf(Kind kind) {
    return View(Element{std::move(kind)});
}

/// What is not there keeps no distance from the others.
std::vector<View> present(std::vector<View> views) {
    std::erase_if(
        views, [](const View& view) { return std::holds_alternative<element::Empty>(view.element().kind); });
    return views;
}

}  // namespace

InheritedValues InheritedValues::over(const InheritedValues& outer) const {
    return {font ? font : outer.font,
            fontWeight ? fontWeight : outer.fontWeight,
            foregroundColor ? foregroundColor : outer.foregroundColor,
            lineLimit ? lineLimit : outer.lineLimit,
            minimumScaleFactor ? minimumScaleFactor : outer.minimumScaleFactor,
            colorScheme ? colorScheme : outer.colorScheme,
            isWantedWhole ? isWantedWhole : outer.isWantedWhole,
            layoutDirection ? layoutDirection : outer.layoutDirection,
            textSize ? textSize : outer.textSize};
}

View::View() : View(Element{element::Empty{}}) {}
View::View(Element element) : element_(std::make_shared<const Element>(std::move(element))) {}

View View::frame(Frame frame) const {
    return viewOf(element::Framed{*this, frame});
}
View View::padding(EdgeInsets insets) const {
    return viewOf(element::Padded{*this, insets});
}
View View::offset(Point distance) const {
    return viewOf(element::Offset{*this, distance});
}
View View::overlay(View front, Alignment alignment) const {
    return viewOf(element::Layered{*this, std::move(front), element::Side::front, alignment});
}
View View::background(View back, Alignment alignment) const {
    return viewOf(element::Layered{*this, std::move(back), element::Side::back, alignment});
}
View View::clipped(double cornerRadius) const {
    return viewOf(element::Clipped{*this, cornerRadius});
}
View View::link(platform::URL url) const {
    return viewOf(element::Linked{*this, std::move(url), element::Reach::view});
}
View View::widgetURL(platform::URL url) const {
    return viewOf(element::Linked{*this, std::move(url), element::Reach::widget});
}
View View::containerBackground(View background) const {
    return viewOf(element::OnContainer{*this, std::move(background)});
}
View View::spoken(std::string words) const {
    return viewOf(element::Spoken{*this, std::move(words)});
}
View View::font(TextStyle style) const {
    return viewOf(element::Inheriting{*this, {.font = style}});
}
View View::fontWeight(FontWeight weight) const {
    return viewOf(element::Inheriting{*this, {.fontWeight = weight}});
}
View View::paragraph() const {
    return viewOf(element::Paragraph{*this});
}
View View::alignedToPixels() const {
    return viewOf(element::AlignedToPixels{*this});
}
View View::foregroundColor(Color color) const {
    return viewOf(element::Inheriting{*this, {.foregroundColor = std::move(color)}});
}
View View::lineLimit(int lines) const {
    return viewOf(element::Inheriting{*this, {.lineLimit = lines}});
}
View View::minimumScaleFactor(double factor) const {
    return viewOf(element::Inheriting{*this, {.minimumScaleFactor = factor}});
}
View View::wantedWhole() const {
    return viewOf(element::Inheriting{*this, {.isWantedWhole = true}});
}
View View::textSize(TextSize size) const {
    return viewOf(element::Inheriting{*this, {.textSize = size}});
}
View View::colorScheme(ColorScheme scheme) const {
    return viewOf(element::Inheriting{*this, {.colorScheme = scheme}});
}

View text(std::string words) {
    return viewOf(element::Text{std::move(words)});
}
View image(std::string assetName) {
    return viewOf(element::AssetImage{std::move(assetName)});
}
View image(std::shared_ptr<const Bitmap> bitmap, Size size, platform::URL source, ContentMode contentMode) {
    return viewOf(element::BitmapImage{std::move(bitmap), size, std::move(source), contentMode});
}
View rectangle(Color color) {
    return viewOf(element::Rectangle{std::move(color)});
}
View roundedRectangle(double cornerRadius, Color color) {
    return viewOf(element::RoundedRectangle{cornerRadius, std::move(color), std::nullopt});
}
View roundedRectangleStroke(double cornerRadius, Color color, double lineWidth) {
    return viewOf(element::RoundedRectangle{cornerRadius, std::move(color), lineWidth});
}
View linearGradient(std::vector<Color> colors) {
    return viewOf(element::LinearGradient{std::move(colors)});
}
View divider(Color color) {
    return viewOf(element::Divider{std::move(color)});
}
View spacer(double minimumLength) {
    return viewOf(element::Spacer{minimumLength});
}

View horizontalStack(HorizontalStack stack, std::vector<View> children) {
    return viewOf(element::Stack{Axis::horizontal, Alignment{.vertical = stack.alignment}, stack.spacing,
                                 present(std::move(children))});
}
View verticalStack(VerticalStack stack, std::vector<View> children) {
    return viewOf(element::Stack{Axis::vertical, Alignment{.horizontal = stack.alignment}, stack.spacing,
                                 present(std::move(children))});
}
View rowsThatFit(RowsThatFit rows, std::size_t count, std::function<View(std::size_t)> row) {
    return viewOf(element::RowsThatFit{std::move(rows), count, std::move(row)});
}
View viewThatFits(std::vector<View> choices) {
    return viewOf(element::ViewThatFits{std::move(choices)});
}
View layeredStack(Alignment alignment, std::vector<View> children) {
    return viewOf(element::LayeredStack{alignment, std::move(children)});
}
View geometryReader(std::function<View(Size)> content) {
    return viewOf(element::GeometryReader{std::move(content)});
}

}  // namespace drawing
