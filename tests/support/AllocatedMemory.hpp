// SPDX-License-Identifier: Apache-2.0

#pragma once

// What is allocated in this program, by us and by every library, counted by its allocator. A program that
// links this has malloc, and all that comes from it, replaced by counting ones. One measurement at a time.

#include <cstddef>

#include "tests/support/MemoryLimit.hpp"

namespace tests {

/// A sanitizer has an allocator of its own: nothing is counted then.
constexpr bool memoryIsCounted = memoryCanBeLimited;

/// Bytes allocated and not freed, those that the allocator rounds up included.
std::size_t allocatedBytes();
/// The most of them since the last call.
std::size_t mostAllocatedBytes();

/// How much more than before is allocated during `work`, at most.
template <typename Work>
std::size_t peakMemory(Work work) {
    const std::size_t before = allocatedBytes();
    mostAllocatedBytes();
    work();
    return mostAllocatedBytes() - before;
}

}  // namespace tests
