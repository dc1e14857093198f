// SPDX-License-Identifier: Apache-2.0

#pragma once

// "data:" URLs (RFC 2397). A pure function.

#include <optional>
#include <string>
#include <string_view>

namespace platform {

/// The bytes that the URL itself holds; nothing when it is no well-formed data URL.
std::optional<std::string> dataOfDataURL(std::string_view url);

}  // namespace platform
