// SPDX-License-Identifier: Apache-2.0

#pragma once

// A display list as JSON, for tests and for whoever draws it with other means. A pure function.

#include <string>

#include "drawing/Layout/DisplayList.hpp"

namespace drawing {

/// {"colorScheme", "family", "items", "links", "size"}, keys sorted, lengths in points.
std::string displayListJSON(const DisplayList& list);

}  // namespace drawing
