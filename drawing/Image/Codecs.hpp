// SPDX-License-Identifier: Apache-2.0

#pragma once

// What each format offers to Image.cpp, which has bounded the bytes and chosen the format by their first few.
// `decoded` is only asked for what its own header gave, within the bounds.

#include <optional>
#include <string_view>

#include "drawing/Image/Image.hpp"

namespace drawing {

std::optional<ImageHeader> jpegHeader(std::string_view bytes);
std::optional<Bitmap> jpegDecoded(std::string_view bytes, PixelSize wanted);

std::optional<ImageHeader> pngHeader(std::string_view bytes);
std::optional<Bitmap> pngDecoded(std::string_view bytes, PixelSize wanted);

std::optional<ImageHeader> webpHeader(std::string_view bytes);
std::optional<Bitmap> webpDecoded(std::string_view bytes, PixelSize wanted);

std::optional<ImageHeader> gifHeader(std::string_view bytes);
std::optional<Bitmap> gifDecoded(std::string_view bytes, PixelSize wanted);

}  // namespace drawing
