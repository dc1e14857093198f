// SPDX-License-Identifier: Apache-2.0

#include "platform/ProcessInfo/WipedMemory.hpp"

#include <malloc.h>
#include <string.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace platform {

namespace {

constinit std::atomic<bool> isWiping = false;

void* allocated(std::size_t size, std::size_t alignment) noexcept {
    while (true) {
        void* memory = nullptr;
        if (alignment <= __STDCPP_DEFAULT_NEW_ALIGNMENT__)
            memory = std::malloc(size > 0 ? size : 1);
        else if (::posix_memalign(&memory, alignment, size > 0 ? size : 1) != 0)
            memory = nullptr;
        const auto handler = memory ? nullptr : std::get_new_handler();
        if (memory || !handler) return memory;
        handler();
    }
}

[[maybe_unused]] void* allocatedOrThrown(std::size_t size,
                                         std::size_t alignment = __STDCPP_DEFAULT_NEW_ALIGNMENT__) {
    if (void* memory = allocated(size, alignment)) return memory;
    throw std::bad_alloc();
}

[[maybe_unused]] void freeWiped(void* memory) noexcept {
    if (memory && isWiping.load(std::memory_order_relaxed))
        ::explicit_bzero(memory, ::malloc_usable_size(memory));
    std::free(memory);
}

}  // namespace

void wipeFreedMemory() {
    isWiping = true;
}

}  // namespace platform

// Sanitizers have an allocator of their own, which wants to see both ends.
#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define VELA_SANITIZED
#endif
#endif
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) && !defined(VELA_SANITIZED)

// The forms for arrays, and those that throw nothing, go through these.
void* operator new(std::size_t size) {
    return platform::allocatedOrThrown(size);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return platform::allocatedOrThrown(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* memory) noexcept {
    platform::freeWiped(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    platform::freeWiped(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept {
    platform::freeWiped(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    platform::freeWiped(memory);
}

#endif
