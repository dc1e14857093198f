// SPDX-License-Identifier: Apache-2.0

#pragma once

// `vela-widget show --follow`: what the live host shows, in a terminal that it fills and keeps current; where
// there is none, at every change from top to bottom.

namespace host {

/// Until the person quits, or nobody reads on. The exit status: 0, or 1 with a line on standard error where
/// no live host can be had at all.
int showFollow();

}  // namespace host
