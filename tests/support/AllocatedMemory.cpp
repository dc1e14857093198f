#include "tests/support/AllocatedMemory.hpp"

#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> inUse = 0;
std::atomic<std::size_t> peak = 0;

/// glibc keeps a word in front of every piece.
std::size_t cost(void* piece) {
    return malloc_usable_size(piece) + sizeof(std::size_t);
}

void* counted(void* piece) {
    if (!piece) throw std::bad_alloc();
    const std::size_t now = inUse += cost(piece);
    for (std::size_t highest = peak; highest < now && !peak.compare_exchange_weak(highest, now);) {
    }
    return piece;
}

void release(void* piece) {
    if (!piece) return;
    inUse -= cost(piece);
    std::free(piece);
}

}  // namespace

void* operator new(std::size_t size) {
    return counted(std::malloc(size));
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    const auto unit = static_cast<std::size_t>(alignment);
    return counted(std::aligned_alloc(unit, (size + unit - 1) / unit * unit));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    try {
        return ::operator new(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
void operator delete(void* piece) noexcept {
    release(piece);
}
void operator delete(void* piece, std::size_t) noexcept {
    release(piece);
}
void operator delete(void* piece, std::align_val_t) noexcept {
    release(piece);
}
void operator delete(void* piece, std::size_t, std::align_val_t) noexcept {
    release(piece);
}

namespace platform::testing {

std::size_t allocatedMemory() {
    return inUse;
}

PeakOfAllocatedMemory::PeakOfAllocatedMemory() : before_(inUse) {
    peak = before_;
}

std::size_t PeakOfAllocatedMemory::growth() const {
    return std::max(peak.load(), before_) - before_;
}

}  // namespace platform::testing
