// SPDX-License-Identifier: Apache-2.0

#pragma once

// A package where texts are larger than the design's. Its words stand whole and unshrunk; what stood beside
// them makes room: the product's picture first, then the merchant's name where its picture is shown, then
// that picture where the name is.

#include <optional>
#include <vector>

#include "drawing/Views/View.hpp"
#include "presentation/Package.hpp"
#include "widget/PackageBody.hpp"
#include "widget/ViewEnvironment.hpp"

namespace widget {

/// In as many lines as they need.
inline constexpr StatusSetting unshrunk{4, 4, 1};

/// On one line, and no larger than `most`: it is to be found, not to be read first.
drawing::View merchantName(const presentation::Package& package, const ViewEnvironment& environment,
                           drawing::TextSize most = drawing::TextSize::accessibility1);

/// Forms as high as there is room, from the one with most to see on; `corner` stands at the top. Pictures are
/// no larger than `largest`.
std::vector<drawing::View> enlargedBodies(const presentation::Package& package,
                                          const ViewEnvironment& environment, WidgetImageSize largest,
                                          const drawing::View& corner);

/// A row among others, of its own height: with the merchant's name if that is shown beside a picture, too.
enum class RowName { shown, yielding };
drawing::View enlargedRow(const presentation::Package& package, const ViewEnvironment& environment,
                          RowName name, const std::optional<drawing::View>& corner);

}  // namespace widget
