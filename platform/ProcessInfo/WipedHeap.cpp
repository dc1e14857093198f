// SPDX-License-Identifier: Apache-2.0

#include "platform/ProcessInfo/WipedHeap.hpp"

#include <malloc.h>
#include <string.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>

namespace {

constinit std::atomic<bool> isHeapWiped = false;

}  // namespace

namespace platform {

void wipeFreedHeap() {
    isHeapWiped = true;
}

}  // namespace platform

// Sanitizers have an allocator of their own.
#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define VELA_HEAP_SANITIZED
#endif
#endif
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) && !defined(VELA_HEAP_SANITIZED)

extern "C" {

// The C library's own, under the names that it exports for who replaces them.
void __libc_free(void* memory);                        // NOLINT
void* __libc_realloc(void* memory, std::size_t size);  // NOLINT

void free(void* memory) {
    const int error = errno;
    if (memory && isHeapWiped.load(std::memory_order_relaxed))
        ::explicit_bzero(memory, ::malloc_usable_size(memory));
    __libc_free(memory);
    errno = error;
}

/// A block that moves is freed as any other; one that shrinks gives nothing back.
void* realloc(void* memory, std::size_t size) {
    if (!memory || size == 0 || !isHeapWiped.load(std::memory_order_relaxed))
        return __libc_realloc(memory, size);
    const std::size_t usable = ::malloc_usable_size(memory);
    if (size <= usable && size >= usable / 2) return memory;
    void* moved = std::malloc(size);
    if (!moved) return nullptr;
    ::memcpy(moved, memory, std::min(usable, size));
    free(memory);
    return moved;
}

}  // extern "C"

#endif
