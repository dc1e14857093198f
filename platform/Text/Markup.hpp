// SPDX-License-Identifier: Apache-2.0

#pragma once

// Text for what reads markup: Pango, a notification service, any XML. A pure function, safe from any thread.

#include <string>
#include <string_view>

namespace platform {

/// Shows as it stands; it has to be safe to show already.
std::string escapedForMarkup(std::string_view text);

}  // namespace platform
