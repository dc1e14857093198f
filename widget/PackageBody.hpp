// SPDX-License-Identifier: Apache-2.0

#pragma once

// The parts of a package that layouts share.

#include <string>

#include "drawing/Views/View.hpp"
#include "presentation/Package.hpp"
#include "widget/ViewEnvironment.hpp"
#include "widget/WidgetImageSize.hpp"

namespace widget {

/// The part of its size down to which a line is set to show it whole.
inline constexpr double tightest = 0.88;

/// The status lines, with a little room above each; the first may break into so many.
drawing::View statusLines(const presentation::Package& package, int lines);
/// The pictures with the name and the status lines between them.
drawing::View packageRow(const presentation::Package& package, const ViewEnvironment& environment);
/// Small and quiet, on one line.
drawing::View footnote(const std::string& words);
/// The merchant's picture. Like that of the product, it is on a white plate where it was drawn for a light
/// ground and stands on a dark one.
drawing::View shopPicture(const presentation::Package& package, WidgetImageSize size,
                          const ViewEnvironment& environment);
/// Nothing where the package has no picture of its product.
drawing::View productPicture(const presentation::Package& package, WidgetImageSize size,
                             const ViewEnvironment& environment);
/// Flush with the margins: its markers, which reach out from the ends of the bar, stay within.
drawing::View progressBar(const presentation::Package& package);
drawing::View progressBar(const presentation::Package& package, double height, const drawing::Color& color);

}  // namespace widget
