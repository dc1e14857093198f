// SPDX-License-Identifier: Apache-2.0

#pragma once

// What is said of packages where nobody looks at them: to a screen reader, in a notification, as plain text.
// Pure functions, safe from any thread.

#include <cstddef>
#include <string>

#include "presentation/Package.hpp"

namespace presentation {

/// Columns of a terminal that a name, or a line of a status, takes at most where it is said or listed: more
/// nobody listens to, and the programs that say it are not to be burdened with whatever a shop is called.
inline constexpr std::size_t longestSpokenPart = 120;

/// One line: "Fathom & Co.: arriving today, between 2 and 4 PM; 80 percent of the way". An empty bar goes
/// unsaid, since it stands for what is cancelled or long delivered as well; nothing of a sample is said but
/// that nothing is known yet. Each part of it is cut after `longestSpokenPart`.
std::string spoken(const Package& package);

/// Whether all of them are the sample that stands in while nothing is known.
bool areSamples(const PackageList& packages);

}  // namespace presentation
