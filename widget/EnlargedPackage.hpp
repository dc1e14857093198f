// SPDX-License-Identifier: Apache-2.0

#pragma once

// A package where texts are larger than the design's. Its words stand whole and unshrunk; what stood beside
// them makes room: the product's picture first, then the merchant's name where its picture is shown, then
// that picture where the name is.

#include <vector>

#include "drawing/Views/View.hpp"
#include "presentation/Package.hpp"
#include "widget/PackageBody.hpp"
#include "widget/ViewEnvironment.hpp"

namespace widget {

/// In as many lines as they need.
inline constexpr StatusSetting unshrunk{4, 4, 1};

/// Forms as high as there is room, from the one with most to see on; `corner` stands at the top. Pictures are
/// no larger than `largest`.
std::vector<drawing::View> enlargedBodies(const presentation::Package& package,
                                          const ViewEnvironment& environment, WidgetImageSize largest,
                                          const drawing::View& corner);

/// A row among others, of its own height, from the lowest form on.
std::vector<drawing::View> enlargedRows(const presentation::Package& package,
                                        const ViewEnvironment& environment, const drawing::View& corner);

}  // namespace widget
