// SPDX-License-Identifier: Apache-2.0

#pragma once

// WebP files, with and without loss. Pure functions.

#include <optional>
#include <string>

#include "drawing/Writers/StraightBitmap.hpp"

namespace drawing {

enum class WebPLoss { lossless, lossy };

struct WebPFileOptions {
    WebPLoss loss = WebPLoss::lossy;
    float quality = 85;  // 0 to 100, with loss
    /// Without loss: 0 to 9, each of which packs by other means; libwebp's own choice if absent.
    std::optional<int> effort = {};
};

/// Throws std::runtime_error for a picture that WebP cannot hold: of no pixel, or of a side beyond 16,383.
std::string webpFile(const StraightBitmap& bitmap, const WebPFileOptions& options = {});

}  // namespace drawing
