#pragma once

// One package in one line.

#include "platform/SwiftUI/View.hpp"
#include "presentation/Package.hpp"

namespace widget {

struct AccessoryInlinePackage {
    const presentation::Package& package;

    platform::View body() const;
};

}  // namespace widget
