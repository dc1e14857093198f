// SPDX-License-Identifier: Apache-2.0

#pragma once

// SHA-256 (FIPS 180-4) of short texts, for who has no cryptographic library loaded and needs none. Pure
// functions, safe from any thread.

#include <string>
#include <string_view>

namespace platform {

/// 64 hexadecimal digits in lower case.
std::string sha256(std::string_view text);

}  // namespace platform
