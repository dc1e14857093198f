// SPDX-License-Identifier: Apache-2.0

#pragma once

// Heap memory for one piece of work, up to a limit. A JSON tree takes its memory from here as from any memory
// resource; whoever allocates by other means says so beforehand. What is asked for is counted as the
// allocator hands it out, before it is. Not safe from several threads at once; outlives all that was taken
// from it.

#include <boost/json/memory_resource.hpp>
#include <cstddef>
#include <new>

namespace platform {

/// More was asked for than the limit leaves.
class MemoryLimitExceeded : public std::bad_alloc {
  public:
    const char* what() const noexcept override { return "more memory was asked for than is allowed"; }
};

class BoundedMemory final : public boost::json::memory_resource {
  public:
    explicit BoundedMemory(std::size_t limit) : remaining_(limit) {}

    /// Counts an allocation of `bytes` that is about to be made, for as long as this object lives. Throws
    /// MemoryLimitExceeded.
    void charge(std::size_t bytes);
    /// The same for one that is given back at once.
    void requireRoom(std::size_t bytes) const;

  private:
    void* do_allocate(std::size_t bytes, std::size_t alignment) override;
    void do_deallocate(void* piece, std::size_t bytes, std::size_t alignment) override;
    bool do_is_equal(const memory_resource& other) const noexcept override { return this == &other; }

    std::size_t remaining_;
};

}  // namespace platform
