// SPDX-License-Identifier: Apache-2.0

// The module behind TerminalImage: decodes the drawing and has libchafa write it for the terminal at hand.

#include <chafa.h>
#include <spng.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "host/widget/TerminalImage.hpp"
#include "widget/DrawingRequest.hpp"

namespace {

using host::TerminalGeometry;

struct PixelSize {
    int width;
    int height;
};

/// Cells are about twice as high as wide where the terminal does not tell.
constexpr PixelSize usualCell = {.width = 10, .height = 20};
constexpr int margin = 2;
/// A widget that is wider than this is no widget any more.
constexpr int mostColumns = 72;

template <auto release>
struct Releaser {
    template <typename Object>
    void operator()(Object* object) const {
        release(object);
    }
};
using PNG = std::unique_ptr<spng_ctx, Releaser<spng_ctx_free>>;
using TermInfo = std::unique_ptr<ChafaTermInfo, Releaser<chafa_term_info_unref>>;
using SymbolMap = std::unique_ptr<ChafaSymbolMap, Releaser<chafa_symbol_map_unref>>;
using CanvasConfig = std::unique_ptr<ChafaCanvasConfig, Releaser<chafa_canvas_config_unref>>;
using Canvas = std::unique_ptr<ChafaCanvas, Releaser<chafa_canvas_unref>>;

struct Picture {
    PixelSize size;
    /// Red, green, blue and alpha, multiplied by alpha; rows from the top.
    std::vector<std::uint8_t> pixels;
};

void multiplyByAlpha(std::vector<std::uint8_t>& pixels) {
    for (std::size_t pixel = 0; pixel + 3 < pixels.size(); pixel += 4)
        for (std::size_t channel = 0; channel < 3; ++channel) {
            auto& value = pixels[pixel + channel];
            value = static_cast<std::uint8_t>((value * pixels[pixel + 3] + 127) / 255);
        }
}

/// A drawing that the extension made; nothing for what is none.
std::optional<Picture> decoded(std::string_view png) {
    const PNG reader(spng_ctx_new(0));
    spng_ihdr header = {};
    std::size_t length = 0;
    if (!reader || spng_set_png_buffer(reader.get(), png.data(), png.size()) != 0 ||
        spng_get_ihdr(reader.get(), &header) != 0 ||
        double(header.width) * double(header.height) > widget::DrawingRequest::mostPixels ||
        spng_decoded_image_size(reader.get(), SPNG_FMT_RGBA8, &length) != 0)
        return std::nullopt;
    Picture picture = {{static_cast<int>(header.width), static_cast<int>(header.height)},
                       std::vector<std::uint8_t>(length)};
    if (spng_decode_image(reader.get(), picture.pixels.data(), length, SPNG_FMT_RGBA8, SPNG_DECODE_TRNS) != 0)
        return std::nullopt;
    multiplyByAlpha(picture.pixels);
    return picture;
}

TermInfo terminalAtHand() {
    char** environment = g_get_environ();
    TermInfo information(chafa_term_db_detect(chafa_term_db_get_default(), environment));
    g_strfreev(environment);
    return information;
}

ChafaPixelMode pixelMode(ChafaTermInfo* terminal) {
    if (chafa_term_info_have_seq(terminal, CHAFA_TERM_SEQ_BEGIN_KITTY_IMMEDIATE_IMAGE_V1))
        return CHAFA_PIXEL_MODE_KITTY;
    if (chafa_term_info_have_seq(terminal, CHAFA_TERM_SEQ_BEGIN_SIXELS)) return CHAFA_PIXEL_MODE_SIXELS;
    if (chafa_term_info_have_seq(terminal, CHAFA_TERM_SEQ_BEGIN_ITERM2_IMAGE)) return CHAFA_PIXEL_MODE_ITERM2;
    return CHAFA_PIXEL_MODE_SYMBOLS;
}

ChafaCanvasMode canvasMode(ChafaTermInfo* terminal) {
    const char* noColor = g_getenv("NO_COLOR");
    const bool isDumb = g_strcmp0(g_getenv("TERM"), "dumb") == 0;
    if (isDumb || (noColor && *noColor)) return CHAFA_CANVAS_MODE_FGBG;
    const char* depth = g_getenv("COLORTERM");
    const bool isTrueColor = depth && (g_str_equal(depth, "truecolor") || g_str_equal(depth, "24bit"));
    if (isTrueColor && chafa_term_info_have_seq(terminal, CHAFA_TERM_SEQ_SET_COLOR_FGBG_DIRECT))
        return CHAFA_CANVAS_MODE_TRUECOLOR;
    if (chafa_term_info_have_seq(terminal, CHAFA_TERM_SEQ_SET_COLOR_FGBG_256))
        return CHAFA_CANVAS_MODE_INDEXED_240;
    if (chafa_term_info_have_seq(terminal, CHAFA_TERM_SEQ_SET_COLOR_FGBG_16))
        return CHAFA_CANVAS_MODE_INDEXED_16;
    return CHAFA_CANVAS_MODE_FGBG;
}

PixelSize cellSize(const TerminalGeometry& geometry) {
    if (geometry.pixelWidth <= 0 || geometry.pixelHeight <= 0) return usualCell;
    return {.width = std::max(geometry.pixelWidth / geometry.columns, 1),
            .height = std::max(geometry.pixelHeight / geometry.rows, 1)};
}

/// The cells that a picture takes: as many as the terminal has room for, and a widget should have.
PixelSize cells(PixelSize picture, const TerminalGeometry& geometry, PixelSize cell) {
    const double widest = std::clamp(geometry.columns - 2 * margin, 1, mostColumns) * cell.width;
    const double highest = std::max(geometry.rows - margin, 1) * cell.height;
    const double factor = std::min(widest / picture.width, highest / picture.height);
    return {.width = std::max(static_cast<int>(std::lround(picture.width * factor / cell.width)), 1),
            .height = std::max(static_cast<int>(std::lround(picture.height * factor / cell.height)), 1)};
}

Canvas canvas(ChafaTermInfo* terminal, PixelSize size, PixelSize cell) {
    const SymbolMap symbols(chafa_symbol_map_new());
    chafa_symbol_map_add_by_tags(
        symbols.get(), static_cast<ChafaSymbolTags>(CHAFA_SYMBOL_TAG_BLOCK | CHAFA_SYMBOL_TAG_BORDER |
                                                    CHAFA_SYMBOL_TAG_SPACE | CHAFA_SYMBOL_TAG_QUAD));
    const CanvasConfig config(chafa_canvas_config_new());
    chafa_canvas_config_set_geometry(config.get(), size.width, size.height);
    chafa_canvas_config_set_cell_geometry(config.get(), cell.width, cell.height);
    chafa_canvas_config_set_pixel_mode(config.get(), pixelMode(terminal));
    chafa_canvas_config_set_canvas_mode(config.get(), canvasMode(terminal));
    chafa_canvas_config_set_symbol_map(config.get(), symbols.get());
    chafa_canvas_config_set_work_factor(config.get(), 0.9F);
    return Canvas(chafa_canvas_new(config.get()));
}

}  // namespace

extern "C" __attribute__((visibility("default"))) void velaTerminalImage(
    const char* png, std::size_t length, const TerminalGeometry* geometry,
    const platform::ModuleOutput* output) {
    const auto picture = decoded({png, length});
    if (!picture) return output->problem("the drawing is no picture");
    const auto terminal = terminalAtHand();
    const auto cell = cellSize(*geometry);
    const auto view = canvas(terminal.get(), cells(picture->size, *geometry, cell), cell);
    chafa_canvas_draw_all_pixels(view.get(), CHAFA_PIXEL_RGBA8_PREMULTIPLIED, picture->pixels.data(),
                                 picture->size.width, picture->size.height, picture->size.width * 4);
    GString* text = chafa_canvas_print(view.get(), terminal.get());
    output->result({text->str, text->len});
    output->result("\n");
    g_string_free(text, TRUE);
}
