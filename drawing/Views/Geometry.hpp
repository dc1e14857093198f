// SPDX-License-Identifier: Apache-2.0

#pragma once

// Places and sizes in points; y grows downward. Plain values.

namespace drawing {

struct Point {
    double x = 0;
    double y = 0;
    bool operator==(const Point&) const = default;
};

struct Size {
    double width = 0;
    double height = 0;
    bool operator==(const Size&) const = default;
};

struct Rect {
    Point origin;
    Size size;

    double left() const { return origin.x; }
    double top() const { return origin.y; }
    double right() const { return origin.x + size.width; }
    double bottom() const { return origin.y + size.height; }
    Rect insetBy(double length) const {
        return {{origin.x + length, origin.y + length}, {size.width - 2 * length, size.height - 2 * length}};
    }
    bool operator==(const Rect&) const = default;
};

inline Point operator+(Point first, Point second) {
    return {first.x + second.x, first.y + second.y};
}

}  // namespace drawing
