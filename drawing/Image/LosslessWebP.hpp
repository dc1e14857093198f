// SPDX-License-Identifier: Apache-2.0

#pragma once

// What libwebp allocates for a stream of WebP without loss (RFC 9649, 3): its pixels, and tables for groups
// of prefix codes, which are found only by reading the stream as far as the list of groups. A file of
// kilobytes may ask for a gigabyte of tables.

#include <cstddef>
#include <optional>
#include <string_view>

#include "drawing/Image/Bitmap.hpp"

namespace drawing {

/// Whether the stream's own header stands before it; that of an alpha channel has none.
enum class LosslessHeader { present, absent };

/// Bytes at most, the outcome and `stream` itself not among them. Nothing where the stream is broken before
/// its pixels begin. `size` is a picture's of 2^14 pixels a side at most.
std::optional<std::size_t> losslessWebPMemory(std::string_view stream, PixelSize size, LosslessHeader header);

}  // namespace drawing
