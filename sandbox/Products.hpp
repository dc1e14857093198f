// SPDX-License-Identifier: Apache-2.0

#pragma once

// Things that shops sell, each over a soft shadow.

#include <span>

#include "sandbox/NamedPainter.hpp"

namespace sandbox {

/// "mug", "lamp", "book", "plant", "chair", "headphones", "lantern" and "vase".
std::span<const NamedPainter> products();

}  // namespace sandbox
