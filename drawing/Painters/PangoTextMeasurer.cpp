// SPDX-License-Identifier: Apache-2.0

#include "drawing/Painters/PangoTextMeasurer.hpp"

#include <fontconfig/fontconfig.h>
#include <pango/pangocairo.h>

#include <algorithm>
#include <cstddef>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>

#include "drawing/Painters/ScriptRuns.hpp"
#include "drawing/Views/ScriptFonts.hpp"

namespace drawing {
namespace {

constexpr std::string_view ellipsis = "…";
constexpr std::string_view hyphen = "‐";
/// No line of a widget shows more; setting a text costs time that grows with its length.
constexpr std::size_t longestText = 2048;
constexpr std::size_t mostRemembered = 512;

/// Emoji are bitmaps of one size: they are drawn at the size that is asked for.
constexpr const char* bitmapFontRules = R"(<fontconfig>
    <match target="font">
        <test name="outline" compare="eq"><bool>false</bool></test>
        <edit name="pixelsizefixupfactor" mode="assign">
            <divide><name target="pattern">pixelsize</name><name target="font">pixelsize</name></divide>
        </edit>
        <edit name="matrix" mode="assign">
            <times>
                <name>matrix</name>
                <matrix>
                    <name>pixelsizefixupfactor</name><double>0</double>
                    <double>0</double><name>pixelsizefixupfactor</name>
                </matrix>
            </times>
        </edit>
    </match>
</fontconfig>)";

struct ReleasesObject {
    void operator()(void* object) const { g_object_unref(object); }
};
template <class Object>
using ObjectPointer = std::unique_ptr<Object, ReleasesObject>;

struct ReleasesFont {
    void operator()(PangoFontDescription* font) const { pango_font_description_free(font); }
};
struct ReleasesAttributes {
    void operator()(PangoAttrList* attributes) const { pango_attr_list_unref(attributes); }
};
using AttributesPointer = std::unique_ptr<PangoAttrList, ReleasesAttributes>;
struct ReleasesConfiguration {
    void operator()(FcConfig* configuration) const { FcConfigDestroy(configuration); }
};
using ConfigurationPointer = std::unique_ptr<FcConfig, ReleasesConfiguration>;

/// Makes the file fontconfig's own configuration, once. Pango begins to read the system's, which is many
/// times as long, on a thread of its own as soon as it is asked for anything: this must come first. Where the
/// file cannot be used, the system's it is.
void configureFonts(const std::filesystem::path& file) {
    static const bool isConfigured = [&] {
        std::error_code error;
        if (!std::filesystem::is_regular_file(file, error)) return false;
        const ConfigurationPointer configuration(FcConfigCreate());
        const auto* name = reinterpret_cast<const FcChar8*>(file.c_str());
        const auto* rules = reinterpret_cast<const FcChar8*>(bitmapFontRules);
        return configuration && FcConfigParseAndLoad(configuration.get(), name, FcTrue) &&
               FcConfigParseAndLoadFromMemory(configuration.get(), rules, FcTrue) &&
               FcConfigBuildFonts(configuration.get()) && FcConfigSetCurrent(configuration.get());
    }();
    static_cast<void>(isConfigured);
}

/// The font map, once the fonts are configured. Without a single font Pango has none to give, and nothing
/// that measures text looks whether it has.
ObjectPointer<PangoFontMap> fontMap(const std::filesystem::path& fontsConfiguration) {
    configureFonts(fontsConfiguration);
    const FcFontSet* fonts = FcConfigGetFonts(nullptr, FcSetSystem);
    if (!fonts || fonts->nfont == 0)
        throw std::runtime_error("there are no fonts on this machine: install the package fonts-inter");
    return ObjectPointer<PangoFontMap>(pango_cairo_font_map_new_for_font_type(CAIRO_FONT_TYPE_FT));
}

/// The families in which characters are looked for, one after the other.
std::string families(std::string_view first) {
    std::string families(first);
    for (const ScriptFont& font : lastFonts) families.append(",").append(font.family);
    return families;
}

void insert(PangoAttrList& attributes, std::size_t begin, std::size_t end, PangoAttribute* attribute) {
    attribute->start_index = static_cast<guint>(begin);
    attribute->end_index = static_cast<guint>(end);
    pango_attr_list_insert(&attributes, attribute);
}

bool isASCII(char byte) {
    return static_cast<unsigned char>(byte) < 0x80;
}
/// Its digits and signs are Inter's within every script.
bool isVisibleASCII(char byte) {
    return byte > ' ' && byte < 0x7F;
}

/// Inter has all of ASCII: no list of families, which takes longer to match, need be made for that alone.
void insertLatin(PangoAttrList& attributes, const ScriptRun& run, std::string_view text) {
    const std::string_view part = text.substr(run.begin, run.end - run.begin);
    if (std::all_of(part.begin(), part.end(), isASCII)) return;
    insert(attributes, run.begin, run.end, pango_attr_family_new(families(textFont.family).c_str()));
}

/// The script's font first, so that no other need be looked into.
void insertOther(PangoAttrList& attributes, const ScriptRun& run, std::string_view text) {
    const std::string_view own = family(run.script);
    const std::string names = families(own.empty() ? std::string(textFont.family)
                                                   : std::string(own).append(",").append(textFont.family));
    PangoLanguage* language = pango_language_from_string(run.language.c_str());
    const auto place = [&](auto position) { return static_cast<std::size_t>(position - text.begin()); };
    const auto end = text.begin() + static_cast<std::ptrdiff_t>(run.end);
    auto next = text.begin() + static_cast<std::ptrdiff_t>(run.begin);
    while (next != end) {
        const auto begin = std::find_if_not(next, end, isVisibleASCII);
        next = std::find_if(begin, end, isVisibleASCII);
        if (begin == next) continue;
        insert(attributes, place(begin), place(next), pango_attr_language_new(language));
        insert(attributes, place(begin), place(next), pango_attr_family_new(names.c_str()));
    }
}

/// Well-formed, of one paragraph, and not longer than can be seen.
std::string presentable(std::string_view text) {
    const std::unique_ptr<char, decltype(&g_free)> valid(
        g_utf8_make_valid(text.data(), static_cast<gssize>(std::min(text.size(), longestText))), g_free);
    std::string presentable;
    for (const char* next = valid.get(); *next;) {
        const auto length = static_cast<std::size_t>(g_utf8_skip[static_cast<unsigned char>(*next)]);
        const GUnicodeType type = g_unichar_type(g_utf8_get_char(next));
        const bool breaks = type == G_UNICODE_CONTROL || type == G_UNICODE_LINE_SEPARATOR ||
                            type == G_UNICODE_PARAGRAPH_SEPARATOR;
        presentable.append(breaks ? " " : std::string_view(next, length));
        next += length;
    }
    return presentable;
}

/// Where a word is broken that is written with hyphens.
bool endsWithHyphen(const PangoLayoutLine& line) {
    for (const GSList* next = line.runs; next; next = next->next) {
        const PangoItem& item = *static_cast<const PangoGlyphItem*>(next->data)->item;
        if (item.analysis.flags & PANGO_ANALYSIS_FLAG_NEED_HYPHEN) return true;
    }
    return false;
}

/// The text of a line as it is seen.
std::string visibleText(const PangoLayoutLine& line, std::string_view text) {
    const auto begin = static_cast<std::size_t>(line.start_index);
    const auto end = begin + static_cast<std::size_t>(line.length);
    std::string visible(text.substr(begin, end - begin));
    for (const GSList* next = line.runs; next; next = next->next) {
        const PangoItem& item = *static_cast<const PangoGlyphItem*>(next->data)->item;
        if (!(item.analysis.flags & PANGO_ANALYSIS_FLAG_IS_ELLIPSIS)) continue;
        const auto from = static_cast<std::size_t>(item.offset);
        const auto to = from + static_cast<std::size_t>(item.length);
        visible = std::string(text.substr(begin, from - begin)).append(ellipsis);
        if (to < end) visible += text.substr(to, end - to);
    }
    visible.erase(visible.find_last_not_of(' ') + 1);
    if (endsWithHyphen(line)) visible += hyphen;
    return visible;
}

/// Pango gives an ellipsis all the width that is left over: its line would not end where it is seen to.
void narrowEllipses(PangoLayout& layout) {
    for (const GSList* line = pango_layout_get_lines(&layout); line; line = line->next) {
        for (const GSList* next = static_cast<const PangoLayoutLine*>(line->data)->runs; next;
             next = next->next) {
            const auto& run = *static_cast<const PangoGlyphItem*>(next->data);
            if (!(run.item->analysis.flags & PANGO_ANALYSIS_FLAG_IS_ELLIPSIS)) continue;
            for (int index = 0; index < run.glyphs->num_glyphs; ++index) {
                PangoGlyphInfo& glyph = run.glyphs->glyphs[index];
                PangoRectangle logical;
                pango_font_get_glyph_extents(run.item->analysis.font, glyph.glyph, nullptr, &logical);
                glyph.geometry.width = logical.width;
            }
        }
    }
}

bool breaksWord(PangoLayout& layout, const PangoLayoutLine& line, std::string_view text) {
    const char* end = text.data() + line.start_index + line.length;
    int count = 0;
    const PangoLogAttr* attributes = pango_layout_get_log_attrs_readonly(&layout, &count);
    const glong offset = g_utf8_pointer_to_offset(text.data(), end);
    return offset < count && !attributes[offset].is_line_break;
}

}  // namespace

