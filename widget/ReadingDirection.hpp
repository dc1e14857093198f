// SPDX-License-Identifier: Apache-2.0

#pragma once

// From which side a person reads. A pure function.

#include <string>
#include <vector>

#include "drawing/Views/Appearance.hpp"

namespace widget {

/// By the first of the person's languages (tags as of RFC 5646), whose script counts where the tag names one;
/// left to right without any.
drawing::LayoutDirection layoutDirection(const std::vector<std::string>& preferredLanguages);

}  // namespace widget
