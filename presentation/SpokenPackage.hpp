// SPDX-License-Identifier: Apache-2.0

#pragma once

// What is said of packages where nobody looks at them: to a screen reader, in a notification, as plain text.
// Pure functions, safe from any thread.

#include <string>

#include "presentation/Package.hpp"

namespace presentation {

/// One line: "Fathom & Co.: arriving today, between 2 and 4 PM; 80 percent of the way". An empty bar goes
/// unsaid, since it stands for what is cancelled or long delivered as well; nothing of a sample is said but
/// that nothing is known yet.
std::string spoken(const Package& package);

/// Whether all of them are the sample that stands in while nothing is known.
bool areSamples(const PackageList& packages);

}  // namespace presentation