class PangoTextMeasurer::Typesetter {
  public:
    Typesetter(const std::filesystem::path& fontsConfiguration, ScriptRuns scripts)
        : fonts_(fontMap(fontsConfiguration)),
          context_(pango_font_map_create_context(fonts_.get())),
          scripts_(std::move(scripts)) {
        // Shapes and advances as they were drawn: text is as long at every scale, and never shifts.
        const std::unique_ptr<cairo_font_options_t, decltype(&cairo_font_options_destroy)> options(
            cairo_font_options_create(), cairo_font_options_destroy);
        cairo_font_options_set_antialias(options.get(), CAIRO_ANTIALIAS_GRAY);
        cairo_font_options_set_hint_style(options.get(), CAIRO_HINT_STYLE_NONE);
        cairo_font_options_set_hint_metrics(options.get(), CAIRO_HINT_METRICS_OFF);
        pango_cairo_context_set_font_options(context_.get(), options.get());
        pango_context_set_round_glyph_positions(context_.get(), FALSE);
        pango_context_set_base_dir(context_.get(), PANGO_DIRECTION_LTR);
        pango_context_set_language(context_.get(),
                                   pango_language_from_string(scripts_.of("a").front().language.c_str()));
    }

    /// At the design's text size, whatever the run's is.
    PangoLayout* layout(const TextRun& run, std::optional<double> width) {
        const Key key{run.text, run.style, run.weight, run.lineLimit, run.scale, width.value_or(-1)};
        if (const auto found = remembered_.find(key); found != remembered_.end()) return found->second.get();
        if (remembered_.size() >= mostRemembered) remembered_.clear();
        return remembered_.emplace(key, make(run, width)).first->second.get();
    }

