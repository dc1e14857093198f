// SPDX-License-Identifier: Apache-2.0

#include "widget/ProgressBar.hpp"

namespace widget {

using namespace drawing;

namespace {

constexpr double cornerRadius = 2;

View bar(const Color& color, double length, double height) {
    return roundedRectangle(cornerRadius, color).frame({.width = length, .height = height});
}

/// Centred on where the bar ends.
View endMarker(const Color& color, double end, double height) {
    return roundedRectangle(cornerRadius, color)
        .frame({.width = 2 * height, .height = 2 * height})
        .offset({end - height, 0});
}

}  // namespace

View ProgressBar::body() const {
    const double fraction = progress > 0 ? (progress < 1 ? progress : 1) : 0;
    const auto content = [fraction, height = height, fill = color](Size offered) {
        const Color track = Color::asset("ProgressBarBackgroundColor");
        const double length = offered.width;
        return layeredStack(Alignment::leading,
                            {
                                bar(track, length, height),
                                endMarker(track, length, height),
                                bar(fill, length * fraction, height),
                                endMarker(fill, length * fraction, height),
                            })
            .alignedToPixels();
    };
    return geometryReader(content).padding({.top = -height / 2}).frame({.height = height});
}

}  // namespace widget
