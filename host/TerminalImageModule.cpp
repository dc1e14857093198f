// The module behind TerminalImage: decodes the drawing and has libchafa write it for the terminal at hand.

#include <chafa.h>

#include <algorithm>
#include <cmath>
#include <memory>

#include "host/TerminalImage.hpp"
#include "platform/Image/Image.hpp"

namespace {

using host::TerminalGeometry;
using platform::Bitmap;
using platform::PixelSize;

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
using TermInfo = std::unique_ptr<ChafaTermInfo, Releaser<chafa_term_info_unref>>;
using SymbolMap = std::unique_ptr<ChafaSymbolMap, Releaser<chafa_symbol_map_unref>>;
using CanvasConfig = std::unique_ptr<ChafaCanvasConfig, Releaser<chafa_canvas_config_unref>>;
using Canvas = std::unique_ptr<ChafaCanvas, Releaser<chafa_canvas_unref>>;

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
    if (noColor && *noColor) return CHAFA_CANVAS_MODE_FGBG;
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

/// The cells that a picture takes, as large as the terminal has room for and no larger than it is.
PixelSize cells(PixelSize picture, const TerminalGeometry& geometry, PixelSize cell) {
    const double widest = std::clamp(geometry.columns - 2 * margin, 1, mostColumns) * cell.width;
    const double highest = std::max(geometry.rows - margin, 1) * cell.height;
    const double factor = std::min({widest / picture.width, highest / picture.height});
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

extern "C" __attribute__((visibility("default"))) void velaTerminalImage(const char* png, std::size_t length,
                                                                         const TerminalGeometry* geometry,
                                                                         const host::ModuleOutput* output) {
    const std::string_view bytes(png, length);
    const auto header = platform::imageHeader(bytes);
    const auto picture = header ? platform::decodedImage(bytes, header->size) : std::nullopt;
    if (!picture) return output->problem("the drawing is no picture");
    const auto terminal = terminalAtHand();
    const auto cell = cellSize(*geometry);
    const auto view = canvas(terminal.get(), cells(picture->size, *geometry, cell), cell);
    constexpr ChafaPixelType pixels =
        G_BYTE_ORDER == G_LITTLE_ENDIAN ? CHAFA_PIXEL_BGRA8_PREMULTIPLIED : CHAFA_PIXEL_ARGB8_PREMULTIPLIED;
    chafa_canvas_draw_all_pixels(view.get(), pixels, reinterpret_cast<const guint8*>(picture->pixels.data()),
                                 picture->width(), picture->height(), picture->stride());
    GString* text = chafa_canvas_print(view.get(), terminal.get());
    output->result({text->str, text->len});
    output->result("\n");
    g_string_free(text, TRUE);
}