    /// The first on the line that is not in Latin letters.
    std::string language(std::string_view text, const PangoLayoutLine& line) const {
        const auto begin = static_cast<std::size_t>(line.start_index);
        const auto end = begin + static_cast<std::size_t>(line.length);
        if (std::all_of(text.begin(), text.end(), isASCII)) return {};
        for (const ScriptRun& run : scripts_.of(text)) {
            if (run.script != "Latn" && run.begin < end && run.end > begin) return run.language;
        }
        return {};
    }

  private:
    using Key = std::tuple<std::string, TextStyle, FontWeight, int, double, double>;

    ObjectPointer<PangoLayout> make(const TextRun& run, std::optional<double> width) const {
        ObjectPointer<PangoLayout> layout(pango_layout_new(context_.get()));
        const std::unique_ptr<PangoFontDescription, ReleasesFont> font(pango_font_description_new());
        pango_font_description_set_family_static(font.get(), textFont.family.data());
        pango_font_description_set_weight(font.get(), static_cast<PangoWeight>(number(run.weight)));
        pango_font_description_set_absolute_size(font.get(),
                                                 metrics(run.style).pointSize * run.scale * PANGO_SCALE);
        pango_layout_set_font_description(layout.get(), font.get());
        if (width) {
            // A width that was measured is a whole number of units, and must be wide enough when it comes
            // back.
            constexpr double tolerance = 1e-3;
            pango_layout_set_width(layout.get(), static_cast<int>(*width * PANGO_SCALE + tolerance));
            pango_layout_set_wrap(layout.get(), PANGO_WRAP_WORD_CHAR);
            if (run.lineLimit > 0) {
                pango_layout_set_ellipsize(layout.get(), PANGO_ELLIPSIZE_END);
                pango_layout_set_height(layout.get(), -run.lineLimit);
            }
        }
        const std::string text = presentable(run.text);
        pango_layout_set_text(layout.get(), text.c_str(), -1);
        pango_layout_set_attributes(layout.get(), attributes(text).get());
        if (pango_layout_is_ellipsized(layout.get())) narrowEllipses(*layout);
        return layout;
    }

