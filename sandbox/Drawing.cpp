#include "sandbox/Drawing.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string_view>

#include "sandbox/Canvas.hpp"
#include "sandbox/Error.hpp"

namespace sandbox {
namespace {

constexpr double pi = std::numbers::pi;

constexpr Colour white = {1, 1, 1};
constexpr Colour ink = {0.13, 0.16, 0.20};

using Painter = void (*)(Canvas&, Colour ground);

struct NamedPainter {
    std::string_view name;
    Painter paint;
};

// Motifs stand behind the initials of a logo.

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

constexpr NamedPainter motifs[] = {{"wave", wave}, {"ring", ring}, {"sun", sun},   {"peak", peak},
                                   {"leaf", leaf}, {"kite", kite}, {"bars", bars}, {"tile", tile}};

// Products stand on a pale ground, over a soft shadow.

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

constexpr NamedPainter products[] = {{"mug", mug},         {"lamp", lamp},   {"book", book},
                                     {"plant", plant},     {"chair", chair}, {"headphones", headphones},
                                     {"lantern", lantern}, {"vase", vase}};

void landscape(Canvas& canvas, Colour ground) {
    canvas.ground(mixed(ground, white, 0.75), mixed(ground, {1, 0.78, 0.55}, 0.8));
    canvas.circle(canvas.left() + 0.72 * canvas.width(), 0.36, 0.12);
    canvas.fill({1, 0.95, 0.8});
    for (int ridge = 0; ridge < 5; ++ridge) {
        canvas.hills(0.52 + 0.11 * ridge, 0.045 + 0.006 * ridge, 0.9 - 0.1 * ridge, ridge * 2.1);
        canvas.fill(mixed(mixed(ground, white, 0.35), ink, 0.16 * ridge));
    }
}

const NamedPainter& named(std::string_view name, const NamedPainter* first, std::size_t count) {
    const auto found = std::find_if(first, first + count,
                                    [name](const NamedPainter& painter) { return painter.name == name; });
    if (found == first + count) throw Error("nothing called \"" + std::string(name) + "\" can be drawn");
    return *found;
}

}  // namespace

drawing::StraightBitmap drawn(const Drawing& drawing, drawing::PixelSize size) {
    Canvas canvas(size);
    const Colour ground = Colour::ofCode(drawing.ground);
    if (drawing.subject == "landscape") {
        landscape(canvas, ground);
    } else if (drawing.subject == "logo") {
        canvas.ground(mixed(ground, white, 0.08), mixed(ground, ink, 0.12));
        named(drawing.motif, motifs, std::size(motifs)).paint(canvas, ground);
        canvas.text(drawing.text, 0.5, 0.5, 0.42, white);
    } else {
        canvas.ground(mixed(ground, white, 0.90), mixed(ground, white, 0.78));
        named(drawing.subject, products, std::size(products)).paint(canvas, ground);
    }
    return canvas.bitmap();
}

}  // namespace sandbox
