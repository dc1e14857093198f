// SPDX-License-Identifier: Apache-2.0

#pragma once

// SHA-256 (FIPS 180-4), by libmd: small, where a cryptographic library would cost who needs nothing else of
// it. A pure function, safe from any thread.

#include <string>
#include <string_view>

namespace platform {

/// 64 hexadecimal digits in lower case.
std::string sha256(std::string_view text);

}  // namespace platform
