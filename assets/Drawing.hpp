// SPDX-License-Identifier: Apache-2.0

#pragma once

// A vector drawing, read from the small part of SVG that ours are written in: one svg element with width,
// height and a viewBox from 0 0, and path elements with fill, fill-opacity and a d of absolute M, L, H, V, C
// and Z. Anything else throws std::invalid_argument.

#include <string>
#include <string_view>
#include <vector>

#include "drawing/Image/Bitmap.hpp"

namespace assets {

struct Point {
    double x;
    double y;
};

/// One step of a path: `command` is 'M' or 'L' (one point), 'C' (three) or 'Z' (none).
struct Step {
    char command;
    std::vector<Point> points;
};

struct Path {
    std::string fill;  // #RRGGBBAA
    std::vector<Step> steps;
};

/// In points of its natural size.
struct Drawing {
    double width;
    double height;
    std::vector<Path> paths;
};

Drawing drawingFrom(std::string_view svg);
/// As SVG path data.
std::string pathData(const std::vector<Step>& steps);
drawing::Bitmap rasterised(const Drawing& drawing, drawing::PixelSize size);

}  // namespace assets
