// SPDX-License-Identifier: Apache-2.0

#pragma once

// Pictures drawn by us: merchants' logos, products and a landscape. They are drawn at the size that is asked
// for, so that no picture is ever scaled up.

#include <cstdint>
#include <string>

#include "drawing/Writers/StraightBitmap.hpp"

namespace sandbox {

struct Drawing {
    /// "logo", "landscape" or a product: "mug", "lamp", "book", "plant", "chair", "headphones", "lantern",
    /// "vase".
    std::string subject;
    /// Of a logo: "wave", "ring", "sun", "peak", "leaf", "kite", "bars" or "tile".
    std::string motif = {};
    /// Of a logo: its initials, in any script.
    std::string text = {};
    /// 0xRRGGBB.
    std::uint32_t ground = 0x808080;
};

/// Throws Error for a subject or a motif that is not known.
drawing::StraightBitmap drawn(const Drawing& drawing, drawing::PixelSize size);

}  // namespace sandbox
