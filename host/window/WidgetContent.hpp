// SPDX-License-Identifier: Apache-2.0

#pragma once

// What a drawing says and where it leads, for whoever does not look at it: one place for each package or
// text. Pure functions, safe from any thread.

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "widget/DrawingRequest.hpp"

namespace host {

/// A drawing's tree that cannot be read; `what()` says why.
class WidgetContentError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct WidgetSpot {
    /// In points from the drawing's corner.
    drawing::Rect frame;
    /// What a screen reader says of it.
    std::string words;
    /// Where a click leads; nothing for a text that is only read.
    std::optional<std::string> link = std::nullopt;

    bool operator==(const WidgetSpot&) const = default;
};

/// In the order in which a person reads them.
using WidgetContent = std::vector<WidgetSpot>;

/// Of a drawing in the formats `tree` and `text`. `wholeLink` is where a drawing without links of its own
/// leads as a whole. Throws WidgetContentError.
WidgetContent widgetContent(std::string_view tree, std::string_view text,
                            const std::optional<std::string>& wholeLink = std::nullopt);

/// The link that lies on top at a point; nothing where there is none.
std::optional<std::string> linkAt(const WidgetContent& content, drawing::Point point);

}  // namespace host
