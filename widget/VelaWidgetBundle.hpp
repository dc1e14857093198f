// SPDX-License-Identifier: Apache-2.0

#pragma once

// The extension's principal type: a bundle of exactly one widget.

#include "widget/TrackingWidget.hpp"

namespace widget {

struct VelaWidgetBundle {
    TrackingWidget body() const { return {}; }
};

}  // namespace widget
