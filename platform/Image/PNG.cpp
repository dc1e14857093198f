#include "platform/Image/Codecs.hpp"

#include <spng.h>

#include <memory>
#include <vector>

#include "platform/Image/RowScaler.hpp"

namespace platform {

namespace {

/// Profiles and texts beside the picture are inflated before they are skipped: this many bytes of them in
/// all.
constexpr std::size_t mostBeside = 4u << 20;

struct FreesContext {
    void operator()(spng_ctx* context) const { spng_ctx_free(context); }
};

class PNGReader {
  public:
    explicit PNGReader(std::string_view bytes) : context_(spng_ctx_new(0)) {
        hasHeader_ = context_ && !spng_set_chunk_limits(context_.get(), mostBeside, mostBeside) &&
                     !spng_set_png_buffer(context_.get(), bytes.data(), bytes.size()) &&
                     !spng_get_ihdr(context_.get(), &header_);
    }

    bool hasHeader() const { return hasHeader_; }
    PixelSize size() const { return {int(header_.width), int(header_.height)}; }
    bool isInterlaced() const { return header_.interlace_method != SPNG_INTERLACE_NONE; }
    std::size_t stride() const { return std::size_t(header_.width) * 4; }

    bool startRows() { return !decode(nullptr, 0, SPNG_DECODE_TRNS | SPNG_DECODE_PROGRESSIVE); }
    bool readRow(std::uint8_t* rgba) {
        const int result = spng_decode_row(context_.get(), rgba, stride());
        return result == 0 || result == SPNG_EOI;
    }
    bool readWhole(std::uint8_t* rgba) { return !decode(rgba, stride() * header_.height, SPNG_DECODE_TRNS); }

  private:
    int decode(std::uint8_t* rgba, std::size_t length, int flags) {
        return spng_decode_image(context_.get(), rgba, length, SPNG_FMT_RGBA8, flags);
    }

    std::unique_ptr<spng_ctx, FreesContext> context_;
    spng_ihdr header_ = {};
    bool hasHeader_ = false;
};

}  // namespace

std::optional<ImageHeader> pngHeader(std::string_view bytes) {
    const PNGReader reader(bytes);
    if (!reader.hasHeader()) return {};
    return ImageHeader{ImageFormat::png, reader.size(),
                       reader.isInterlaced() ? ImageDecoding::whole : ImageDecoding::byRows};
}

std::optional<Bitmap> pngDecoded(std::string_view bytes, PixelSize wanted) {
    PNGReader reader(bytes);
    if (!reader.hasHeader()) return {};
    RowScaler scaler(reader.size(), wanted);
    if (reader.isInterlaced()) {
        std::vector<std::uint8_t> picture(reader.stride() * std::size_t(reader.size().height));
        if (!reader.readWhole(picture.data())) return {};
        for (int y = 0; y < reader.size().height; ++y)
            scaler.pushStraight(picture.data() + std::size_t(y) * reader.stride());
    } else {
        if (!reader.startRows()) return {};
        std::vector<std::uint8_t> row(reader.stride());
        for (int y = 0; y < reader.size().height; ++y) {
            if (!reader.readRow(row.data())) return {};
            scaler.pushStraight(row.data());
        }
    }
    return std::move(scaler).result();
}

}  // namespace platform
