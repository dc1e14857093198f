// SPDX-License-Identifier: Apache-2.0

#pragma once

// What decoding a picture may still take. Asked before memory is, so that too much is never allocated. Not
// safe from several threads at once.

#include <cstddef>
#include <cstdint>
#include <new>

#include "drawing/Image/Image.hpp"

namespace drawing {

class MemoryBudget {
  public:
    explicit MemoryBudget(std::size_t bytes) : left_(bytes) {}

    std::size_t left() const { return left_; }
    bool covers(std::size_t bytes) const { return bytes <= left_; }
    /// Throws std::bad_alloc where fewer are left.
    void take(std::size_t bytes) {
        if (!covers(bytes)) throw std::bad_alloc();
        left_ -= bytes;
    }
    void giveBack(std::size_t bytes) { left_ += bytes; }

    static std::size_t ofBitmap(PixelSize size) {
        return sizeof(std::uint32_t) * std::size_t(size.width) * std::size_t(size.height);
    }
    /// What reducing a picture row by row takes beside its decoder: the outcome, some rows of either side,
    /// and the filter's weights.
    static std::size_t ofScaling(PixelSize source, PixelSize wanted) {
        constexpr std::size_t column = 40, row = 16, wantedSide = 256;
        return ofBitmap(wanted) + column * std::size_t(source.width) + row * std::size_t(source.height) +
               wantedSide * std::size_t(wanted.width + wanted.height);
    }

  private:
    std::size_t left_;
};

}  // namespace drawing
