// SPDX-License-Identifier: Apache-2.0

#include "drawing/Image/Codecs.hpp"

#include <gif_lib.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include "drawing/Image/LZWReader.hpp"
#include "drawing/Image/PassScaler.hpp"
#include "drawing/Image/RowScaler.hpp"

namespace drawing {

namespace {

struct ClosesFile {
    void operator()(GifFileType* file) const { DGifCloseFile(file, nullptr); }
};

/// Stands at the first frame's pixels.
class GIFReader {
  public:
    explicit GIFReader(std::string_view bytes) : rest_(bytes), file_(DGifOpen(this, readInput, nullptr)) {
        isAtFrame_ = file_ && findFrame();
    }
    GIFReader(const GIFReader&) = delete;
    GIFReader& operator=(const GIFReader&) = delete;

    bool isAtFrame() const { return isAtFrame_; }
    const GifImageDesc& frame() const { return file_->Image; }

    /// The screen; some writers leave it empty or smaller than the frame.
    PixelSize size() const {
        return {std::max(file_->SWidth, frame().Left + frame().Width),
                std::max(file_->SHeight, frame().Top + frame().Height)};
    }

    const ColorMapObject* colors() const {
        return file_->Image.ColorMap ? file_->Image.ColorMap : file_->SColorMap;
    }

    LZWReader pixels() {
        int bits;
        GifByteType* first;
        const bool isThere = DGifGetCode(file_.get(), &bits, &first) == GIF_OK && bits >= 1;
        const auto next = [this, block = isThere ? first : nullptr, isFirst = true]() mutable {
            if (block && !std::exchange(isFirst, false) && DGifGetCodeNext(file_.get(), &block) != GIF_OK)
                block = nullptr;
            // Its length, then its bytes.
            return block ? std::string_view(reinterpret_cast<const char*>(block + 1), block[0])
                         : std::string_view();
        };
        return LZWReader(isThere ? bits : 1, next);
    }

    /// One row of the frame as red, green, blue, alpha; what the frame leaves open stays transparent.
    void paint(const GifPixelType* indices, std::uint8_t* rgba) const {
        const ColorMapObject& map = *colors();
        for (int x = 0; x < frame().Width; ++x, rgba += 4) {
            if (indices[x] == transparent_ || indices[x] >= map.ColorCount) continue;
            const GifColorType& color = map.Colors[indices[x]];
            rgba[0] = color.Red, rgba[1] = color.Green, rgba[2] = color.Blue, rgba[3] = 255;
        }
    }

  private:
    static int readInput(GifFileType* file, GifByteType* into, int length) {
        auto& rest = static_cast<GIFReader*>(file->UserData)->rest_;
        const std::size_t count = std::min(rest.size(), std::size_t(length));
        std::memcpy(into, rest.data(), count);
        rest.remove_prefix(count);
        return int(count);
    }

    bool findFrame() {
        for (GifRecordType record; DGifGetRecordType(file_.get(), &record) == GIF_OK;) {
            if (record == IMAGE_DESC_RECORD_TYPE) return DGifGetImageDesc(file_.get()) == GIF_OK && colors();
            if (record != EXTENSION_RECORD_TYPE || !readExtension()) return false;
        }
        return false;
    }

    bool readExtension() {
        int code;
        GifByteType* block;  // its length, then its bytes
        if (DGifGetExtension(file_.get(), &code, &block) != GIF_OK) return false;
        while (block) {
            GraphicsControlBlock control;
            if (code == GRAPHICS_EXT_FUNC_CODE && DGifExtensionToGCB(block[0], block + 1, &control) == GIF_OK)
                transparent_ = control.TransparentColor;
            if (DGifGetExtensionNext(file_.get(), &block) != GIF_OK) return false;
        }
        return true;
    }

    std::string_view rest_;
    std::unique_ptr<GifFileType, ClosesFile> file_;
    int transparent_ = NO_TRANSPARENT_COLOR;
    bool isAtFrame_ = false;
};

/// The order in which an interlaced frame stores its rows (GIF89a, appendix E).
struct InterlacePass {
    int first;
    int step;
};
constexpr InterlacePass interlacePasses[] = {{0, 8}, {4, 8}, {2, 4}, {1, 2}};

/// A row of the screen, with the frame's in its place.
class ScreenRow {
  public:
    explicit ScreenRow(GIFReader& reader)
        : reader_(reader),
          pixels_(reader.pixels()),
          indices_(std::size_t(reader.frame().Width)),
          rgba_(std::size_t(reader.size().width) * 4) {}

    bool read() {
        if (!pixels_.read(indices_.data(), indices_.size())) return false;
        std::fill(rgba_.begin(), rgba_.end(), std::uint8_t(0));
        reader_.paint(indices_.data(), rgba_.data() + std::size_t(reader_.frame().Left) * 4);
        return true;
    }
    const std::uint8_t* rgba() const { return rgba_.data(); }

  private:
    GIFReader& reader_;
    LZWReader pixels_;
    std::vector<GifPixelType> indices_;
    std::vector<std::uint8_t> rgba_;
};

std::optional<Bitmap> decodedByPasses(GIFReader& reader, PixelSize wanted) {
    const GifImageDesc& frame = reader.frame();
    PassScaler scaler(reader.size(), wanted);
    ScreenRow row(reader);
    for (const InterlacePass& pass : interlacePasses)
        for (int y = pass.first; y < frame.Height; y += pass.step) {
            if (!row.read()) return {};
            scaler.push(row.rgba(), frame.Top + y, {});
        }
    return scaler.result();
}

std::optional<Bitmap> decodedByRows(GIFReader& reader, PixelSize wanted) {
    const GifImageDesc& frame = reader.frame();
    RowScaler scaler(reader.size(), wanted);
    ScreenRow row(reader);
    for (int y = 0; y < reader.size().height; ++y) {
        if (y < frame.Top || y >= frame.Top + frame.Height) {
            scaler.pushTransparent();
            continue;
        }
        if (!row.read()) return {};
        scaler.pushStraight(row.rgba());
    }
    return std::move(scaler).result();
}

}  // namespace

std::optional<ImageHeader> gifHeader(std::string_view bytes) {
    const GIFReader reader(bytes);
    if (!reader.isAtFrame()) return {};
    return ImageHeader{ImageFormat::gif, reader.size(),
                       reader.frame().Interlace ? ImageDecoding::whole : ImageDecoding::byRows};
}

std::optional<Bitmap> gifDecoded(std::string_view bytes, PixelSize wanted) {
    GIFReader reader(bytes);
    if (!reader.isAtFrame()) return {};
    return reader.frame().Interlace ? decodedByPasses(reader, wanted) : decodedByRows(reader, wanted);
}

}  // namespace drawing
