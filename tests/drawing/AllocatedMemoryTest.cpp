// SPDX-License-Identifier: Apache-2.0

#include "tests/support/AllocatedMemory.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

#include "drawing/Writers/PNGChunks.hpp"

namespace {

using namespace tests;

/// So that nothing is left out.
void use(void* memory) {
    asm volatile("" : : "g"(memory) : "memory");
}

TEST(AllocatedMemory, IsCountedWhereverItComesFrom) {
    if (!memoryIsCounted) GTEST_SKIP() << "the sanitizer has its own allocator";
    constexpr std::size_t size = 1u << 20;
    const auto peak = [](auto allocate) {
        return peakMemory([&] {
            void* memory = allocate();
            use(memory);
            std::free(memory);
        });
    };
    EXPECT_GE(peak([] { return std::malloc(size); }), size);
    EXPECT_GE(peak([] { return std::calloc(size / 8, 8); }), size);
    EXPECT_GE(peak([] { return std::aligned_alloc(64, size); }), size);
    EXPECT_GE(peak([] { return std::realloc(std::malloc(8), size); }), size);
    EXPECT_GE(peakMemory([] { use(std::vector<char>(size).data()); }), size);
    EXPECT_GE(peakMemory([] { drawing::deflated("x"); }), 200'000u);  // a library's own
    EXPECT_LT(peakMemory([] {}), 1000u);
}

}  // namespace
