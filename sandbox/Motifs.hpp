// SPDX-License-Identifier: Apache-2.0

#pragma once

// What stands behind the initials of a logo.

#include <span>

#include "sandbox/NamedPainter.hpp"

namespace sandbox {

/// "wave", "ring", "sun", "peak", "leaf", "kite", "bars" and "tile".
std::span<const NamedPainter> motifs();

}  // namespace sandbox
