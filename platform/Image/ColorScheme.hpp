#pragma once

namespace platform {

/// The system's appearance.
enum class ColorScheme { light, dark };

}  // namespace platform
