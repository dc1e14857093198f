// SPDX-License-Identifier: Apache-2.0

#pragma once

// How a person has the page, as its address says it: "?scheme=dark&textSize=xLarge". What is not said follows
// the system, which the browser knows. A plain value; its functions are pure and safe from any thread.

#include <optional>
#include <string>
#include <string_view>

#include "widget/DrawingRequest.hpp"

namespace host {

struct PageChoices {
    std::optional<drawing::ColorScheme> scheme = std::nullopt;
    std::optional<drawing::TextSize> textSize = std::nullopt;
    drawing::Contrast contrast = drawing::Contrast::standard;

    /// What is not known is passed over.
    static PageChoices fromQuery(std::string_view query);
    /// With the question mark; empty where everything follows the system.
    std::string query() const;

    drawing::Appearance appearance() const;
};

}  // namespace host
