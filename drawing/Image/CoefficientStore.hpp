// SPDX-License-Identifier: Apache-2.0

#pragma once

// What a JPEG in several scans has said so far of its blocks. Most coefficients are zero: kept packed, those
// of a photograph take a sixth of their size. A window of block rows is unpacked at a time. All that it keeps
// comes out of a budget. Not safe from several threads at once.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <vector>

#include <jpeglib.h>

#include "drawing/Image/MemoryBudget.hpp"

namespace drawing {

class CoefficientStore {
  public:
    /// All zero. Throws std::bad_alloc. The budget must outlive the store.
    CoefficientStore(JDIMENSION blocksAcross, JDIMENSION blockRows, MemoryBudget& budget);

    enum class Access { reading, writing };
    /// The rows from `first` on, valid until the next call. Throws std::bad_alloc, and std::out_of_range
    /// for rows that there are not.
    JBLOCKARRAY window(JDIMENSION first, JDIMENSION count, Access access);

    /// Bytes of the packed rows.
    std::size_t size() const { return size_; }
    JDIMENSION blocksAcross() const { return JDIMENSION(blocksAcross_); }

  private:
    using PackedRow = std::vector<std::uint8_t>;

    void makeWindow(JDIMENSION count);
    void pack(const JBLOCK* blocks, PackedRow& row);
    void unpack(const PackedRow& row, JBLOCK* blocks) const;

    MemoryBudget& budget_;
    std::size_t blocksAcross_;
    std::vector<PackedRow> rows_;
    std::size_t size_ = 0;
    PackedRow packing_;

    std::vector<JCOEF> unpacked_;
    std::vector<JBLOCKROW> pointers_;
    JDIMENSION first_ = 0;
    bool isWritten_ = false;
};

}  // namespace drawing
