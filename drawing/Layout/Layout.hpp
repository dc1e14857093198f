// SPDX-License-Identifier: Apache-2.0

#pragma once

// From a view and a proposed size to what stands where. A pure function: the same view, proposal and measurer
// give the same tree. Parents propose, children choose, parents place. Positions are exact; the pixel grid is
// met later, when the display list is made.

#include <memory>
#include <optional>
#include <vector>

#include "drawing/Layout/TextMeasurer.hpp"
#include "drawing/Views/Element.hpp"
#include "drawing/Views/Geometry.hpp"
#include "drawing/Views/View.hpp"

namespace drawing {

/// In points: rounding in sums of lengths must not cost a text its last line.
constexpr double tolerance = 1e-6;

/// A length that is absent asks for the ideal one, zero for the least and infinity for the most.
struct Proposal {
    std::optional<double> width = std::nullopt;
    std::optional<double> height = std::nullopt;
    bool operator==(const Proposal&) const = default;
};

struct Layout;

struct PlacedLayout {
    /// Of the child's top leading corner, in its parent.
    Point origin;
    std::shared_ptr<const Layout> layout;
};

/// An element with the size it chose and its children where they were placed, back to front. Immutable.
struct Layout {
    View view;
    InheritedValues inherited;
    Size size;
    std::vector<PlacedLayout> children = {};
    /// Of a text: its lines' limit after its height was chosen, the part of its size at which it is set, and
    /// where its lines are read from.
    int lineLimit = 0;
    double textScale = 1;
    TextDirection textDirection = TextDirection::leftToRight;
    /// Whether a text in it that is wanted whole is not, or a row stands out of the height for all rows.
    bool cutsText = false;
};

std::shared_ptr<const Layout> layout(const View& view, Proposal proposal, const TextMeasurer& measurer,
                                     const InheritedValues& inherited = {});

}  // namespace drawing
