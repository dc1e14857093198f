// SPDX-License-Identifier: Apache-2.0

#include "drawing/Image/Codecs.hpp"

#include <webp/decode.h>

#include <algorithm>
#include <vector>

#include "drawing/Image/LosslessWebP.hpp"
#include "drawing/Image/MemoryBudget.hpp"
#include "drawing/Image/Orientation.hpp"
#include "drawing/Image/RowScaler.hpp"

namespace drawing {

namespace {

const std::uint8_t* data(std::string_view bytes) {
    return reinterpret_cast<const std::uint8_t*>(bytes.data());
}

/// A file's chunks (RFC 9649, 2.3), or those within another, from the first on.
class Chunks {
  public:
    static Chunks ofFile(std::string_view file) {
        constexpr std::size_t header = 12;
        return Chunks(file.substr(std::min(file.size(), header)));
    }
    explicit Chunks(std::string_view chunks) : rest_(chunks) {}

    std::string_view type() const { return rest_.substr(0, 4); }
    bool isAtEnd() const { return rest_.size() < around; }
    /// To the end of the file, as libwebp reads it.
    std::string_view openContents() const { return rest_.substr(around); }
    std::string_view contents() const { return openContents().substr(0, length()); }
    void pass() {
        const std::size_t padded = around + length() + length() % 2;
        rest_.remove_prefix(std::min(rest_.size(), padded));
    }

  private:
    static constexpr std::size_t around = 8;  // type and length

    std::size_t length() const {
        std::size_t length = 0;
        for (std::size_t i = 8; i-- > 4;) length = length << 8 | static_cast<unsigned char>(rest_[i]);
        return length;
    }

