// SPDX-License-Identifier: Apache-2.0

#include "drawing/Painters/CairoPainter.hpp"

#include <cairo.h>
#include <pango/pangocairo.h>

#include <algorithm>
#include <cmath>
#include <memory>

#include "drawing/Painters/Emboldening.hpp"
#include "drawing/Painters/JoinedShapes.hpp"
#include "drawing/Painters/Path.hpp"
#include "drawing/Painters/TextPlacement.hpp"

namespace drawing {
namespace {

struct ReleasesSurface {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};
struct ReleasesContext {
    void operator()(cairo_t* context) const { cairo_destroy(context); }
};
struct ReleasesPattern {
    void operator()(cairo_pattern_t* pattern) const { cairo_pattern_destroy(pattern); }
};
using SurfacePointer = std::unique_ptr<cairo_surface_t, ReleasesSurface>;

/// A surface over a bitmap's own pixels, which must outlive it.
SurfacePointer surface(std::uint32_t* pixels, PixelSize size, int stride) {
    return SurfacePointer(cairo_image_surface_create_for_data(
        reinterpret_cast<unsigned char*>(pixels), CAIRO_FORMAT_ARGB32, size.width, size.height, stride));
}

class Saved {
  public:
    explicit Saved(cairo_t* context) : context_(context) { cairo_save(context_); }
    ~Saved() { cairo_restore(context_); }
    Saved(const Saved&) = delete;
    Saved& operator=(const Saved&) = delete;

  private:
    cairo_t* context_;
};

/// Paints the part of a list that begins with the pixel row `top` and fills the bitmap.
class CairoPainter {
  public:
    CairoPainter(Bitmap& bitmap, int top, LayoutDirection layoutDirection, double scale, const Ink& ink,
                 const PangoTextMeasurer& measurer)
        : surface_(surface(bitmap.pixels.data(), bitmap.size, bitmap.stride())),
          context_(cairo_create(surface_.get())),
          top_(top / scale),
          bottom_((top + bitmap.height()) / scale),
          layoutDirection_(layoutDirection),
          scale_(scale),
          ink_(ink),
          measurer_(measurer) {
        cairo_translate(context_.get(), 0, -top);
        cairo_scale(context_.get(), scale, scale);
    }
    ~CairoPainter() { cairo_surface_flush(surface_.get()); }
    CairoPainter(const CairoPainter&) = delete;
    CairoPainter& operator=(const CairoPainter&) = delete;

    void paint(std::span<const DisplayItem> joined) {
        if (std::none_of(joined.begin(), joined.end(), [&](const auto& item) { return isNear(item.frame); }))
            return;
        const DisplayItem& item = joined.front();
        const Saved state(context_.get());
        for (const Shape& clip : item.clips) {
            trace(clip.frame, clip.cornerRadius);
            cairo_clip(context_.get());
        }
        for (const DisplayItem& other : joined.subspan(1)) {
            trace(other.frame, std::get<RoundedRectangleItem>(other.kind).cornerRadius);
        }
        std::visit([&](const auto& kind) { draw(item, kind); }, item.kind);
    }

    /// Makes everything outside of the shape transparent. Done once, at the end: a clip would cost every
    /// item. Only the corners are touched.
    void cut(const Shape& shape) {
        if (shape.cornerRadius <= 0) return;
        const Saved state(context_.get());
        const Rect& frame = shape.frame;
        const double reach = std::ceil(2 * shape.cornerRadius);
        for (const double x : {frame.left(), frame.right() - reach}) {
            for (const double y : {frame.top(), frame.bottom() - reach}) {
                cairo_rectangle(context_.get(), x, y, reach, reach);
            }
        }
        cairo_clip(context_.get());
        cairo_set_operator(context_.get(), CAIRO_OPERATOR_DEST_IN);
        cairo_set_source_rgba(context_.get(), 0, 0, 0, 1);
        trace(frame, shape.cornerRadius);
        cairo_fill(context_.get());
    }

  private:
    /// Strokes and piled up marks stand out of their frames, never as far as this.
    bool isNear(const Rect& frame) const {
        constexpr double reach = 16;
        return frame.bottom() + reach >= top_ && frame.top() - reach <= bottom_;
    }

