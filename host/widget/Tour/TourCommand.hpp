// SPDX-License-Identifier: Apache-2.0

#pragma once

// `vela-widget tour`: walks a person through the first use, line by line, in a terminal. Leaves nothing
// behind but what the person agrees to: the sign-in, a configuration file where there was none, a unit that
// is enabled.

#include "host/widget/Tour/Guide.hpp"

namespace host {

/// The exit status: 2 where it is to ask, and there is no terminal to ask on.
int runTour(TourManner manner);

}  // namespace host
