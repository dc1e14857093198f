#include "platform/Image/Codecs.hpp"

#include <gif_lib.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include "platform/Image/RowScaler.hpp"

namespace platform {

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

    bool readRow(GifPixelType* indices) { return DGifGetLine(file_.get(), indices, frame().Width) == GIF_OK; }

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
struct Pass {
    int first;
    int step;
};
constexpr Pass passes[] = {{0, 8}, {4, 8}, {2, 4}, {1, 2}};

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
    const GifImageDesc frame = reader.frame();
    const auto width = std::size_t(frame.Width);
    std::vector<GifPixelType> indices(frame.Interlace ? width * std::size_t(frame.Height) : width);
    if (frame.Interlace)
        for (const Pass& pass : passes)
            for (int y = pass.first; y < frame.Height; y += pass.step)
                if (!reader.readRow(indices.data() + std::size_t(y) * width)) return {};
    RowScaler scaler(reader.size(), wanted);
    std::vector<std::uint8_t> row(std::size_t(reader.size().width) * 4);
    for (int y = 0; y < reader.size().height; ++y) {
        std::fill(row.begin(), row.end(), std::uint8_t(0));
        if (const int line = y - frame.Top; line >= 0 && line < frame.Height) {
            if (!frame.Interlace && !reader.readRow(indices.data())) return {};
            const std::size_t offset = frame.Interlace ? std::size_t(line) * width : 0;
            reader.paint(indices.data() + offset, row.data() + std::size_t(frame.Left) * 4);
        }
        scaler.pushStraight(row.data());
    }
    return std::move(scaler).result();
}

}  // namespace platform
