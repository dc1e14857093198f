// SPDX-License-Identifier: Apache-2.0

#include "drawing/Image/LZWReader.hpp"

#include <algorithm>
#include <utility>

namespace drawing {

LZWReader::LZWReader(int bits, std::function<std::string_view()> nextBlock)
    : nextBlock_(std::move(nextBlock)), indexBits_(bits), clearCode_(1 << bits) {
    for (int code = 0; code < clearCode_; ++code) {
        const auto index = std::uint8_t(code);
        entries_[std::size_t(code)] = {0, 1, index, index};
    }
    clear();
}

bool LZWReader::read(std::uint8_t* indices, std::size_t count) {
    while (count > 0) {
        if (pending_.empty() && !readString()) return false;
        const std::size_t length = std::min(count, pending_.size());
        indices = std::copy_n(pending_.data(), length, indices);
        pending_.remove_prefix(length);
        count -= length;
    }
    return true;
}

void LZWReader::clear() {
    codeBits_ = indexBits_ + 1;
    nextCode_ = clearCode_ + 2;
    previous_ = none;
}

int LZWReader::readCode() {
    for (; bitCount_ < codeBits_; bitCount_ += 8) {
        if (block_.empty()) block_ = nextBlock_();
        if (block_.empty()) return none;
        bits_ |= std::uint32_t(static_cast<unsigned char>(block_.front())) << bitCount_;
        block_.remove_prefix(1);
    }
    const int code = int(bits_ & ((1u << codeBits_) - 1));
    bits_ >>= codeBits_;
    bitCount_ -= codeBits_;
    return code;
}

bool LZWReader::readString() {
    int code = readCode();
    for (; code == clearCode_; code = readCode()) clear();
    const int endCode = clearCode_ + 1;
    if (code == none || code == endCode) return false;
    if (previous_ == none) {
        if (code > clearCode_) return false;
    } else {
        if (code > nextCode_ || (code == nextCode_ && nextCode_ == mostCodes)) return false;
        if (nextCode_ < mostCodes) {
            const Entry& before = entries_[std::size_t(previous_)];
            // The new string's last index is the first of the one that follows, which may be itself.
            const std::uint8_t last = code == nextCode_ ? before.first : entries_[std::size_t(code)].first;
            entries_[std::size_t(nextCode_)] = {std::uint16_t(previous_), std::uint16_t(before.length + 1),
                                                before.first, last};
            ++nextCode_;
            if (nextCode_ == 1 << codeBits_ && codeBits_ < mostBits) ++codeBits_;
        }
    }
    unpack(code);
    previous_ = code;
    return true;
}

void LZWReader::unpack(int code) {
    const std::size_t length = entries_[std::size_t(code)].length;
    for (std::size_t at = length; at > 0; --at) {
        const Entry& entry = entries_[std::size_t(code)];
        string_[at - 1] = entry.last;
        code = entry.prefix;
    }
    pending_ = {reinterpret_cast<const char*>(string_.data()), length};
}

}  // namespace drawing
