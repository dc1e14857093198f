// SPDX-License-Identifier: Apache-2.0

#include "tests/support/AllocatedMemory.hpp"

#include <malloc.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>

namespace {

std::atomic<std::size_t> allocated, most;

[[maybe_unused]] void count(std::size_t size) {
    const std::size_t now = allocated.fetch_add(size) + size;
    std::size_t before = most;
    while (before < now && !most.compare_exchange_weak(before, now)) {
    }
}
[[maybe_unused]] void discount(std::size_t size) {
    allocated.fetch_sub(size);
}

}  // namespace

namespace tests {

std::size_t allocatedBytes() {
    return allocated;
}

std::size_t mostAllocatedBytes() {
    return most.exchange(allocated);
}

}  // namespace tests

#ifndef VELA_SANITIZER_ALLOCATES

extern "C" {

void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);
void __libc_free(void*);

static void* counted(void* memory) {
    if (memory) count(malloc_usable_size(memory));
    return memory;
}

void* malloc(std::size_t size) noexcept {
    return counted(__libc_malloc(size));
}
void* calloc(std::size_t number, std::size_t size) noexcept {
    return counted(__libc_calloc(number, size));
}
void* realloc(void* memory, std::size_t size) noexcept {
    const std::size_t before = memory ? malloc_usable_size(memory) : 0;
    void* grown = __libc_realloc(memory, size);
    if (!grown && size > 0) return nullptr;
    // Both are there while one is copied to the other.
    if (grown) count(malloc_usable_size(grown));
    discount(before);
    return grown;
}
void* memalign(std::size_t alignment, std::size_t size) noexcept {
    return counted(__libc_memalign(alignment, size));
}
void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
    return memalign(alignment, size);
}
int posix_memalign(void** memory, std::size_t alignment, std::size_t size) noexcept {
    *memory = memalign(alignment, size);
    return *memory ? 0 : ENOMEM;
}
void free(void* memory) noexcept {
    if (!memory) return;
    discount(malloc_usable_size(memory));
    __libc_free(memory);
}

// What is mapped beside the allocator, which maps by calls of its own; counted for good.
void* mmap(void* address, std::size_t size, int protection, int flags, int file, off_t offset) noexcept {
    const long result = syscall(SYS_mmap, address, size, protection, flags, file, offset);
    if (result == -1) return MAP_FAILED;
    if (flags & MAP_ANONYMOUS) count(size);
    return reinterpret_cast<void*>(result);
}

}  // extern "C"

#endif
