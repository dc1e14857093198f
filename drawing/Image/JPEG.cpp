// SPDX-License-Identifier: Apache-2.0

#include "drawing/Image/Codecs.hpp"

#include <malloc.h>

#include <cstdio>

#include <jpeglib.h>

#include <jerror.h>  // its list depends on the build's configuration, which jpeglib.h brings

#include <algorithm>
#include <csetjmp>
#include <cstdint>
#include <exception>
#include <iterator>
#include <memory>
#include <vector>

#include "drawing/Image/CoefficientStore.hpp"
#include "drawing/Image/MemoryBudget.hpp"
#include "drawing/Image/Orientation.hpp"
#include "drawing/Image/RowScaler.hpp"

namespace drawing {

namespace {

/// Blocks of coefficients that the scans of a picture may go over, each scan anew; it is half a second's
/// work. The usual scripts go over each block of 16 megapixels of four inks five times.
constexpr std::size_t mostBlocksVisited = 8'000'000;
/// The usual scripts have ten.
constexpr int mostScans = 64;

/// libjpeg reports a failure by a jump. Every call goes through `attempt`, whose frame holds nothing to
/// destroy.
class JPEGReader {
  public:
    explicit JPEGReader(std::string_view bytes) {
        info_.err = jpeg_std_error(&errors_.manager);
        info_.client_data = this;
        errors_.manager.error_exit = fail;
        errors_.manager.emit_message = [](j_common_ptr info, int level) {
            if (level >= 0) return;
            const int message = info->err->msg_code;
            if (message == JWRN_JPEG_EOF) reader(info).runOut();
            if (losesPixels(message)) fail(info);
        };
        progress_.progress_monitor = [](j_common_ptr info) {
            if (reinterpret_cast<j_decompress_ptr>(info)->input_scan_number > mostScans) fail(info);
        };
        hasHeader_ = attempt([&](jpeg_decompress_struct& info) {
            jpeg_create_decompress(&info);
            info.client_data = this;
            info.progress = &progress_;
            library_ = *info.mem;
            info.mem->alloc_small = allocateSmall;
            info.mem->alloc_large = allocateLarge;
            info.mem->alloc_sarray = allocateSamples;
            info.mem->alloc_barray = allocateBlocks;
            info.mem->request_virt_barray = requestCoefficients;
            info.mem->access_virt_barray = accessCoefficients;
            jpeg_set_marker_processor(&info, JPEG_APP0 + 1, readNotes);
            jpeg_mem_src(&info, reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
            jpeg_read_header(&info, TRUE);
        });
    }
    ~JPEGReader() {
        jpeg_destroy_decompress(&info_);
        if (coefficients_.empty()) return;
        // Megabytes in small pieces: glibc would keep them for a next time.
        coefficients_.clear();
        malloc_trim(0);
    }
    JPEGReader(const JPEGReader&) = delete;
    JPEGReader& operator=(const JPEGReader&) = delete;

    bool hasHeader() const { return hasHeader_; }
    PixelSize storedSize() const { return {int(info_.image_width), int(info_.image_height)}; }
    bool hasSeveralScans() { return jpeg_has_multiple_scans(&info_); }

    Orientation orientation() const { return orientation_; }

    /// Begins decoding at the smallest of libjpeg's own reductions, eighths, that is no smaller than
    /// `wanted`, with the memory that reducing it to that leaves. Throws std::bad_alloc where it leaves none.
    bool start(PixelSize wanted) {
        budget_.take(MemoryBudget::ofScaling(storedSize(), wanted) + MemoryBudget::ofBitmap(wanted));
        return attempt([&](jpeg_decompress_struct& info) {
            const bool inks = info.jpeg_color_space == JCS_CMYK || info.jpeg_color_space == JCS_YCCK;
            info.out_color_space = inks ? JCS_CMYK : JCS_EXT_RGBA;
            // It guesses at scans that are missing, and reads rows of coefficients that it has not asked for.
            info.do_block_smoothing = FALSE;
            info.scale_denom = 8;
            info.scale_num = 0;
            do {
                ++info.scale_num;
                jpeg_calc_output_dimensions(&info);
            } while (info.scale_num < info.scale_denom &&
                     (int(info.output_width) < wanted.width || int(info.output_height) < wanted.height));
            jpeg_start_decompress(&info);
        });
    }

    PixelSize decodedSize() const { return {int(info_.output_width), int(info_.output_height)}; }

    /// Whether nothing is missing of a file that did not end as it should, once it is decoded.
    bool isWhole() const {
        return !hasRunOut_ ||
               std::all_of(info_.comp_info, info_.comp_info + info_.num_components,
                           [this](const jpeg_component_info& component) { return isWhole(component); });
    }

    /// The next row, as red, green, blue, alpha.
    bool readRow(std::uint8_t* rgba) {
        const bool read = attempt([&](jpeg_decompress_struct& info) {
            JSAMPROW row = rgba;
            if (jpeg_read_scanlines(&info, &row, 1) != 1) fail(reinterpret_cast<j_common_ptr>(&info));
        });
        if (read && info_.out_color_space == JCS_CMYK) mixInks(rgba);
        return read;
    }

  private:
    struct Errors {
        jpeg_error_mgr manager;
        std::jmp_buf jump;
    };

    /// libjpeg would keep every such segment, of which a file may have millions. All of the file is in the
    /// source's buffer.
    static boolean readNotes(j_decompress_ptr info) {
        jpeg_source_mgr& source = *info->src;
        constexpr std::size_t ofLength = 2;
        const std::size_t length =
            source.bytes_in_buffer < ofLength
                ? 0
                : std::size_t(source.next_input_byte[0] << 8 | source.next_input_byte[1]);
        if (length < ofLength || length > source.bytes_in_buffer) fail(reinterpret_cast<j_common_ptr>(info));
        const std::string_view segment(reinterpret_cast<const char*>(source.next_input_byte), length);
        source.next_input_byte += length, source.bytes_in_buffer -= length;
        JPEGReader& self = reader(reinterpret_cast<j_common_ptr>(info));
        if (!self.hasHeader_ && self.orientation_ == Orientation::upright)
            self.orientation_ = notedOrientation(segment.substr(ofLength));
        return TRUE;
    }

    /// Nothing is allocated that the budget does not cover.
    static void* allocateSmall(j_common_ptr info, int pool, std::size_t size) {
        return take(info, size).alloc_small(info, pool, size);
    }
    static void* allocateLarge(j_common_ptr info, int pool, std::size_t size) {
        return take(info, size).alloc_large(info, pool, size);
    }
    static JSAMPARRAY allocateSamples(j_common_ptr info, int pool, JDIMENSION samplesAcross,
                                      JDIMENSION rows) {
        const std::size_t row = std::size_t(samplesAcross) * sizeof(JSAMPLE) + sizeof(JSAMPROW);
        return take(info, row * rows).alloc_sarray(info, pool, samplesAcross, rows);
    }
    static JBLOCKARRAY allocateBlocks(j_common_ptr info, int pool, JDIMENSION blocksAcross, JDIMENSION rows) {
        const std::size_t row = std::size_t(blocksAcross) * sizeof(JBLOCK) + sizeof(JBLOCKROW);
        return take(info, row * rows).alloc_barray(info, pool, blocksAcross, rows);
    }
    /// The library's own allocators, once the budget covers the size.
    static const jpeg_memory_mgr& take(j_common_ptr info, std::size_t size) {
        if (!reader(info).budget_.covers(size)) fail(info);
        reader(info).budget_.take(size);
        return reader(info).library_;
    }

    /// libjpeg knows its arrays of coefficients by pointers that only these two look behind.
    static jvirt_barray_ptr requestCoefficients(j_common_ptr info, int, boolean, JDIMENSION blocksAcross,
                                                JDIMENSION blockRows, JDIMENSION) {
        return orFailed(info, [&] {
            auto& stores = reader(info).coefficients_;
            stores.push_back(
                std::make_unique<CoefficientStore>(blocksAcross, blockRows, reader(info).budget_));
            return reinterpret_cast<jvirt_barray_ptr>(stores.back().get());
        });
    }
    static JBLOCKARRAY accessCoefficients(j_common_ptr info, jvirt_barray_ptr array, JDIMENSION first,
                                          JDIMENSION count, boolean writable) {
        auto& store = *reinterpret_cast<CoefficientStore*>(array);
        std::size_t& visited = reader(info).blocksVisited_;
        if (writable) visited += std::size_t(count) * store.blocksAcross();
        if (visited > mostBlocksVisited) fail(info);
        return orFailed(info, [&] {
            return store.window(
                first, count,
                writable ? CoefficientStore::Access::writing : CoefficientStore::Access::reading);
        });
    }
    /// No exception may pass through libjpeg.
    template <typename Step>
    static auto orFailed(j_common_ptr info, const Step& step) -> decltype(step()) {
        try {
            return step();
        } catch (const std::exception&) {
        }
        fail(info);
    }
    [[noreturn]] static void fail(j_common_ptr info) { std::longjmp(reader(info).errors_.jump, 1); }

    static JPEGReader& reader(j_common_ptr info) { return *static_cast<JPEGReader*>(info->client_data); }

    /// libjpeg goes on after these with invented pixels.
    static bool losesPixels(int message) {
        switch (message) {
            case JWRN_HIT_MARKER:
            case JWRN_HUFF_BAD_CODE:
            case JWRN_ARITH_BAD_CODE:
            case JWRN_MUST_RESYNC: return true;
            default: return false;
        }
    }

    /// libjpeg takes the end of the bytes for the end of the picture. Coded by Huffman's codes, whoever needs
    /// more bits then says so (JWRN_HIT_MARKER); arithmetic coding makes them up.
    void runOut() {
        hasRunOut_ = true;
        if (info_.arith_code) fail(reinterpret_cast<j_common_ptr>(&info_));
    }
    /// Every scan was there: of one that was not, nobody has missed a bit.
    bool isWhole(const jpeg_component_info& component) const {
        if (!info_.progressive_mode) return component.quant_table;
        const auto& bits = info_.coef_bits[component.component_index];
        return std::all_of(std::begin(bits), std::end(bits), [](int missing) { return missing == 0; });
    }

    template <typename Step>
    bool attempt(const Step& step) {
        if (setjmp(errors_.jump)) return false;
        step(info_);
        return true;
    }

    /// In place. Files that bear Adobe's mark store inks inverted, 255 for none.
    void mixInks(std::uint8_t* row) {
        const int inverted = info_.saw_Adobe_marker ? 0 : 255;
        for (JDIMENSION x = 0; x < info_.output_width; ++x, row += 4) {
            const int paper = row[3] ^ inverted;
            for (int c = 0; c < 3; ++c) row[c] = std::uint8_t(((row[c] ^ inverted) * paper + 127) / 255);
            row[3] = 255;
        }
    }

    jpeg_decompress_struct info_ = {};
    Errors errors_ = {};
    jpeg_progress_mgr progress_ = {};
    jpeg_memory_mgr library_ = {};
    MemoryBudget budget_{ImageBounds::memory};
    std::vector<std::unique_ptr<CoefficientStore>> coefficients_;
    std::size_t blocksVisited_ = 0;
    Orientation orientation_ = Orientation::upright;
    bool hasHeader_ = false;
    bool hasRunOut_ = false;
};

}  // namespace

std::optional<ImageHeader> jpegHeader(std::string_view bytes) {
    JPEGReader reader(bytes);
    if (!reader.hasHeader()) return {};
    return ImageHeader{ImageFormat::jpeg, oriented(reader.storedSize(), reader.orientation()),
                       reader.hasSeveralScans() ? ImageDecoding::whole : ImageDecoding::byRows};
}

std::optional<Bitmap> jpegDecoded(std::string_view bytes, PixelSize wanted) {
    JPEGReader reader(bytes);
    if (!reader.hasHeader()) return {};
    const Orientation orientation = reader.orientation();
    const PixelSize stored = oriented(wanted, orientation);  // swapping sides is its own inverse
    if (!reader.start(stored)) return {};
    RowScaler scaler(reader.decodedSize(), stored);
    std::vector<std::uint8_t> row(std::size_t(reader.decodedSize().width) * 4);
    for (int y = 0; y < reader.decodedSize().height; ++y) {
        if (!reader.readRow(row.data())) return {};
        scaler.pushStraight(row.data());
    }
    if (!reader.isWhole()) return {};
    return oriented(std::move(scaler).result(), orientation);
}

}  // namespace drawing
