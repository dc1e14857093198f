// SPDX-License-Identifier: Apache-2.0

#pragma once

// What the sandbox's pictures are drawn on. Used by one thread at a time.

#include <cairo.h>

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <utility>

#include "drawing/Writers/StraightBitmap.hpp"

namespace sandbox {

/// Each channel from 0 to 1.
struct Colour {
    double red;
    double green;
    double blue;

    /// From 0xRRGGBB.
    static Colour ofCode(std::uint32_t code);
};

inline constexpr Colour white = {1, 1, 1};
inline constexpr Colour ink = {0.13, 0.16, 0.20};

/// The first colour with that share of the second, from 0 to 1.
Colour mixed(Colour one, Colour other, double share);

/// A drawing surface whose shorter side is one unit long, with the middle of the picture at (0.5, 0.5).
class Canvas {
  public:
    explicit Canvas(drawing::PixelSize size);

    cairo_t* context() { return context_.get(); }
    double left() const { return 0.5 - halfWidth_; }
    double top() const { return 0.5 - halfHeight_; }
    double width() const { return 2 * halfWidth_; }
    double height() const { return 2 * halfHeight_; }

    void use(Colour colour, double opacity = 1);
    void fill(Colour colour, double opacity = 1);
    void stroke(Colour colour, double width, double opacity = 1);
    void ground(Colour above, Colour below);
    void circle(double x, double y, double radius);
    void box(double x, double y, double width, double height, double radius);
    void polygon(std::initializer_list<std::pair<double, double>> corners);
    /// Swings about `level` from edge to edge, and is closed below.
    void hills(double level, double swing, double length, double phase);
    /// Centred on (x, y) by its ink, made smaller where it would be wider than the picture allows.
    void text(const std::string& text, double x, double y, double size, Colour colour);

    drawing::StraightBitmap bitmap() const;

  private:
    struct Release {
        void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
        void operator()(cairo_t* context) const { cairo_destroy(context); }
    };
    std::unique_ptr<cairo_surface_t, Release> surface_;
    std::unique_ptr<cairo_t, Release> context_;
    double halfWidth_ = 0.5;
    double halfHeight_ = 0.5;
};

}  // namespace sandbox
