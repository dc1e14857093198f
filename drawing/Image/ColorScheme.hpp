// SPDX-License-Identifier: Apache-2.0

#pragma once

namespace drawing {

/// The system's appearance.
enum class ColorScheme { light, dark };

}  // namespace drawing
