// SPDX-License-Identifier: Apache-2.0

#pragma once

// An entry in the place that a host has for it, at the text size that the place allows.

#include "drawing/Layout/DisplayList.hpp"
#include "drawing/Layout/TextMeasurer.hpp"
#include "widget/SimpleEntry.hpp"
#include "widget/ViewEnvironment.hpp"

namespace widget {

/// At the person's text size, or at the next one below, down to the design's, at which the widget's words
/// stand whole. Pictures are read meanwhile.
drawing::DisplayList laidOut(const SimpleEntry& entry, const ViewEnvironment& environment,
                             const drawing::WidgetContainer& container,
                             const drawing::TextMeasurer& measurer);

}  // namespace widget
