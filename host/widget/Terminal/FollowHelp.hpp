// SPDX-License-Identifier: Apache-2.0

#pragma once

// The keys of the followed view, as lines of a screen. A pure function.

#include <cstddef>
#include <string>
#include <vector>

namespace host {

/// None is wider than the screen, down to 20 columns. Side by side where they are more than `rows` and there
/// is room for it, else below each other, and broken between words where that does not fit either.
std::vector<std::string> followHelp(std::size_t columns, std::size_t rows);

}  // namespace host