    void trace(const Rect& frame, double cornerRadius) {
        if (cornerRadius <= 0) {
            cairo_rectangle(context_.get(), frame.left(), frame.top(), frame.size.width, frame.size.height);
            return;
        }
        cairo_new_sub_path(context_.get());
        for (const Path::Segment& segment : continuousRoundedRectangle(frame, cornerRadius).segments) {
            cairo_line_to(context_.get(), segment.lineTo.x, segment.lineTo.y);
            for (const auto& [first, second, end] : segment.curves) {
                cairo_curve_to(context_.get(), first.x, first.y, second.x, second.y, end.x, end.y);
            }
        }
        cairo_close_path(context_.get());
    }

    bool choose(const Color& color, ColorScheme scheme) {
        const std::optional<RGBA> ink = ink_.color(color, scheme);
        if (!ink || ink->alpha == 0) return false;
        cairo_set_source_rgba(context_.get(), ink->red / 255.0, ink->green / 255.0, ink->blue / 255.0,
                              ink->alpha / 255.0);
        return true;
    }

    void draw(const DisplayItem& item, const LinearGradientItem& gradient) {
        const Rect& frame = item.frame;
        const std::unique_ptr<cairo_pattern_t, ReleasesPattern> pattern(
            cairo_pattern_create_linear(0, frame.top(), 0, frame.bottom()));
        for (std::size_t index = 0; index < gradient.stops.size(); ++index) {
            const std::optional<RGBA> ink = ink_.gradientStop(gradient.stops[index], item.colorScheme);
            if (!ink) return;
            const double place =
                gradient.stops.size() > 1
                    ? static_cast<double>(index) / static_cast<double>(gradient.stops.size() - 1)
                    : 0;
            cairo_pattern_add_color_stop_rgba(pattern.get(), place, ink->red / 255.0, ink->green / 255.0,
                                              ink->blue / 255.0, ink->alpha / 255.0);
        }
        cairo_set_source(context_.get(), pattern.get());
        trace(frame, 0);
        cairo_fill(context_.get());
    }

    void draw(const DisplayItem& item, const RoundedRectangleItem& rectangle) {
        if (!choose(rectangle.color, item.colorScheme)) return;
        trace(item.frame, rectangle.cornerRadius);
        if (!rectangle.strokeWidth) return cairo_fill(context_.get());
        cairo_set_line_width(context_.get(), *rectangle.strokeWidth);
        cairo_stroke(context_.get());
    }

    void draw(const DisplayItem& item, const RectangleItem& rectangle) {
        if (!choose(rectangle.color, item.colorScheme)) return;
        trace(item.frame, 0);
        cairo_fill(context_.get());
    }

    void draw(const DisplayItem& item, const TextItem& text) {
        if (!choose(text.color, item.colorScheme)) return;
        const Rect& frame = item.frame;
        // Marks piled up above and below a line end before they reach its neighbours.
        const double overhang = metrics(text.run).lineHeight / 4;
        trace({{frame.left() - overhang, frame.top() - overhang},
               {frame.size.width + 2 * overhang, frame.size.height + 2 * overhang}},
              0);
        cairo_clip(context_.get());

        const double enlarged = factor(text.run.textSize);
        cairo_scale(context_.get(), enlarged, enlarged);
        const std::vector<TextLine> lines = measurer_.lines(text.run, frame.size.width);
        const GSList* next = pango_layout_get_lines_readonly(measurer_.typeset(text.run, frame.size.width));
        for (std::size_t index = 0; index < lines.size() && next; ++index, next = next->next) {
            const Point origin = lineOrigin(text, frame, layoutDirection_, lines[index], index);
            const double baseline = std::round(origin.y * scale_) / scale_;
            show(*static_cast<PangoLayoutLine*>(next->data), {origin.x / enlarged, baseline / enlarged},
                 text.run.weight);
        }
    }

    void show(const PangoLayoutLine& line, Point origin, FontWeight weight) {
        double x = origin.x;
        for (const GSList* next = line.runs; next; next = next->next) {
            const auto& run = *static_cast<const PangoGlyphItem*>(next->data);
            show(run, {x, origin.y}, emboldeningStroke(*run.item->analysis.font, weight));
            x += static_cast<double>(pango_glyph_string_get_width(run.glyphs)) / PANGO_SCALE;
        }
    }

