// SPDX-License-Identifier: Apache-2.0

#include "drawing/Image/LosslessWebP.hpp"

#include <algorithm>
#include <array>
#include <bitset>
#include <cstdint>
#include <numeric>
#include <vector>

namespace drawing {

namespace {

struct Broken {};

void require(bool holds) {
    if (!holds) throw Broken();
}

/// Lowest bit of every byte first.
class Bits {
  public:
    explicit Bits(std::string_view bytes) : bytes_(bytes) {}

    int one() {
        require(at_ / 8 < bytes_.size());
        const int bit = static_cast<unsigned char>(bytes_[at_ / 8]) >> at_ % 8 & 1;
        ++at_;
        return bit;
    }
    int number(int count) {
        int value = 0;
        for (int i = 0; i < count; ++i) value |= one() << i;
        return value;
    }

  private:
    std::string_view bytes_;
    std::size_t at_ = 0;
};

constexpr int longestCode = 15;

class PrefixCode {
  public:
    /// From each symbol's length, 0 for one that does not occur.
    explicit PrefixCode(const std::vector<int>& lengths) {
        for (const int length : lengths) ++counts_[std::size_t(length)];
        counts_[0] = 0;
        int open = 1;
        for (int length = 1; length <= longestCode; ++length) {
            open = 2 * open - counts_[std::size_t(length)];
            require(open >= 0);
        }
        for (int length = 1; length <= longestCode; ++length)
            for (std::size_t symbol = 0; symbol < lengths.size(); ++symbol)
                if (lengths[symbol] == length) symbols_.push_back(int(symbol));
        require(open == 0 || symbols_.size() == 1);
    }

    int symbol(Bits& bits) const {
        if (symbols_.size() == 1) return symbols_.front();  // takes no bit
        int code = 0, first = 0, index = 0;
        for (int length = 1; length <= longestCode; ++length) {
            const int count = counts_[std::size_t(length)];
            code |= bits.one();
            if (code - first < count) return symbols_[std::size_t(index + code - first)];
            index += count;
            first = (first + count) << 1;
            code <<= 1;
        }
        throw Broken();
    }

