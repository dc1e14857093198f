// SPDX-License-Identifier: Apache-2.0

#include "platform/JSON/BoundedMemory.hpp"

#include <algorithm>

namespace platform {

namespace {

/// What glibc's allocator takes for a piece of `bytes`: a word of its own in front, at least four words, in
/// steps of two; and whole pages from the size on at which it asks the system for each piece.
std::size_t cost(std::size_t bytes) {
    constexpr std::size_t word = sizeof(void*);
    constexpr std::size_t page = 4096;
    constexpr std::size_t smallestMapping = 128 * 1024;
    const std::size_t unit = bytes < smallestMapping ? 2 * word : page;
    return std::max(4 * word, (bytes + 2 * word + unit - 1) / unit * unit);
}

}  // namespace

void BoundedMemory::requireRoom(std::size_t bytes) const {
    if (bytes > remaining_ || cost(bytes) > remaining_) throw MemoryLimitExceeded();
}

void BoundedMemory::charge(std::size_t bytes) {
    requireRoom(bytes);
    remaining_ -= cost(bytes);
}

// The usual alignment serves every type of the tree, which does not give back with the one it asked for.
void* BoundedMemory::do_allocate(std::size_t bytes, std::size_t alignment) {
    if (alignment > __STDCPP_DEFAULT_NEW_ALIGNMENT__) throw std::bad_alloc();
    charge(bytes);
    try {
        return ::operator new(bytes);
    } catch (...) {
        remaining_ += cost(bytes);
        throw;
    }
}

void BoundedMemory::do_deallocate(void* piece, std::size_t bytes, std::size_t) {
    ::operator delete(piece);
    remaining_ += cost(bytes);
}

}  // namespace platform
