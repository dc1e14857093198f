// SPDX-License-Identifier: Apache-2.0

#pragma once

// What a process forgets is gone: the C++ heap's memory is overwritten as it is freed. Whoever includes this
// has its program's `operator new` and `delete` replaced. Safe from any thread.

namespace platform {

/// From now on, for as long as the process lives.
void wipeFreedMemory();

}  // namespace platform
