// SPDX-License-Identifier: Apache-2.0

#pragma once

// Our time zones as ICU sees them: ICU keeps the calendar and the words, the offsets are ours. Its own rules
// are those of the year of its release, and it knows no zone that is told as a rule. Safe from any thread.

#include <unicode/timezone.h>

#include <memory>

#include "platform/Calendar/TimeZone.hpp"

namespace platform {

/// A zone whose every offset is that of `zone` at the time of the question. A wall time that comes twice
/// means the later one; one that is skipped counts on from before the gap.
std::unique_ptr<icu::TimeZone> icuTimeZone(TimeZone zone);

}  // namespace platform
