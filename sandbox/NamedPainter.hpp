// SPDX-License-Identifier: Apache-2.0

#pragma once

// Drawings that are chosen by their names.

#include <span>
#include <string_view>

#include "sandbox/Canvas.hpp"

namespace sandbox {

struct NamedPainter {
    std::string_view name;
    /// In shades of `ground`.
    void (*paint)(Canvas& canvas, Colour ground);
};

/// Throws Error for a name that none of them has.
const NamedPainter& named(std::string_view name, std::span<const NamedPainter> painters);

}  // namespace sandbox
