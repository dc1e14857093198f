// SPDX-License-Identifier: Apache-2.0

#include "sandbox/Drawing.hpp"

#include "sandbox/Canvas.hpp"
#include "sandbox/Motifs.hpp"
#include "sandbox/Products.hpp"

namespace sandbox {
namespace {

void landscape(Canvas& canvas, Colour ground) {
    canvas.ground(mixed(ground, white, 0.75), mixed(ground, {1, 0.78, 0.55}, 0.8));
    canvas.circle(canvas.left() + 0.72 * canvas.width(), 0.36, 0.12);
    canvas.fill({1, 0.95, 0.8});
    for (int ridge = 0; ridge < 5; ++ridge) {
        canvas.hills(0.52 + 0.11 * ridge, 0.045 + 0.006 * ridge, 0.9 - 0.1 * ridge, ridge * 2.1);
        canvas.fill(mixed(mixed(ground, white, 0.35), ink, 0.16 * ridge));
    }
}

}  // namespace

drawing::StraightBitmap drawn(const Drawing& drawing, drawing::PixelSize size) {
    Canvas canvas(size);
    const Colour ground = Colour::ofCode(drawing.ground);
    if (drawing.subject == "landscape") {
        landscape(canvas, ground);
    } else if (drawing.subject == "logo") {
        canvas.ground(mixed(ground, white, 0.08), mixed(ground, ink, 0.12));
        named(drawing.motif, motifs()).paint(canvas, ground);
        canvas.text(drawing.text, 0.5, 0.5, 0.42, white);
    } else {
        canvas.ground(mixed(ground, white, 0.90), mixed(ground, white, 0.78));
        named(drawing.subject, products()).paint(canvas, ground);
    }
    return canvas.bitmap();
}

}  // namespace sandbox
