// SPDX-License-Identifier: Apache-2.0

#include "drawing/Image/CoefficientStore.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace {

using drawing::CoefficientStore;
using drawing::MemoryBudget;
using Access = CoefficientStore::Access;

constexpr JDIMENSION across = 3, rows = 6;
constexpr std::size_t ample = 1u << 20;

/// Some coefficient of every size, every run of zeros, and blocks with all and with none.
JCOEF coefficient(JDIMENSION row, JDIMENSION column, int place) {
    switch ((row + column) % 4) {
        case 0: return 0;
        case 1: return JCOEF(place % 17 - 8);
        case 2: return JCOEF(place % int(row * 5 + column + 2) == 0 ? (place - 31) * 1057 : 0);
        default: return place == 63 ? JCOEF(-32768) : JCOEF(place == 20 ? 32767 : 0);
    }
}

void fill(CoefficientStore& store) {
    for (JDIMENSION row = 0; row < rows; row += 2) {
        const JBLOCKARRAY window = store.window(row, 2, Access::writing);
        for (JDIMENSION i = 0; i < 2; ++i)
            for (JDIMENSION column = 0; column < across; ++column)
                for (int place = 0; place < DCTSIZE2; ++place)
                    window[i][column][place] = coefficient(row + i, column, place);
    }
}

TEST(CoefficientStore, IsZeroBeforeAnythingIsSaid) {
    MemoryBudget budget(ample);
    CoefficientStore store(across, rows, budget);
    const JBLOCKARRAY window = store.window(0, rows, Access::reading);
    for (JDIMENSION row = 0; row < rows; ++row)
        for (JDIMENSION column = 0; column < across; ++column)
            for (int place = 0; place < DCTSIZE2; ++place) EXPECT_EQ(window[row][column][place], 0);
}

TEST(CoefficientStore, GivesBackWhatWasWrittenThroughAnyWindow) {
    MemoryBudget budget(ample);
    CoefficientStore store(across, rows, budget);
    fill(store);
    for (JDIMENSION count = 1; count <= rows; ++count)
        for (JDIMENSION first = 0; first + count <= rows; ++first) {
            const JBLOCKARRAY window = store.window(first, count, Access::reading);
            for (JDIMENSION i = 0; i < count; ++i)
                for (JDIMENSION column = 0; column < across; ++column)
                    for (int place = 0; place < DCTSIZE2; ++place)
                        ASSERT_EQ(window[i][column][place], coefficient(first + i, column, place))
                            << "row " << first + i << " block " << column << " place " << place;
        }
}

TEST(CoefficientStore, KeepsNothingThatWasOnlyRead) {
    MemoryBudget budget(ample);
    CoefficientStore store(across, rows, budget);
    store.window(0, 1, Access::reading)[0][0][0] = 5;
    store.window(1, 1, Access::reading);
    EXPECT_EQ(store.window(0, 1, Access::reading)[0][0][0], 0);
    EXPECT_EQ(store.size(), 0u);
}

TEST(CoefficientStore, ForgetsWhatIsTakenBack) {
    MemoryBudget budget(ample);
    CoefficientStore store(across, rows, budget);
    fill(store);
    store.window(0, rows, Access::writing);
    const std::size_t full = store.size();
    JBLOCKARRAY window = store.window(0, rows, Access::writing);
    for (JDIMENSION row = 0; row < rows; ++row) std::fill_n(&window[row][0][0], across * DCTSIZE2, JCOEF(0));
    store.window(0, 1, Access::reading);
    EXPECT_EQ(store.size(), across * rows);  // a byte for a block without anything
    EXPECT_GT(full, store.size());
}

TEST(CoefficientStore, TakesWhatItKeepsOutOfItsBudget) {
    MemoryBudget budget(ample);
    CoefficientStore store(across, rows, budget);
    store.window(0, 2, Access::reading);
    const std::size_t empty = budget.left();
    EXPECT_LE(empty, ample - 2 * across * sizeof(JBLOCK));
    fill(store);
    store.window(0, 2, Access::reading);
    EXPECT_GT(store.size(), 0u);
    EXPECT_EQ(budget.left(), empty - store.size());
}

TEST(CoefficientStore, TakesNoMoreThanItsBudget) {
    for (std::size_t bytes = 0;; bytes += 64) {
        ASSERT_LT(bytes, ample);
        MemoryBudget budget(bytes);
        try {
            CoefficientStore store(across, rows, budget);
            fill(store);
            store.window(0, rows, Access::reading);
            return;
        } catch (const std::bad_alloc&) {
        }
    }
}

TEST(CoefficientStore, GivesNoRowsThatThereAreNot) {
    MemoryBudget budget(ample);
    CoefficientStore store(across, rows, budget);
    for (const auto& [first, count] :
         {std::pair<JDIMENSION, JDIMENSION>{0, rows + 1}, {rows, 1}, {rows - 1, 2}, {~0u, 2}, {1, ~0u}})
        EXPECT_THROW(store.window(first, count, Access::reading), std::out_of_range) << first << ' ' << count;
}

}  // namespace
