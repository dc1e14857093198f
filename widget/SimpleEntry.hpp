// SPDX-License-Identifier: Apache-2.0

#pragma once

// One timeline entry: from when on, and what. A plain value.

#include <string>

#include "platform/Date/Date.hpp"
#include "widget/WidgetState.hpp"

namespace widget {

struct SimpleEntry {
    /// When the host should show this entry.
    platform::Date date;
    WidgetState widgetState;
};

/// The entry shown while nothing is known: three sample packages of the merchant.
SimpleEntry placeholderEntry(platform::Date date, const std::string& shopName);

/// Whether any of its packages has a picture to be read.
bool namesPictures(const SimpleEntry& entry);

}  // namespace widget
