// SPDX-License-Identifier: Apache-2.0

#pragma once

// The root of what is shown for an entry: the state chooses the layout first, then the family; behind it
// stands the widget's background. Pictures are read while the body is made and laid out.

#include "drawing/Views/View.hpp"
#include "widget/SimpleEntry.hpp"
#include "widget/ViewEnvironment.hpp"

namespace widget {

struct TrackingWidgetEntryView {
    const SimpleEntry& entry;

    /// At the environment's text size, whether or not its words stand whole then. What the environment refers
    /// to must outlive the view.
    drawing::View body(const ViewEnvironment& environment) const;
};

}  // namespace widget
