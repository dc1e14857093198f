// SPDX-License-Identifier: Apache-2.0

#pragma once

// Pictures from untrusted bytes: JPEG, PNG, WebP and GIF, of animations the first frame, each found by its
// contents. A picture
// is reduced while it is decoded, so that it costs the memory of its reduced form and a few rows, whatever
// the order of the rows; JPEG in several scans costs its coefficients besides, packed, and WebP without loss
// its own size. What does not come row after row is bounded more tightly, and so is the work that a picture
// may be. Bytes that are too many, declare too much, would take too much, are cut short or are no picture
// give nothing; a JPEG that lacks nothing but its end is whole.
//
// Colour profiles and gamma chunks are not applied: every picture is taken to be sRGB. Filtering is done on
// the encoded values, not in linear light, as JPEG's own scaled decoding and all later compositing do it: a
// dark wordmark on white keeps the weight it was drawn with.
//
// Safe from any thread.

#include <cstddef>
#include <optional>
#include <string_view>

#include "drawing/Image/Bitmap.hpp"

namespace drawing {

enum class ImageFormat { jpeg, png, webp, gif };

/// Whether a picture's rows come one after another, each of them finished.
enum class ImageDecoding { byRows, whole };

struct ImageHeader {
    ImageFormat format;
    PixelSize size;  // as shown: after the orientation that a camera noted
    ImageDecoding decoding;
    friend bool operator==(const ImageHeader&, const ImageHeader&) = default;
};

/// What is looked at, at most: bytes, pixels of a side, pixels declared, and the memory that decoding may
/// take beside the bytes, the reduced picture included.
struct ImageBounds {
    static constexpr std::size_t bytes = 8u << 20;
    static constexpr int side = 32'767;
    static constexpr long long pixelsByRows = 64'000'000;
    static constexpr long long pixelsWhole = 16'000'000;
    static constexpr std::size_t memory = 24u << 20;
    static constexpr int wantedSide = 1024;
};

/// Nothing unless the bytes begin a picture within the bounds. Decodes no pixel.
std::optional<ImageHeader> imageHeader(std::string_view bytes);

/// The picture, shown upright, resized to exactly `wanted` pixels (1 to `ImageBounds::wantedSide` a side; its
/// shape is the caller's affair). Nothing unless every pixel could be read.
std::optional<Bitmap> decodedImage(std::string_view bytes, PixelSize wanted);

/// The largest size of `picture`'s shape within `box`, larger or smaller than the picture; no side is less
/// than one.
PixelSize scaledToFit(PixelSize picture, PixelSize box);

/// A bitmap resized to exactly `wanted`, with the filter of `decodedImage`.
Bitmap resized(const Bitmap& bitmap, PixelSize wanted);

}  // namespace drawing