    /// Pango guesses a language from the process's locale and takes fonts as they come: neighbours of one
    /// word may be in two then, and their marks on dotted circles. So every run says both.
    AttributesPointer attributes(const std::string& text) const {
        AttributesPointer attributes(pango_attr_list_new());
        for (const ScriptRun& run : scripts_.of(text)) {
            (run.script == "Latn" ? insertLatin : insertOther)(*attributes, run, text);
        }
        return attributes;
    }

    ObjectPointer<PangoFontMap> fonts_;
    ObjectPointer<PangoContext> context_;
    ScriptRuns scripts_;
    std::map<Key, ObjectPointer<PangoLayout>> remembered_;
};

PangoTextMeasurer::PangoTextMeasurer(std::filesystem::path fontsConfiguration,
                                     std::vector<std::string> preferredLanguages)
    : fontsConfiguration_(std::move(fontsConfiguration)),
      preferredLanguages_(std::move(preferredLanguages)) {}
PangoTextMeasurer::~PangoTextMeasurer() = default;

PangoTextMeasurer::Typesetter& PangoTextMeasurer::typesetter() const {
    if (!typesetter_)
        typesetter_ = std::make_unique<Typesetter>(fontsConfiguration_, ScriptRuns(preferredLanguages_));
    return *typesetter_;
}

PangoLayout* PangoTextMeasurer::typeset(const TextRun& run, std::optional<double> width) const {
    // To find a font at one size more takes longer than to set all texts of a widget.
    if (width) *width /= factor(run.textSize);
    return typesetter().layout(run, width);
}

std::vector<TextLine> PangoTextMeasurer::lines(const TextRun& run, std::optional<double> width) const {
    PangoLayout* layout = typeset(run, width);
    const std::string_view text = pango_layout_get_text(layout);
    std::vector<TextLine> lines;
    for (const GSList* next = pango_layout_get_lines_readonly(layout); next; next = next->next) {
        auto* line = static_cast<PangoLayoutLine*>(next->data);
        PangoRectangle logical;
        pango_layout_line_get_extents(line, nullptr, &logical);
        const double length = static_cast<double>(logical.width) / PANGO_SCALE * factor(run.textSize);
        lines.push_back({visibleText(*line, text), length,
                         pango_layout_line_get_resolved_direction(line) == PANGO_DIRECTION_RTL
                             ? TextDirection::rightToLeft
                             : TextDirection::leftToRight,
                         next->next && breaksWord(*layout, *line, text), typesetter().language(text, *line)});
    }
    return lines;
}

}  // namespace drawing