    void show(const PangoGlyphItem& run, Point origin, double stroke) {
        PangoFont* font = run.item->analysis.font;
        cairo_move_to(context_.get(), origin.x, origin.y);
        if (stroke <= 0) return pango_cairo_show_glyph_string(context_.get(), font, run.glyphs);
        // Together, so that a translucent colour is laid on once.
        cairo_push_group_with_content(context_.get(), CAIRO_CONTENT_ALPHA);
        cairo_move_to(context_.get(), origin.x, origin.y);
        pango_cairo_glyph_string_path(context_.get(), font, run.glyphs);
        cairo_fill_preserve(context_.get());
        cairo_set_line_width(context_.get(), stroke);
        cairo_set_line_join(context_.get(), CAIRO_LINE_JOIN_ROUND);
        cairo_stroke(context_.get());
        const std::unique_ptr<cairo_pattern_t, ReleasesPattern> letters(cairo_pop_group(context_.get()));
        cairo_mask(context_.get(), letters.get());
    }

    void draw(const DisplayItem& item, const AssetItem& asset) {
        const PixelSize room{static_cast<int>(std::lround(item.frame.size.width * scale_)),
                             static_cast<int>(std::lround(item.frame.size.height * scale_))};
        const std::optional<Bitmap> bitmap = ink_.asset(asset.name, room);
        if (!bitmap) return;
        const int beside = (room.width - bitmap->width()) / 2;
        const int above = (room.height - bitmap->height()) / 2;
        const double left = item.frame.left() * scale_ + beside;
        const double top = item.frame.top() * scale_ + above;
        show(*bitmap, {{left / scale_, top / scale_}, {bitmap->width() / scale_, bitmap->height() / scale_}});
    }

    void draw(const DisplayItem& item, const PictureItem& picture) {
        if (ink_.tint) {
            show(ink_.picture(*picture.bitmap, item.colorScheme), item.frame);
        } else {
            show(*picture.bitmap, item.frame);
        }
    }

    void show(const Bitmap& bitmap, const Rect& frame) {
        // Cairo takes pixels it could write to; as a source they are only read.
        const SurfacePointer source =
            surface(const_cast<std::uint32_t*>(bitmap.pixels.data()), bitmap.size, bitmap.stride());
        cairo_translate(context_.get(), frame.left(), frame.top());
        cairo_scale(context_.get(), frame.size.width / bitmap.width(), frame.size.height / bitmap.height());
        cairo_set_source_surface(context_.get(), source.get(), 0, 0);
        cairo_pattern_set_extend(cairo_get_source(context_.get()), CAIRO_EXTEND_PAD);
        cairo_rectangle(context_.get(), 0, 0, bitmap.width(), bitmap.height());
        cairo_fill(context_.get());
        cairo_set_source_rgba(context_.get(), 0, 0, 0, 0);  // lets go of the pixels
    }

    SurfacePointer surface_;
    std::unique_ptr<cairo_t, ReleasesContext> context_;
    double top_;
    double bottom_;
    LayoutDirection layoutDirection_;
    double scale_;
    const Ink& ink_;
    const PangoTextMeasurer& measurer_;
};

void paintPart(Bitmap& part, int top, const DisplayList& list, double scale, const Ink& ink,
               const PangoTextMeasurer& measurer) {
    CairoPainter painter(part, top, list.layoutDirection, scale, ink, measurer);
    forEachJoined(list.items, [&](std::span<const DisplayItem> joined) { painter.paint(joined); });
    painter.cut(list.container);
}

}  // namespace

PixelSize paintedSize(const DisplayList& list, double scale) {
    const auto pixels = [scale](double side) {
        return std::max(1, static_cast<int>(std::lround(side * scale)));
    };
    const Size size = list.container.frame.size;
    return {pixels(size.width), pixels(size.height)};
}

Bitmap painted(const DisplayList& list, double scale, const Ink& ink, const PangoTextMeasurer& measurer) {
    Bitmap bitmap = Bitmap::transparent(paintedSize(list, scale));
    paintPart(bitmap, 0, list, scale, ink, measurer);
    return bitmap;
}

void paintBands(const DisplayList& list, double scale, const Ink& ink, const PangoTextMeasurer& measurer,
                const std::function<void(const Bitmap& band)>& take) {
    constexpr int rows = 128;
    const PixelSize size = paintedSize(list, scale);
    for (int top = 0; top < size.height; top += rows) {
        Bitmap band = Bitmap::transparent({size.width, std::min(rows, size.height - top)});
        paintPart(band, top, list, scale, ink, measurer);
        take(band);
    }
}

}  // namespace drawing
