// SPDX-License-Identifier: Apache-2.0

#pragma once

namespace drawing {

/// How far a person wants things to stand out from each other.
enum class Contrast { standard, increased };

}  // namespace drawing
