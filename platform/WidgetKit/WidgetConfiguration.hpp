// SPDX-License-Identifier: Apache-2.0

#pragma once

// What a widget declares to its host, and the bundle that holds widgets. Plain values.

#include <string>
#include <vector>

#include "platform/WidgetKit/WidgetFamily.hpp"

namespace platform {

/// A widget configured by an app intent. `displayName` and `description` are localisable and shown in the
/// gallery.
template <typename Provider>
struct AppIntentConfiguration {
    std::string kind;
    Provider provider;
    std::string displayName;
    std::string description;
    /// In the order in which the gallery offers them.
    std::vector<WidgetFamily> supportedFamilies;
};

}  // namespace platform
