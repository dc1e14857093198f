#pragma once

namespace drawing {

/// The system's appearance.
enum class ColorScheme { light, dark };

}  // namespace drawing
