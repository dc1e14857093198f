// SPDX-License-Identifier: Apache-2.0

#pragma once

// Unpacks a GIF frame's colour indices (GIF89a, appendix F). Work is bounded by the packed bytes and by the
// indices that are asked for; giflib's own reader wipes its table for every code that says so, of which a
// file may be full. Not safe from several threads at once.

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>

namespace drawing {

class LZWReader {
  public:
    /// `bits` of an index, 1 to 8; `nextBlock` gives the packed bytes piece by piece, each of them valid
    /// until the next, and nothing at the end.
    LZWReader(int bits, std::function<std::string_view()> nextBlock);
    LZWReader(const LZWReader&) = delete;
    LZWReader& operator=(const LZWReader&) = delete;

    /// The next `count` indices; false where there are not as many, or what there is makes no sense.
    bool read(std::uint8_t* indices, std::size_t count);

  private:
    static constexpr int mostBits = 12, mostCodes = 1 << mostBits, none = -1;

    struct Entry {
        std::uint16_t prefix;
        std::uint16_t length;
        std::uint8_t first;
        std::uint8_t last;
    };

    void clear();
    int readCode();
    /// Makes the string of the next code pending.
    bool readString();
    void unpack(int code);

    std::function<std::string_view()> nextBlock_;
    std::string_view block_;
    std::uint32_t bits_ = 0;
    int bitCount_ = 0;

    int indexBits_;
    int codeBits_ = 0;
    int clearCode_;
    int nextCode_ = 0;
    int previous_ = none;
    std::array<Entry, mostCodes> entries_;

    std::array<std::uint8_t, mostCodes> string_;
    std::string_view pending_;  // of the string
};

}  // namespace drawing
