// SPDX-License-Identifier: Apache-2.0

#include "platform/ProcessInfo/WipedHeap.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace platform {
namespace {

class WipedHeapTest : public ::testing::Test {
  protected:
    void SetUp() override {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
        GTEST_SKIP() << "a sanitizer has an allocator of its own";
#endif
        wipeFreedHeap();
    }

    static char* filled(std::size_t size) {
        auto* memory = static_cast<char*>(std::malloc(size));
        std::memset(memory, 'x', size);
        address = reinterpret_cast<std::uintptr_t>(memory);
        return memory;
    }

    /// What is left where the latest block was, but for its beginning, where the allocator keeps its list.
    static std::string leftovers(std::size_t size) {
        constexpr std::size_t list = 16;
        std::string found;
        const auto* bytes = reinterpret_cast<volatile const char*>(address);
        for (std::size_t index = list; index < size; ++index)
            if (bytes[index] != 0) found += bytes[index];
        return found;
    }

    static inline volatile std::uintptr_t address = 0;
};

TEST_F(WipedHeapTest, KeepsNothingOfABlockThatIsFreed) {
    std::free(filled(200));
    EXPECT_EQ(leftovers(200), "");
}

TEST_F(WipedHeapTest, KeepsNothingOfABlockThatGrewElsewhere) {
    auto* block = filled(100);
    auto* grown = static_cast<char*>(std::realloc(block, 100'000));
    ASSERT_NE(grown, nullptr);
    EXPECT_EQ(std::string(grown, 100), std::string(100, 'x'));
    EXPECT_EQ(leftovers(100), "");
    std::free(grown);
}

TEST_F(WipedHeapTest, KeepsNothingOfABlockThatShrank) {
    auto* shrunk = static_cast<char*>(std::realloc(filled(1000), 30));
    ASSERT_NE(shrunk, nullptr);
    EXPECT_EQ(std::string(shrunk, 30), std::string(30, 'x'));
    std::free(shrunk);
    EXPECT_EQ(leftovers(1000), "");
}

TEST_F(WipedHeapTest, GrowsInPlaceWhereThereIsRoom) {
    auto* block = filled(20);
    EXPECT_EQ(std::realloc(block, 24), block);
    std::free(block);
}

}  // namespace
}  // namespace platform
