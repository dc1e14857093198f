// SPDX-License-Identifier: Apache-2.0

#pragma once

// What views read from where they are shown. A plain value; the pictures must outlive it.

#include "drawing/Image/ColorScheme.hpp"
#include "drawing/Views/Appearance.hpp"
#include "platform/WidgetKit/WidgetFamily.hpp"
#include "widget/ScaledPictures.hpp"

namespace widget {

struct ViewEnvironment {
    platform::WidgetFamily widgetFamily;
    drawing::ColorScheme colorScheme;
    ScaledPictures& pictures;
    drawing::Appearance appearance = {};
};

}  // namespace widget
