// SPDX-License-Identifier: Apache-2.0

#include "sandbox/Canvas.hpp"

#include <pango/pangocairo.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace sandbox {
namespace {

/// From one of Cairo's, whose colour is multiplied by its alpha.
drawing::Pixel straight(std::uint32_t pixel) {
    const std::uint32_t alpha = pixel >> 24;
    const auto channel = [pixel, alpha](int shift) {
        const std::uint32_t premultiplied = pixel >> shift & 255;
        return static_cast<std::uint8_t>(alpha == 0 ? 0 : (premultiplied * 255 + alpha / 2) / alpha);
    };
    return {channel(16), channel(8), channel(0), static_cast<std::uint8_t>(alpha)};
}

}  // namespace

Colour Colour::ofCode(std::uint32_t code) {
    return {(code >> 16 & 255) / 255.0, (code >> 8 & 255) / 255.0, (code & 255) / 255.0};
}

Colour mixed(Colour one, Colour other, double share) {
    const auto mix = [share](double from, double to) { return from + (to - from) * share; };
    return {mix(one.red, other.red), mix(one.green, other.green), mix(one.blue, other.blue)};
}

Canvas::Canvas(drawing::PixelSize size)
    : surface_(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, size.width, size.height)),
      context_(cairo_create(surface_.get())) {
    const double unit = std::min(size.width, size.height);
    cairo_translate(context_.get(), (size.width - unit) / 2, (size.height - unit) / 2);
    cairo_scale(context_.get(), unit, unit);
    halfWidth_ = size.width / unit / 2;
    halfHeight_ = size.height / unit / 2;
}

void Canvas::use(Colour colour, double opacity) {
    cairo_set_source_rgba(context(), colour.red, colour.green, colour.blue, opacity);
}

void Canvas::fill(Colour colour, double opacity) {
    use(colour, opacity);
    cairo_fill(context());
}

void Canvas::stroke(Colour colour, double width, double opacity) {
    use(colour, opacity);
    cairo_set_line_width(context(), width);
    cairo_set_line_cap(context(), CAIRO_LINE_CAP_ROUND);
    cairo_set_line_join(context(), CAIRO_LINE_JOIN_ROUND);
    cairo_stroke(context());
}

void Canvas::ground(Colour above, Colour below) {
    cairo_pattern_t* gradient = cairo_pattern_create_linear(0, top(), 0, top() + height());
    cairo_pattern_add_color_stop_rgb(gradient, 0, above.red, above.green, above.blue);
    cairo_pattern_add_color_stop_rgb(gradient, 1, below.red, below.green, below.blue);
    cairo_set_source(context(), gradient);
    cairo_paint(context());
    cairo_pattern_destroy(gradient);
}

void Canvas::circle(double x, double y, double radius) {
    cairo_new_sub_path(context());
    cairo_arc(context(), x, y, radius, 0, 2 * std::numbers::pi);
}

void Canvas::box(double x, double y, double width, double height, double radius) {
    cairo_new_sub_path(context());
    cairo_arc(context(), x + width - radius, y + radius, radius, -std::numbers::pi / 2, 0);
    cairo_arc(context(), x + width - radius, y + height - radius, radius, 0, std::numbers::pi / 2);
    cairo_arc(context(), x + radius, y + height - radius, radius, std::numbers::pi / 2, std::numbers::pi);
    cairo_arc(context(), x + radius, y + radius, radius, std::numbers::pi, 3 * std::numbers::pi / 2);
    cairo_close_path(context());
}

void Canvas::polygon(std::initializer_list<std::pair<double, double>> corners) {
    for (const auto& [x, y] : corners) cairo_line_to(context(), x, y);
    cairo_close_path(context());
}

void Canvas::hills(double level, double swing, double length, double phase) {
    cairo_move_to(context(), left(), top() + height());
    for (double x = left(); x < left() + width() + 0.01; x += 0.01) {
        cairo_line_to(context(), x, level + swing * std::sin(2 * std::numbers::pi * x / length + phase));
    }
    cairo_line_to(context(), left() + width(), top() + height());
    cairo_close_path(context());
}

void Canvas::text(const std::string& text, double x, double y, double size, Colour colour) {
    constexpr double points = 256;
    constexpr double widest = 0.62 * points;
    cairo_save(context());
    cairo_translate(context(), x, y);
    cairo_scale(context(), 1 / points, 1 / points);
    PangoLayout* layout = pango_cairo_create_layout(context());
    PangoFontDescription* font = pango_font_description_from_string("Inter, Noto Sans CJK JP Bold");
    pango_font_description_set_absolute_size(font, size * points * PANGO_SCALE);
    pango_layout_set_font_description(layout, font);
    pango_layout_set_text(layout, text.data(), static_cast<int>(text.size()));
    PangoRectangle inkBox = {};
    pango_layout_get_pixel_extents(layout, &inkBox, nullptr);
    const double scale = std::min(1.0, widest / std::max(1, inkBox.width));
    cairo_scale(context(), scale, scale);
    cairo_move_to(context(), -inkBox.x - inkBox.width / 2.0, -inkBox.y - inkBox.height / 2.0);
    use(colour);
    pango_cairo_show_layout(context(), layout);
    cairo_restore(context());
    pango_font_description_free(font);
    g_object_unref(layout);
}

drawing::StraightBitmap Canvas::bitmap() const {
    cairo_surface_flush(surface_.get());
    const int width = cairo_image_surface_get_width(surface_.get());
    const int height = cairo_image_surface_get_height(surface_.get());
    const int stride = cairo_image_surface_get_stride(surface_.get());
    const unsigned char* data = cairo_image_surface_get_data(surface_.get());
    return drawing::painted({width, height}, [stride, data](int x, int y) {
        return straight(
            reinterpret_cast<const std::uint32_t*>(data + static_cast<std::ptrdiff_t>(y) * stride)[x]);
    });
}

}  // namespace sandbox