    std::string_view rest_;
};

/// Where a picture's pixels are, and what place they have on its canvas.
struct Frame {
    /// As libwebp takes it: a whole file, or the chunks of an animation's frame.
    std::string_view bytes;
    Chunks chunks;
    PixelSize size;
    int left = 0;
    int top = 0;
};

int number24(std::string_view bytes, std::size_t at) {
    int number = 0;
    for (std::size_t i = at + 3; i-- > at;) number = number << 8 | static_cast<unsigned char>(bytes[i]);
    return number;
}

std::optional<WebPBitstreamFeatures> featuresOf(std::string_view bytes) {
    WebPBitstreamFeatures features;
    if (WebPGetFeatures(data(bytes), bytes.size(), &features) != VP8_STATUS_OK) return {};
    return features;
}

/// The first of an animation, if it lies on the canvas whole.
std::optional<Frame> firstFrame(std::string_view file, PixelSize canvas) {
    constexpr std::size_t aboutFrame = 16;  // place, size, duration, flags
    Chunks chunks = Chunks::ofFile(file);
    while (!chunks.isAtEnd() && chunks.type() != "ANMF") chunks.pass();
    if (chunks.isAtEnd() || chunks.contents().size() < aboutFrame) return {};
    const std::string_view about = chunks.contents(), bytes = about.substr(aboutFrame);
    const Frame frame{bytes,
                      Chunks(bytes),
                      {number24(about, 6) + 1, number24(about, 9) + 1},
                      2 * number24(about, 0),
                      2 * number24(about, 3)};
    const auto features = featuresOf(bytes);
    const bool isAsItSays =
        features && !features->has_animation && PixelSize{features->width, features->height} == frame.size;
    const bool isOnCanvas =
        frame.left + frame.size.width <= canvas.width && frame.top + frame.size.height <= canvas.height;
    return isAsItSays && isOnCanvas ? std::optional(frame) : std::nullopt;
}

Orientation orientationOfWebP(std::string_view file) {
    for (Chunks chunks = Chunks::ofFile(file); !chunks.isAtEnd(); chunks.pass())
        if (chunks.type() == "EXIF") return notedOrientationInChunk(chunks.contents());
    return Orientation::upright;
}

/// A picture as it is stored.
struct Canvas {
    PixelSize size;
    Frame frame;
    Orientation orientation;
};

std::optional<Canvas> canvasOf(std::string_view bytes) {
    const auto features = featuresOf(bytes);
    if (!features) return {};
    const PixelSize size{features->width, features->height};
    const auto frame = features->has_animation ? firstFrame(bytes, size)
                                               : std::optional(Frame{bytes, Chunks::ofFile(bytes), size});
    if (!frame) return {};
    return Canvas{size, *frame, orientationOfWebP(bytes)};
}

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
std::optional<std::size_t> decoderMemory(const Frame& frame) {
    constexpr std::size_t fixed = 64u << 10, column = 192;  // libwebp 1.2 takes 2 KB for 16 columns
    std::size_t alpha = 0;
    Chunks chunks = frame.chunks;
    const bool mayHaveOthers = chunks.type() == "VP8X" || chunks.type() == "ALPH";
    for (; !chunks.isAtEnd(); chunks.pass()) {
        if (chunks.type() == "VP8L")
            return losslessWebPMemory(chunks.openContents(), frame.size, LosslessHeader::present);
        if (chunks.type() == "VP8 ") return fixed + column * std::size_t(frame.size.width) + alpha;
        if (!mayHaveOthers) return {};
        if (chunks.type() != "ALPH") continue;
        const auto memory = alphaMemory(chunks.openContents(), frame.size);
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

/// Red, green, blue and alpha, rows one behind the other; transparent where no frame lies.
struct Pixels {
    explicit Pixels(PixelSize pixels)
        : size(pixels), stride(std::size_t(size.width) * 4), rgba(stride * std::size_t(size.height)) {}

    PixelSize size;
    std::size_t stride;
    std::vector<std::uint8_t> rgba;
};

/// Decodes the frame onto its place, reduced as the canvas is to `pixels`.
bool decode(const Canvas& canvas, Pixels& pixels) {
    const auto reduced = [](int length, int to, int from) { return int(1LL * length * to / from); };
    const Frame& frame = canvas.frame;
    const PixelSize size{std::max(1, reduced(frame.size.width, pixels.size.width, canvas.size.width)),
                         std::max(1, reduced(frame.size.height, pixels.size.height, canvas.size.height))};
    const int left =
        std::min(reduced(frame.left, pixels.size.width, canvas.size.width), pixels.size.width - size.width);
    const int top = std::min(reduced(frame.top, pixels.size.height, canvas.size.height),
                             pixels.size.height - size.height);
    const std::size_t first = std::size_t(top) * pixels.stride + std::size_t(left) * 4;
    WebPDecoderConfig config;
    if (!WebPInitDecoderConfig(&config)) return false;
    config.options.use_scaling = size != frame.size;
    config.options.scaled_width = size.width;
    config.options.scaled_height = size.height;
    config.output.colorspace = MODE_RGBA;
    config.output.is_external_memory = 1;
    config.output.u.RGBA = {pixels.rgba.data() + first, int(pixels.stride), pixels.rgba.size() - first};
    return WebPDecode(data(frame.bytes), frame.bytes.size(), &config) == VP8_STATUS_OK;
}

}  // namespace

std::optional<ImageHeader> webpHeader(std::string_view bytes) {
    const auto canvas = canvasOf(bytes);
    if (!canvas) return {};
    return ImageHeader{ImageFormat::webp, oriented(canvas->size, canvas->orientation), ImageDecoding::whole};
}

std::optional<Bitmap> webpDecoded(std::string_view bytes, PixelSize wanted) {
    const auto canvas = canvasOf(bytes);
    if (!canvas) return {};
    const PixelSize stored = oriented(wanted, canvas->orientation);
    const PixelSize reduced = reducedSize(canvas->size, stored);
    MemoryBudget budget(ImageBounds::memory);
    budget.take(MemoryBudget::ofScaling(reduced, stored) + MemoryBudget::ofBitmap(reduced));
    const auto memory = decoderMemory(canvas->frame);
    if (!memory || !budget.covers(*memory)) return {};
    Pixels pixels(reduced);
    if (!decode(*canvas, pixels)) return {};
    RowScaler scaler(reduced, stored);
    for (std::size_t y = 0; y < std::size_t(reduced.height); ++y)
        scaler.pushStraight(pixels.rgba.data() + y * pixels.stride);
    return oriented(std::move(scaler).result(), canvas->orientation);
}

}  // namespace drawing
