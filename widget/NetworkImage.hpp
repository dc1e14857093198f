// SPDX-License-Identifier: Apache-2.0

#pragma once

// A picture from a URL in a square with rounded corners, read while the view is built: widgets cannot load
// later. Every failure shows the placeholder. A plain value.

#include <optional>
#include <string>

#include "drawing/Views/View.hpp"
#include "platform/URL/URL.hpp"
#include "widget/ScaledPictures.hpp"

namespace widget {

struct NetworkImage {
    static constexpr double cornerRadius = 8;

    std::optional<platform::URL> url;
    /// The side of the square, in points.
    double imageSize;
    /// Written on the placeholder.
    std::string name;
    drawing::ContentMode contentMode = drawing::ContentMode::fit;
    /// A drawing of the asset catalogue that stands on the placeholder where there is nothing to write.
    std::string sign = "";

    /// Blocks while the picture is read.
    drawing::View body(ScaledPictures& pictures) const;

  private:
    drawing::View placeholder() const;
};

/// What is written on the placeholder of a merchant: the first character of its name that can be seen.
std::string initial(const std::string& shopName);

}  // namespace widget