  private:
    std::array<int, longestCode + 1> counts_ = {};
    std::vector<int> symbols_;  // by length, then by value
};

std::vector<int> simpleLengths(Bits& bits, std::size_t alphabet) {
    std::vector<int> lengths(std::max<std::size_t>(alphabet, 256));
    const bool hasTwo = bits.one();
    const int bitsOfFirst = bits.one() ? 8 : 1;
    lengths[std::size_t(bits.number(bitsOfFirst))] = 1;
    if (hasTwo) lengths[std::size_t(bits.number(8))] = 1;
    lengths.resize(alphabet);
    return lengths;
}

std::vector<int> codedLengths(Bits& bits, std::size_t alphabet) {
    constexpr int order[] = {17, 18, 0, 1, 2, 3, 4, 5, 16, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
    std::vector<int> lengthsOfLengths(std::size(order));
    const int listed = bits.number(4) + 4;
    for (int i = 0; i < listed; ++i) lengthsOfLengths[std::size_t(order[i])] = bits.number(3);
    const PrefixCode code(lengthsOfLengths);
    std::size_t left = alphabet;
    if (bits.one()) {
        left = std::size_t(2 + bits.number(2 + 2 * bits.number(3)));
        require(left <= alphabet);
    }
    std::vector<int> lengths;
    for (int previous = 8; lengths.size() < alphabet && left > 0; --left) {
        const int symbol = code.symbol(bits);
        if (symbol < 16) {
            lengths.push_back(symbol);
            if (symbol != 0) previous = symbol;
            continue;
        }
        const int times = symbol == 16   ? 3 + bits.number(2)
                          : symbol == 17 ? 3 + bits.number(3)
                                         : 11 + bits.number(7);
        lengths.insert(lengths.end(), std::size_t(times), symbol == 16 ? previous : 0);
        require(lengths.size() <= alphabet);
    }
    lengths.resize(alphabet);
    return lengths;
}

constexpr int literals = 256, lengthCodes = 24, distances = 40;

int colorCacheBits(Bits& bits) {
    if (!bits.one()) return 0;
    const int count = bits.number(4);
    require(count >= 1 && count <= 11);
    return count;
}

/// The five codes of one group: green with lengths and cached colours, red, blue, alpha, distance.
struct CodeGroup {
    CodeGroup(Bits& bits, int cacheBits)
        : green(code(bits, literals + lengthCodes + (cacheBits ? 1 << cacheBits : 0))),
          red(code(bits, literals)),
          blue(code(bits, literals)),
          alpha(code(bits, literals)),
          distance(code(bits, distances)) {}

    static PrefixCode code(Bits& bits, int alphabet) {
        const bool isSimple = bits.one();
        return PrefixCode((isSimple ? simpleLengths : codedLengths)(bits, std::size_t(alphabet)));
    }

    PrefixCode green, red, blue, alpha, distance;
};

int lengthOrDistance(Bits& bits, int prefix) {
    if (prefix < 4) return prefix + 1;
    const int extra = (prefix - 2) >> 1;
    return ((2 + (prefix & 1)) << extra) + bits.number(extra) + 1;
}

std::size_t blocks(PixelSize size, int bits) {
    const auto across = [bits](int side) { return std::size_t(side + (1 << bits) - 1) >> bits; };
    return across(size.width) * across(size.height);
}

/// Reads over an image within the stream. Every pixel of it is a literal, repeats one, or is zero; `literal`
/// is given red and green.
template <typename Literal>
void readImage(Bits& bits, std::size_t pixels, Literal literal) {
    const CodeGroup codes(bits, colorCacheBits(bits));
    for (std::size_t at = 0; at < pixels;) {
        const int green = codes.green.symbol(bits);
        if (green < literals) {
            const int red = codes.red.symbol(bits);
            codes.blue.symbol(bits), codes.alpha.symbol(bits);
            literal(red << 8 | green);
            ++at;
        } else if (green < literals + lengthCodes) {
            at += std::size_t(lengthOrDistance(bits, green - literals));
            lengthOrDistance(bits, codes.distance.symbol(bits));
        } else {
            ++at;
        }
    }
}

/// libwebp 1.2: a group's struct, and its lookup tables in the worst case, which may be allocated twice.
std::size_t memoryOfGroups(std::size_t count, int cacheBits) {
    constexpr std::size_t group = 640, table = 4;
    const std::size_t entries = 3 * 630 + 410 + 654 + (cacheBits ? std::size_t(1) << cacheBits : 0);
    return count * (group + 2 * table * entries);
}

enum class Transform { predictor, color, subtractGreen, palette };

class Measurement {
  public:
    Measurement(std::string_view stream, PixelSize size) : bits_(stream), size_(size), stored_(size) {}

    std::size_t memory(LosslessHeader header) {
        if (header == LosslessHeader::present) readHeader();
        while (bits_.one()) readTransform();
        const int cacheBits = colorCacheBits(bits_);
        constexpr std::size_t fixed = 64u << 10, rowsBeside = 17;
        const std::size_t pixels = blocks(stored_, 0) + rowsBeside * std::size_t(size_.width);
        return fixed + images_ + pixel * pixels + memoryOfGroups(groups(), cacheBits) +
               2 * pixel * (std::size_t(1) << cacheBits);
    }

  private:
    static constexpr std::size_t pixel = 4;

    void readHeader() {
        constexpr int signature = 0x2F;
        require(bits_.number(8) == signature);
        require(bits_.number(14) + 1 == size_.width && bits_.number(14) + 1 == size_.height);
        bits_.number(1 + 3);
    }

    void readTransform() {
        const int type = bits_.number(2);
        require(!seen_[std::size_t(type)]);
        seen_[std::size_t(type)] = true;
        switch (Transform(type)) {
            case Transform::subtractGreen: return;
            case Transform::predictor:
            case Transform::color: return readBeside(blocks(stored_, bits_.number(3) + 2));
            case Transform::palette: {
                const int colors = bits_.number(8) + 1;
                readBeside(std::size_t(colors));
                images_ += 256 * pixel;
                const int packed = colors > 16 ? 0 : colors > 4 ? 1 : colors > 2 ? 2 : 3;
                stored_.width = int(blocks({stored_.width, 1}, packed));
            }
        }
    }

    void readBeside(std::size_t pixels) {
        readImage(bits_, pixels, [](int) {});
        images_ += pixel * pixels;
    }

    /// The image that says which group codes a block of pixels.
    std::size_t groups() {
        if (!bits_.one()) return 1;
        const std::size_t pixels = blocks(stored_, bits_.number(3) + 2);
        std::bitset<1 << 16> seen;
        seen[0] = true;
        readImage(bits_, pixels, [&](int group) { seen[std::size_t(group)] = true; });
        images_ += pixel * pixels;
        std::size_t most = seen.size();
        while (!seen[most - 1]) --most;
        // libwebp leaves out those that do not occur where there are many.
        const bool leavesOut = most > 1000 || most > blocks(stored_, 0);
        images_ += leavesOut ? most * sizeof(int) : 0;
        return leavesOut ? seen.count() : most;
    }

    Bits bits_;
    PixelSize size_;
    PixelSize stored_;  // several pixels of few colours are stored as one
    std::size_t images_ = 0;
    std::array<bool, 4> seen_ = {};
};

}  // namespace

std::optional<std::size_t> losslessWebPMemory(std::string_view stream, PixelSize size,
                                              LosslessHeader header) {
    try {
        return Measurement(stream, size).memory(header);
    } catch (const Broken&) {
        return {};
    }
}

}  // namespace drawing
