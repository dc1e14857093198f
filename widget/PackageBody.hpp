#pragma once

// The part of a package that the medium and the large layouts share.

#include "platform/SwiftUI/View.hpp"
#include "presentation/Package.hpp"
#include "widget/ScaledPictures.hpp"

namespace widget {

/// The status lines, with a little room above each.
platform::View statusLines(const presentation::Package& package);
platform::View shopName(const presentation::Package& package);
platform::View shopPicture(const presentation::Package& package, ScaledPictures& pictures);
/// Nothing where the package has no picture of its product.
platform::View productPicture(const presentation::Package& package, ScaledPictures& pictures);
platform::View progressBar(const presentation::Package& package);

}  // namespace widget
