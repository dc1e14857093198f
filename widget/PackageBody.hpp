#pragma once

// The parts of a package that layouts share.

#include <string>

#include "platform/SwiftUI/View.hpp"
#include "presentation/Package.hpp"
#include "widget/ViewEnvironment.hpp"
#include "widget/WidgetImageSize.hpp"

namespace widget {

/// The status lines, with a little room above each.
platform::View statusLines(const presentation::Package& package);
/// Small and quiet, on one line.
platform::View footnote(const std::string& words);
/// The merchant's picture, on a white plate where it was drawn for a light ground and stands on a dark one.
platform::View shopPicture(const presentation::Package& package, WidgetImageSize size,
                           const ViewEnvironment& environment);
/// Nothing where the package has no picture of its product.
platform::View productPicture(const presentation::Package& package, WidgetImageSize size,
                              const ViewEnvironment& environment);
platform::View progressBar(const presentation::Package& package);

}  // namespace widget
