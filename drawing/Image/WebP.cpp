// SPDX-License-Identifier: Apache-2.0

#include "drawing/Image/Codecs.hpp"

#include <webp/decode.h>

#include <algorithm>
#include <vector>

#include "drawing/Image/LosslessWebP.hpp"
#include "drawing/Image/MemoryBudget.hpp"
#include "drawing/Image/RowScaler.hpp"

namespace drawing {

namespace {

const std::uint8_t* data(std::string_view bytes) {
    return reinterpret_cast<const std::uint8_t*>(bytes.data());
}

/// A file's chunks (RFC 9649, 2.3), from the first on.
class Chunks {
  public:
    explicit Chunks(std::string_view file) : rest_(file.substr(std::min<std::size_t>(file.size(), 12))) {}

    std::string_view type() const { return rest_.substr(0, 4); }
    bool isAtEnd() const { return rest_.size() < around; }
    /// To the end of the file, as libwebp reads it.
    std::string_view contents() const { return rest_.substr(around); }
    void pass() {
        std::uint32_t length = 0;
        for (int i = 7; i >= 4; --i) length = length << 8 | static_cast<unsigned char>(rest_[std::size_t(i)]);
        const std::size_t padded = around + std::size_t(length) + length % 2;
        rest_.remove_prefix(std::min(rest_.size(), padded));
    }

  private:
    static constexpr std::size_t around = 8;  // type and length
    std::string_view rest_;
};

/// What libwebp allocates for the transparency of a picture with loss, `chunk` being an ALPH's contents.
std::optional<std::size_t> alphaMemory(std::string_view chunk, PixelSize size) {
    const std::size_t pixels = std::size_t(size.width) * std::size_t(size.height);
    const bool isPacked = !chunk.empty() && (chunk[0] & 3) == 1;
    if (!isPacked) return 2 * pixels;
    const auto packed = losslessWebPMemory(chunk.substr(1), size, LosslessHeader::absent);
    if (!packed) return {};
    return 2 * pixels + *packed;
}

/// What libwebp allocates besides the outcome, at most.
std::optional<std::size_t> decoderMemory(std::string_view file, PixelSize size) {
    constexpr std::size_t fixed = 64u << 10, column = 192;  // libwebp 1.2 takes 2 KB for 16 columns
    std::size_t alpha = 0;
    Chunks chunks(file);
    const bool isExtended = chunks.type() == "VP8X";
    for (; !chunks.isAtEnd(); chunks.pass()) {
        if (chunks.type() == "VP8L")
            return losslessWebPMemory(chunks.contents(), size, LosslessHeader::present);
        if (chunks.type() == "VP8 ") return fixed + column * std::size_t(size.width) + alpha;
        if (!isExtended) return {};
        if (chunks.type() != "ALPH") continue;
        const auto memory = alphaMemory(chunks.contents(), size);
        if (!memory) return {};
        alpha = std::max(alpha, *memory);
    }
    return {};
}

/// libwebp's own reduction averages areas while it decodes. It takes the picture to twice what is wanted, and
/// the better filter the rest of the way; what is wanted large comes from it directly.
PixelSize reducedSize(PixelSize size, PixelSize wanted) {
    constexpr int large = 512 * 512;
    const int finer = wanted.width * wanted.height <= large ? 2 : 1;
    return {std::min(size.width, finer * wanted.width), std::min(size.height, finer * wanted.height)};
}

}  // namespace

std::optional<ImageHeader> webpHeader(std::string_view bytes) {
    WebPBitstreamFeatures features;
    if (WebPGetFeatures(data(bytes), bytes.size(), &features) != VP8_STATUS_OK || features.has_animation)
        return {};
    return ImageHeader{ImageFormat::webp, {features.width, features.height}, ImageDecoding::whole};
}

std::optional<Bitmap> webpDecoded(std::string_view bytes, PixelSize wanted) {
    const auto header = webpHeader(bytes);
    WebPDecoderConfig config;
    if (!header || !WebPInitDecoderConfig(&config)) return {};
    const PixelSize reduced = reducedSize(header->size, wanted);
    const std::size_t stride = std::size_t(reduced.width) * 4;
    MemoryBudget budget(ImageBounds::memory);
    budget.take(MemoryBudget::ofScaling(reduced, wanted) + stride * std::size_t(reduced.height));
    const auto memory = decoderMemory(bytes, header->size);
    if (!memory || !budget.covers(*memory)) return {};
    std::vector<std::uint8_t> rgba(stride * std::size_t(reduced.height));
    config.options.use_scaling = reduced != header->size;
    config.options.scaled_width = reduced.width;
    config.options.scaled_height = reduced.height;
    config.output.colorspace = MODE_RGBA;
    config.output.is_external_memory = 1;
    config.output.u.RGBA = {rgba.data(), int(stride), rgba.size()};
    if (WebPDecode(data(bytes), bytes.size(), &config) != VP8_STATUS_OK) return {};
    RowScaler scaler(reduced, wanted);
    for (int y = 0; y < reduced.height; ++y) scaler.pushStraight(rgba.data() + std::size_t(y) * stride);
    return std::move(scaler).result();
}

}  // namespace drawing
