// SPDX-License-Identifier: Apache-2.0

#pragma once

// How far a package has come: a track and its fill, both with a mark on their end. A plain value.

#include "drawing/Views/View.hpp"

namespace widget {

struct ProgressBar {
    /// 0.0 to 1.0; what is outside counts as the nearest of them, what is no number as 0.
    float progress;
    /// In points.
    double height;
    /// Of the fill and its mark.
    drawing::Color color;

    drawing::View body() const;
};

}  // namespace widget
