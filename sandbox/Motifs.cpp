// SPDX-License-Identifier: Apache-2.0

#include "sandbox/Motifs.hpp"

#include <cmath>
#include <numbers>

namespace sandbox {
namespace {

using std::numbers::pi;

void wave(Canvas& canvas, Colour) {
    for (int row = 0; row < 3; ++row) {
        canvas.hills(0.72 + 0.09 * row, 0.03, 0.5, row * 1.3);
        canvas.fill(white, 0.14);
    }
}

void ring(Canvas& canvas, Colour) {
    canvas.circle(0.5, 0.5, 0.38);
    canvas.stroke(white, 0.035, 0.55);
    canvas.circle(0.77, 0.23, 0.055);
    canvas.fill(white, 0.9);
}

void sun(Canvas& canvas, Colour ground) {
    canvas.circle(0.5, 1.08, 0.36);
    canvas.fill(mixed(ground, white, 0.35));
    for (int ray = -4; ray <= 4; ++ray) {
        const double angle = -pi / 2 + ray * pi / 9;
        cairo_move_to(canvas.context(), 0.5 + 0.42 * std::cos(angle), 1.08 + 0.42 * std::sin(angle));
        cairo_line_to(canvas.context(), 0.5 + 0.50 * std::cos(angle), 1.08 + 0.50 * std::sin(angle));
        canvas.stroke(mixed(ground, white, 0.5), 0.02);
    }
}

void peak(Canvas& canvas, Colour) {
    canvas.polygon({{-0.05, 1.05}, {0.34, 0.58}, {0.73, 1.05}});
    canvas.fill(white, 0.18);
    canvas.polygon({{0.32, 1.05}, {0.70, 0.66}, {1.08, 1.05}});
    canvas.fill(white, 0.18);
}

void leaf(Canvas& canvas, Colour) {
    cairo_t* path = canvas.context();
    cairo_move_to(path, 0.10, 0.90);
    cairo_curve_to(path, 0.10, 0.30, 0.45, 0.10, 0.92, 0.10);
    cairo_curve_to(path, 0.92, 0.62, 0.66, 0.90, 0.10, 0.90);
    canvas.fill(white, 0.16);
    cairo_move_to(path, 0.10, 0.90);
    cairo_line_to(path, 0.92, 0.10);
    canvas.stroke(white, 0.012, 0.2);
}

void kite(Canvas& canvas, Colour) {
    canvas.polygon({{0.5, 0.06}, {0.94, 0.5}, {0.5, 0.94}, {0.06, 0.5}});
    canvas.fill(white, 0.14);
    canvas.polygon({{0.5, 0.06}, {0.94, 0.5}, {0.5, 0.5}});
    canvas.fill(white, 0.10);
    canvas.polygon({{0.5, 0.94}, {0.06, 0.5}, {0.5, 0.5}});
    canvas.fill(white, 0.10);
}

void bars(Canvas& canvas, Colour) {
    constexpr double heights[] = {0.10, 0.20, 0.15, 0.28, 0.18};
    for (int bar = 0; bar < 5; ++bar) {
        canvas.box(0.16 + 0.145 * bar, 0.94 - heights[bar], 0.10, heights[bar], 0.03);
        canvas.fill(white, 0.25);
    }
}

void tile(Canvas& canvas, Colour) {
    for (int row = 0; row < 4; ++row) {
        for (int column = row % 2; column < 4; column += 2) {
            canvas.box(column * 0.25, row * 0.25, 0.25, 0.25, 0.001);
            canvas.fill(white, 0.09);
        }
    }
}

constexpr NamedPainter motifPainters[] = {{"wave", wave}, {"ring", ring}, {"sun", sun},   {"peak", peak},
                                          {"leaf", leaf}, {"kite", kite}, {"bars", bars}, {"tile", tile}};

}  // namespace

std::span<const NamedPainter> motifs() {
    return motifPainters;
}

}  // namespace sandbox
