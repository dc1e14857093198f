// SPDX-License-Identifier: Apache-2.0

#include "sandbox/Products.hpp"

#include <cmath>
#include <numbers>

namespace sandbox {
namespace {

using std::numbers::pi;

void shadow(Canvas& canvas, double width) {
    cairo_save(canvas.context());
    cairo_translate(canvas.context(), 0.5, 0.84);
    cairo_scale(canvas.context(), width, 0.035);
    canvas.circle(0, 0, 1);
    cairo_restore(canvas.context());
    canvas.fill(ink, 0.14);
}

void mug(Canvas& canvas, Colour ground) {
    shadow(canvas, 0.30);
    canvas.circle(0.70, 0.55, 0.12);
    canvas.stroke(mixed(ground, ink, 0.2), 0.055);
    canvas.box(0.27, 0.32, 0.42, 0.52, 0.07);
    canvas.fill(ground);
    canvas.box(0.27, 0.50, 0.42, 0.09, 0.001);
    canvas.fill(white, 0.45);
    for (int wisp = 0; wisp < 2; ++wisp) {
        const double x = 0.42 + 0.12 * wisp;
        cairo_move_to(canvas.context(), x, 0.27);
        cairo_curve_to(canvas.context(), x - 0.05, 0.22, x + 0.05, 0.18, x, 0.13);
        canvas.stroke(ink, 0.018, 0.3);
    }
}

void lamp(Canvas& canvas, Colour ground) {
    shadow(canvas, 0.22);
    canvas.box(0.485, 0.42, 0.03, 0.40, 0.012);
    canvas.fill(ink);
    canvas.box(0.36, 0.80, 0.28, 0.04, 0.018);
    canvas.fill(ink);
    canvas.polygon({{0.37, 0.14}, {0.63, 0.14}, {0.75, 0.45}, {0.25, 0.45}});
    canvas.fill(ground);
    canvas.polygon({{0.37, 0.14}, {0.45, 0.14}, {0.41, 0.45}, {0.25, 0.45}});
    canvas.fill(white, 0.25);
}

void book(Canvas& canvas, Colour ground) {
    shadow(canvas, 0.27);
    canvas.box(0.27, 0.18, 0.46, 0.66, 0.02);
    canvas.fill(mixed(white, ink, 0.08));
    canvas.box(0.25, 0.16, 0.45, 0.65, 0.025);
    canvas.fill(ground);
    canvas.box(0.25, 0.16, 0.07, 0.65, 0.025);
    canvas.fill(ink, 0.22);
    canvas.box(0.39, 0.28, 0.24, 0.035, 0.017);
    canvas.fill(white, 0.9);
    canvas.box(0.39, 0.345, 0.16, 0.025, 0.012);
    canvas.fill(white, 0.6);
    canvas.circle(0.51, 0.60, 0.09);
    canvas.fill(white, 0.3);
}

void plant(Canvas& canvas, Colour ground) {
    shadow(canvas, 0.22);
    constexpr double angles[] = {-0.9, -0.45, 0, 0.45, 0.9};
    for (const double angle : angles) {
        cairo_save(canvas.context());
        cairo_translate(canvas.context(), 0.5, 0.60);
        cairo_rotate(canvas.context(), angle);
        cairo_move_to(canvas.context(), 0, 0);
        cairo_curve_to(canvas.context(), -0.12, -0.16, -0.07, -0.36, 0, -0.45);
        cairo_curve_to(canvas.context(), 0.07, -0.36, 0.12, -0.16, 0, 0);
        cairo_restore(canvas.context());
        canvas.fill(mixed({0.16, 0.49, 0.33}, white, 0.12 + std::fabs(angle) * 0.2));
    }
    canvas.polygon({{0.33, 0.58}, {0.67, 0.58}, {0.62, 0.84}, {0.38, 0.84}});
    canvas.fill(ground);
    canvas.box(0.31, 0.56, 0.38, 0.07, 0.02);
    canvas.fill(mixed(ground, ink, 0.15));
}

void chair(Canvas& canvas, Colour ground) {
    shadow(canvas, 0.30);
    for (const double x : {0.31, 0.66}) {
        canvas.box(x, 0.58, 0.03, 0.26, 0.012);
        canvas.fill(mixed({0.72, 0.52, 0.34}, ink, 0.1));
    }
    canvas.box(0.29, 0.16, 0.42, 0.40, 0.09);
    canvas.fill(ground);
    canvas.box(0.25, 0.52, 0.50, 0.11, 0.05);
    canvas.fill(mixed(ground, ink, 0.18));
}

void headphones(Canvas& canvas, Colour ground) {
    shadow(canvas, 0.30);
    cairo_arc(canvas.context(), 0.5, 0.52, 0.29, pi, 2 * pi);
    canvas.stroke(ink, 0.05);
    for (const double x : {0.15, 0.68}) {
        canvas.box(x, 0.50, 0.17, 0.28, 0.07);
        canvas.fill(ground);
    }
}

void lantern(Canvas& canvas, Colour ground) {
    shadow(canvas, 0.20);
    canvas.circle(0.5, 0.22, 0.10);
    canvas.stroke(ink, 0.022);
    canvas.polygon({{0.40, 0.22}, {0.60, 0.22}, {0.68, 0.34}, {0.32, 0.34}});
    canvas.fill(ink);
    canvas.box(0.34, 0.34, 0.32, 0.42, 0.02);
    canvas.fill(mixed(ground, white, 0.55));
    canvas.circle(0.5, 0.57, 0.09);
    canvas.fill(ground);
    canvas.box(0.31, 0.76, 0.38, 0.08, 0.02);
    canvas.fill(ink);
}

void vase(Canvas& canvas, Colour ground) {
    shadow(canvas, 0.20);
    cairo_t* path = canvas.context();
    cairo_move_to(path, 0.42, 0.16);
    cairo_curve_to(path, 0.46, 0.34, 0.26, 0.40, 0.28, 0.60);
    cairo_curve_to(path, 0.29, 0.74, 0.36, 0.80, 0.40, 0.84);
    cairo_line_to(path, 0.60, 0.84);
    cairo_curve_to(path, 0.64, 0.80, 0.71, 0.74, 0.72, 0.60);
    cairo_curve_to(path, 0.74, 0.40, 0.54, 0.34, 0.58, 0.16);
    cairo_close_path(path);
    canvas.fill(ground);
    canvas.box(0.28, 0.56, 0.44, 0.045, 0.01);
    canvas.fill(white, 0.5);
}

constexpr NamedPainter productPainters[] = {{"mug", mug},         {"lamp", lamp},
                                            {"book", book},       {"plant", plant},
                                            {"chair", chair},     {"headphones", headphones},
                                            {"lantern", lantern}, {"vase", vase}};

}  // namespace

std::span<const NamedPainter> products() {
    return productPainters;
}

}  // namespace sandbox
