// SPDX-License-Identifier: Apache-2.0

#pragma once

// `vela-widget tour`: walks a person through the first use, line by line, in a terminal. Writes no
// configuration, and leaves nothing behind but the sign-in that the person asks for.

namespace host {

/// The exit status: 2 where there is no terminal to ask on.
int runTour();

}  // namespace host
