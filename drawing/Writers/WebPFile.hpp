// SPDX-License-Identifier: Apache-2.0

#pragma once

// WebP files, with and without loss. Pure functions.

#include <optional>
#include <string>
#include <vector>

#include "drawing/Writers/StraightBitmap.hpp"

namespace drawing {

enum class WebPLoss { lossless, lossy };

struct WebPFileOptions {
    WebPLoss loss = WebPLoss::lossy;
    float quality = 85;  // 0 to 100, with loss
    /// Without loss: 0 to 9, each of which packs by other means; libwebp's own choice if absent.
    std::optional<int> effort = {};
    /// The contents of an EXIF chunk.
    std::string exif = {};
};

/// Throws std::runtime_error for a picture that WebP cannot hold: of no pixel, or of a side beyond 16,383.
std::string webpFile(const StraightBitmap& bitmap, const WebPFileOptions& options = {});

/// One picture of an animation, and where it lies on the canvas: both numbers even.
struct WebPFrame {
    StraightBitmap bitmap;
    int left = 0;
    int top = 0;
};

/// An animation that goes round without end, each frame a tenth of a second. Frames are not held to the
/// canvas.
std::string animatedWebPFile(PixelSize canvas, const std::vector<WebPFrame>& frames,
                             const WebPFileOptions& options = {});

}  // namespace drawing
