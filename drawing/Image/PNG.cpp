// SPDX-License-Identifier: Apache-2.0

#include "drawing/Image/Codecs.hpp"

#include <spng.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "drawing/Image/Orientation.hpp"
#include "drawing/Image/PassScaler.hpp"
#include "drawing/Image/RowScaler.hpp"

namespace drawing {

namespace {

/// A file without what stands beside the picture: profiles and texts would be inflated and kept before anyone
/// could say that they are not wanted. Transparent colours are part of the picture.
class PictureChunks {
  public:
    explicit PictureChunks(std::string_view bytes)
        : piece_(bytes.substr(0, signature)), rest_(bytes.substr(piece_.size())) {}

    /// Exactly `length` bytes; false where there are fewer.
    bool read(char* into, std::size_t length) {
        while (length > 0) {
            if (piece_.empty() && !nextPiece()) return false;
            const std::size_t count = std::min(length, piece_.size());
            into = std::copy_n(piece_.data(), count, into);
            piece_.remove_prefix(count);
            length -= count;
        }
        return true;
    }

  private:
    static constexpr std::size_t signature = 8;
    static constexpr std::size_t around = 12;  // length and type before a chunk's contents, checksum after

    bool nextPiece() {
        do {
            std::size_t length = 0;
            for (const char byte : rest_.substr(0, 4))
                length = length << 8 | static_cast<unsigned char>(byte);
            piece_ = rest_.substr(0, around + length);  // what is cut short ends there
            rest_.remove_prefix(piece_.size());
        } while (isBeside(piece_));
        return !piece_.empty();
    }
    /// A small first letter says that a chunk can be passed over (ISO 15948, 5.4).
    static bool isBeside(std::string_view chunk) {
        return chunk.size() >= around && (chunk[4] & 0x20) && chunk.substr(4, 4) != "tRNS";
    }

    std::string_view piece_;
    std::string_view rest_;
};

/// Noted in a chunk of its own, before the pixels or behind them (eXIf).
Orientation orientationOfPNG(std::string_view file) {
    constexpr std::size_t signature = 8, around = 12;
    file.remove_prefix(std::min(file.size(), signature));
    while (file.size() >= around) {
        std::size_t length = 0;
        for (const char byte : file.substr(0, 4)) length = length << 8 | static_cast<unsigned char>(byte);
        if (length > file.size() - around) break;
        if (file.substr(4, 4) == "eXIf") return notedOrientationInChunk(file.substr(8, length));
        file.remove_prefix(around + length);
    }
    return Orientation::upright;
}

/// Bytes to unfilter, at most, however many of them a pixel has: a second's work or two.
constexpr long long mostRawBytes = 4 * ImageBounds::pixelsByRows;

struct FreesContext {
    void operator()(spng_ctx* context) const { spng_ctx_free(context); }
};

class PNGReader {
  public:
    explicit PNGReader(std::string_view bytes) : chunks_(bytes), context_(spng_ctx_new(0)) {
        hasHeader_ = context_ && !spng_set_png_stream(context_.get(), readInput, &chunks_) &&
                     !spng_get_ihdr(context_.get(), &header_);
    }
    PNGReader(const PNGReader&) = delete;
    PNGReader& operator=(const PNGReader&) = delete;

    bool hasHeader() const { return hasHeader_; }
    PixelSize size() const { return {int(header_.width), int(header_.height)}; }
    long long rawBytes() const {
        constexpr int channels[] = {1, 0, 3, 1, 2, 0, 4};  // by colour type
        return (1LL * header_.width * channels[header_.color_type] * header_.bit_depth + 7) / 8 *
               header_.height;
    }
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
    static int readInput(spng_ctx*, void* chunks, void* into, std::size_t length) {
        return static_cast<PictureChunks*>(chunks)->read(static_cast<char*>(into), length) ? 0 : SPNG_IO_EOF;
    }

    PictureChunks chunks_;
    std::unique_ptr<spng_ctx, FreesContext> context_;
    spng_ihdr header_ = {};
    bool hasHeader_ = false;
    bool isAtEnd_ = false;
};

/// The passes of an interlaced picture (ISO 15948, 8.2).
constexpr PassScaler::Columns adam7Passes[] = {{0, 8}, {4, 8}, {0, 4}, {2, 4}, {0, 2}, {1, 2}, {0, 1}};

std::optional<Bitmap> decodedByPasses(PNGReader& reader, PixelSize wanted) {
    PassScaler scaler(reader.size(), wanted);
    std::vector<std::uint8_t> pixels(reader.stride());
    while (!reader.isAtEnd()) {
        const auto row = reader.nextRow();
        if (!row || !reader.readRow(pixels.data())) return {};
        scaler.push(pixels.data(), int(row->row_num), adam7Passes[row->pass]);
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
    if (!reader.hasHeader() || reader.rawBytes() > mostRawBytes) return {};
    return ImageHeader{ImageFormat::png, oriented(reader.size(), orientationOfPNG(bytes)),
                       reader.isInterlaced() ? ImageDecoding::whole : ImageDecoding::byRows};
}

std::optional<Bitmap> pngDecoded(std::string_view bytes, PixelSize wanted) {
    PNGReader reader(bytes);
    if (!reader.hasHeader() || !reader.startRows()) return {};
    const Orientation orientation = orientationOfPNG(bytes);
    const PixelSize stored = oriented(wanted, orientation);
    auto bitmap = reader.isInterlaced() ? decodedByPasses(reader, stored) : decodedByRows(reader, stored);
    if (!bitmap) return {};
    return oriented(*std::move(bitmap), orientation);
}

}  // namespace drawing
