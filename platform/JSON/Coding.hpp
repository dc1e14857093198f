// SPDX-License-Identifier: Apache-2.0

#pragma once

// Typed values to JSON text and back.

#include "platform/JSON/CodingDecoder.hpp"  // IWYU pragma: export
#include "platform/JSON/CodingEncoder.hpp"  // IWYU pragma: export
