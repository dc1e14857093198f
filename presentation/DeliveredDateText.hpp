// SPDX-License-Identifier: Apache-2.0

#pragma once

// The words for the day on which something was delivered. Safe from any thread.

#include <string>

#include "platform/Date/Date.hpp"

namespace presentation {

/// "Delivered today", "Delivered yesterday", or "Delivered on " and the day, with its year unless it is this
/// one: as the device's calendar, locale and zone have it now.
std::string deliveredDateText(platform::Date date);

}  // namespace presentation
