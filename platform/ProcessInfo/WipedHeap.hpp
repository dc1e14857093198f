// SPDX-License-Identifier: Apache-2.0

#pragma once

// The same for what libraries allocate with the C library: a toolkit keeps texts and pictures there. Whoever
// includes this has its program's `free` and `realloc` replaced. Safe from any thread.

namespace platform {

/// From now on, for as long as the process lives.
void wipeFreedHeap();

}  // namespace platform
