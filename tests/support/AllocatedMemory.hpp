#pragma once

// What the process's `operator new` has given out. Linking this in replaces that operator; the figures count
// what the allocator really hands over for each request, its own book-keeping included. Safe from any thread.

#include <cstddef>

namespace platform::testing {

/// Bytes in use now.
std::size_t allocatedMemory();

/// The most that was in use at any moment since the object was made.
class PeakOfAllocatedMemory {
  public:
    PeakOfAllocatedMemory();
    /// Bytes above what was in use when this began.
    std::size_t growth() const;

  private:
    std::size_t before_;
};

}  // namespace platform::testing
