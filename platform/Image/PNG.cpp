#include "platform/Image/Codecs.hpp"

#include <spng.h>

#include <memory>
#include <vector>

#include "platform/Image/PassScaler.hpp"
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

    bool startRows() {
        return !spng_decode_image(context_.get(), nullptr, 0, SPNG_FMT_RGBA8,
                                  SPNG_DECODE_TRNS | SPNG_DECODE_PROGRESSIVE);
    }
    /// Where the next row belongs; its pixels come in their places, those of other passes untouched.
    std::optional<spng_row_info> nextRow() {
        spng_row_info row;
        if (spng_get_row_info(context_.get(), &row)) return {};
        return row;
    }
    bool readRow(std::uint8_t* rgba) {
        const int result = spng_decode_row(context_.get(), rgba, stride());
        isAtEnd_ = result == SPNG_EOI;
        return result == 0 || isAtEnd_;
    }
    bool isAtEnd() const { return isAtEnd_; }

  private:
    std::unique_ptr<spng_ctx, FreesContext> context_;
    spng_ihdr header_ = {};
    bool hasHeader_ = false;
    bool isAtEnd_ = false;
};

/// The passes of an interlaced picture (ISO 15948, 8.2).
constexpr PassScaler::Columns passes[] = {{0, 8}, {4, 8}, {0, 4}, {2, 4}, {0, 2}, {1, 2}, {0, 1}};

std::optional<Bitmap> decodedByPasses(PNGReader& reader, PixelSize wanted) {
    PassScaler scaler(reader.size(), wanted);
    std::vector<std::uint8_t> pixels(reader.stride());
    while (!reader.isAtEnd()) {
        const auto row = reader.nextRow();
        if (!row || !reader.readRow(pixels.data())) return {};
        scaler.push(pixels.data(), int(row->row_num), passes[row->pass]);
    }
    return scaler.result();
}

std::optional<Bitmap> decodedByRows(PNGReader& reader, PixelSize wanted) {
    RowScaler scaler(reader.size(), wanted);
    std::vector<std::uint8_t> pixels(reader.stride());
    for (int y = 0; y < reader.size().height; ++y) {
        if (!reader.readRow(pixels.data())) return {};
        scaler.pushStraight(pixels.data());
    }
    return std::move(scaler).result();
}

}  // namespace

std::optional<ImageHeader> pngHeader(std::string_view bytes) {
    const PNGReader reader(bytes);
    if (!reader.hasHeader()) return {};
    return ImageHeader{ImageFormat::png, reader.size(),
                       reader.isInterlaced() ? ImageDecoding::whole : ImageDecoding::byRows};
}

std::optional<Bitmap> pngDecoded(std::string_view bytes, PixelSize wanted) {
    PNGReader reader(bytes);
    if (!reader.hasHeader() || !reader.startRows()) return {};
    return reader.isInterlaced() ? decodedByPasses(reader, wanted) : decodedByRows(reader, wanted);
}

}  // namespace platform
