// SPDX-License-Identifier: Apache-2.0

#include "drawing/Image/CoefficientStore.hpp"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace drawing {

namespace {

/// A block is the number of its steps, then the steps. A step is one byte: how many zeros to pass over, in
/// the high four bits, and the value that follows them, in the low four; or the value is `elsewhere`, in two
/// bytes more; or there is none, after the longest run.
constexpr int longestRun = 15;
constexpr int elsewhere = 0, middle = 8, largestShort = 7;
constexpr std::size_t longestBlock = 1 + 3 * DCTSIZE2;

bool isZero(const JCOEF* block) {
    static constexpr JBLOCK zero = {};
    return std::memcmp(block, zero, sizeof zero) == 0;
}

std::uint8_t* packed(const JCOEF* block, std::uint8_t* out) {
    std::uint8_t& steps = *out++ = 0;
    if (isZero(block)) return out;
    int run = 0;
    for (int place = 0; place < DCTSIZE2;) {
        if (place % 4 == 0) {
            std::uint64_t four;
            std::memcpy(&four, block + place, sizeof four);
            if (four == 0) {
                place += 4, run += 4;
                continue;
            }
        }
        const int value = block[place++];
        if (value == 0) {
            ++run;
            continue;
        }
        for (; run >= longestRun; run -= longestRun, ++steps) *out++ = longestRun << 4;
        const bool isShort = value >= -largestShort && value <= largestShort;
        *out++ = std::uint8_t(run << 4 | (isShort ? value + middle : elsewhere));
        if (!isShort) *out++ = std::uint8_t(value), *out++ = std::uint8_t(unsigned(value) >> 8);
        ++steps, run = 0;
    }
    return out;
}

const std::uint8_t* unpacked(const std::uint8_t* in, JCOEF* block) {
    for (int steps = *in++, place = 0; steps > 0; --steps) {
        const int run = *in >> 4, value = *in++ & 15;
        place += run;
        if (run == longestRun) continue;
        block[place++] = JCOEF(value == elsewhere ? in[0] | in[1] << 8 : value - middle);
        if (value == elsewhere) in += 2;
    }
    return in;
}

}  // namespace

CoefficientStore::CoefficientStore(JDIMENSION blocksAcross, JDIMENSION blockRows, MemoryBudget& budget)
    : budget_(budget), blocksAcross_(blocksAcross) {
    budget_.take(blockRows * sizeof(PackedRow) + blocksAcross_ * longestBlock);
    rows_.resize(blockRows);
    packing_.resize(blocksAcross_ * longestBlock);
}

JBLOCKARRAY CoefficientStore::window(JDIMENSION first, JDIMENSION count, Access access) {
    if (first > rows_.size() || count > rows_.size() - first) throw std::out_of_range("no such rows");
    if (first != first_ || count != pointers_.size()) {
        if (isWritten_)
            for (std::size_t i = 0; i < pointers_.size(); ++i) pack(pointers_[i], rows_[first_ + i]);
        isWritten_ = false;
        first_ = first;
        if (count != pointers_.size()) makeWindow(count);
        for (std::size_t i = 0; i < count; ++i) unpack(rows_[first + i], pointers_[i]);
    }
    isWritten_ |= access == Access::writing;
    return pointers_.data();
}

void CoefficientStore::makeWindow(JDIMENSION count) {
    const auto size = [&](std::size_t rows) {
        return rows * (blocksAcross_ * sizeof(JBLOCK) + sizeof(JBLOCKROW));
    };
    budget_.giveBack(size(pointers_.size()));
    pointers_ = {}, unpacked_ = {};
    budget_.take(size(count));
    unpacked_.resize(count * blocksAcross_ * DCTSIZE2);
    for (std::size_t i = 0; i < count; ++i)
        pointers_.push_back(reinterpret_cast<JBLOCKROW>(unpacked_.data() + i * blocksAcross_ * DCTSIZE2));
}

void CoefficientStore::pack(const JBLOCK* blocks, PackedRow& row) {
    std::uint8_t* end = packing_.data();
    for (std::size_t i = 0; i < blocksAcross_; ++i) end = packed(blocks[i], end);
    budget_.giveBack(row.size());
    size_ -= row.size();
    row = PackedRow();  // goes before its successor comes
    budget_.take(std::size_t(end - packing_.data()));
    row = PackedRow(packing_.data(), end);
    size_ += row.size();
}

void CoefficientStore::unpack(const PackedRow& row, JBLOCK* blocks) const {
    std::memset(blocks, 0, blocksAcross_ * sizeof(JBLOCK));
    if (row.empty()) return;
    const std::uint8_t* next = row.data();
    for (std::size_t i = 0; i < blocksAcross_; ++i) next = unpacked(next, blocks[i]);
}

}  // namespace drawing
