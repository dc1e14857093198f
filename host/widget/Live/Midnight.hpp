// SPDX-License-Identifier: Apache-2.0

#pragma once

// When the day changes for the person. Pure, but for the zone of the process.

#include "platform/Date/Date.hpp"

namespace host {

/// The first instant of the next day, later than `date`; of a day that has no midnight, its beginning.
platform::Date midnightAfter(platform::Date date);

}  // namespace host
