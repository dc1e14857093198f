// SPDX-License-Identifier: Apache-2.0

#pragma once

// The widget's configuration: it has no parameters, so there is nothing to configure.

#include <string>

namespace widget {

struct ConfigurationAppIntent {
    /// A localisable text; made once, on first use.
    static const std::string& title();

    bool operator==(const ConfigurationAppIntent&) const = default;
};

}  // namespace widget
