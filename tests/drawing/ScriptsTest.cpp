// SPDX-License-Identifier: Apache-2.0

#include <gmock/gmock.h>
#include <hb.h>
#include <pango/pango.h>

#include <fstream>
#include <iterator>
#include <map>
#include <set>

#include "drawing/Painters/CairoPainter.hpp"
#include "drawing/Painters/PangoTextMeasurer.hpp"
#include "drawing/Views/ScriptFonts.hpp"
#include "tests/drawing/SampleEntries.hpp"
#include "tests/support/FixedAmbient.hpp"
#include "widget/EntryDrawing.hpp"

namespace {

using namespace drawing;

struct Sample {
    const char* script;
    const char* text;
};

/// Words in which marks stand before, above and below their letters, with a number and a sign.
constexpr Sample samples[] = {
    {"Arab", "مكتبة الشُّروق (٧)، 18:00"},
    {"Armn", "Գրախանութ Երևան 7"},
    {"Beng", "বইয়ের দোকান ৭, ডেলিভারির"},
    {"Deva", "किताबों की दुकान ७, डिलीवरी"},
    {"Ethi", "የመጻሕፍት መደብር፣ 7"},
    {"Geor", "წიგნის მაღაზია 7"},
    {"Gujr", "પુસ્તકની દુકાન ૭"},
    {"Guru", "ਕਿਤਾਬਾਂ ਦੀ ਦੁਕਾਨ ੭"},
    {"Hans", "北京图书大厦（7）、包裹"},
    {"Hant", "臺灣圖書館「7」，包裹"},
    {"Hebr", "חֲנוּת הַסְּפָרִים 7"},
    {"Jpan", "配達中です。コンビニ〜7"},
    {"Khmr", "ហាងសៀវភៅ ៧"},
    {"Knda", "ಪುಸ್ತಕದ ಅಂಗಡಿ ೭"},
    {"Kore", "서울 책방 7, 書店"},
    {"Laoo", "ຮ້ານຂາຍປຶ້ມ ໗"},
    {"Mlym", "പുസ്തകക്കട ൭"},
    {"Mymr", "စာအုပ်ဆိုင် ၇"},
    {"Orya", "ପୁସ୍ତକ ଦୋକାନ ୭"},
    {"Sinh", "පොත් සාප්පුව 7"},
    {"Taml", "புத்தகக் கடை ஸ்ரீ, வெளியே"},
    {"Telu", "పుస్తకాల దుకాణం ౭"},
    {"Thaa", "ފޮތް ފިހާރަ 7"},
    {"Thai", "ร้านหนังสือกรุงเทพ ๑๙๙๙"},
};

PangoTextMeasurer measurerFor(std::vector<std::string> preferredLanguages = {}) {
    return PangoTextMeasurer(FONTS_CONFIGURATION, std::move(preferredLanguages));
}

TextRun run(const std::string& text, FontWeight weight = FontWeight::regular) {
    return {.text = text, .style = TextStyle::subheadline, .weight = weight};
}

/// What a text is set in.
struct SetText {
    std::set<std::string> families = {};
    bool lacksGlyphs = false;
    /// Where a mark has no letter in its own font.
    bool showsDottedCircle = false;
};

SetText setting(const PangoTextMeasurer& measurer, const TextRun& run) {
    constexpr hb_codepoint_t dottedCircle = 0x25CC;
    SetText setting;
    PangoLayout* layout = measurer.typeset(run, std::nullopt);
    for (const GSList* next = pango_layout_get_line_readonly(layout, 0)->runs; next; next = next->next) {
        const auto& item = *static_cast<const PangoGlyphItem*>(next->data);
        PangoFont* font = item.item->analysis.font;
        PangoFontDescription* description = pango_font_describe(font);
        setting.families.insert(pango_font_description_get_family(description));
        pango_font_description_free(description);
        hb_codepoint_t circle = 0;
        hb_font_get_nominal_glyph(pango_font_get_hb_font(font), dottedCircle, &circle);
        for (int index = 0; index < item.glyphs->num_glyphs; ++index) {
            const PangoGlyph glyph = item.glyphs->glyphs[index].glyph;
            if (glyph == 0 || glyph & PANGO_GLYPH_UNKNOWN_FLAG) setting.lacksGlyphs = true;
            if (circle != 0 && glyph == circle) setting.showsDottedCircle = true;
        }
    }
    return setting;
}

/// How much is painted of a text in black, in pixels.
double ink(const TextRun& run) {
    const PangoTextMeasurer measurer = measurerFor();
    const Size size{400, 24};
    const DisplayList list{platform::WidgetFamily::other,
                           ColorScheme::light,
                           {{{}, size}},
                           {{{{4, 2}, {390, 20}}, TextItem{run, Color::sRGB(0, 0, 0)}, ColorScheme::light}}};
    static const AssetCatalogue catalogue(ASSET_CATALOGUE);
    const Bitmap bitmap = painted(list, 2, Ink{catalogue}, measurer);
    double ink = 0;
    for (const std::uint32_t pixel : bitmap.pixels) ink += static_cast<double>(pixel >> 24) / 255;
    return ink;
}

TEST(Scripts, AreSetInTheirFontsAndNoOthers) {
    std::set<std::string_view> scripts;
    for (const Sample& sample : samples) {
        scripts.insert(sample.script);
        for (const FontWeight weight : {FontWeight::regular, FontWeight::medium, FontWeight::semibold}) {
            std::set<std::string> families = setting(measurerFor(), run(sample.text, weight)).families;
            EXPECT_EQ(families.erase(std::string(family(sample.script))), 1u) << sample.script;
            families.erase(std::string(textFont.family));
            EXPECT_THAT(families, testing::IsEmpty()) << sample.script;
        }
    }
    for (const ScriptFont& font : scriptFonts) EXPECT_TRUE(scripts.contains(font.script)) << font.script;
}

TEST(Scripts, LackNoGlyphAndKeepMarksOnTheirLetters) {
    for (const Sample& sample : samples) {
        const SetText set = setting(measurerFor(), run(sample.text));
        EXPECT_FALSE(set.lacksGlyphs) << sample.text;
        EXPECT_FALSE(set.showsDottedCircle) << sample.text;
    }
    EXPECT_TRUE(setting(measurerFor(), run("\u0BC1")).showsDottedCircle) << "a mark alone";
}

TEST(Scripts, AreAsMuchHeavierAsInterWhereTheDesignIs) {
    const auto growth = [](const char* text, FontWeight weight) {
        return ink(run(text, weight)) / ink(run(text));
    };
    const double inter = growth("Northwind Books", FontWeight::medium);
    for (const Sample& sample : samples) {
        const double medium = growth(sample.text, FontWeight::medium);
        EXPECT_NEAR(medium, inter, 0.07) << sample.script;
        EXPECT_GT(growth(sample.text, FontWeight::semibold), medium) << sample.script;
    }
}

TEST(Scripts, LookForRareLettersAndSignsInTheFontsNamedForThem) {
    const auto families = [](const char* text) { return setting(measurerFor(), run(text)).families; };
    EXPECT_THAT(families("Café “7” … — €"), testing::ElementsAre("Inter"));
    EXPECT_THAT(families("ꜵ"), testing::ElementsAre("Noto Sans"));
    EXPECT_THAT(families("⛟ 7"), testing::ElementsAre("Inter", "Noto Sans Symbols2"));
    EXPECT_THAT(families("🚚"), testing::ElementsAre("Noto Color Emoji"));
}

TEST(Scripts, LeaveEmojiAsTheyAre) {
    EXPECT_EQ(ink(run("🌷🚚", FontWeight::medium)), ink(run("🌷🚚")));
}

/// The form of a character that Chinese and Japanese write differently.
TEST(Scripts, HaveTheFormsOfTheirLanguage) {
    const auto families = [](const char* text, std::vector<std::string> preferred = {}) {
        return setting(measurerFor(std::move(preferred)), run(text)).families;
    };
    EXPECT_THAT(families("直営です"), testing::ElementsAre("Noto Sans CJK JP"));
    EXPECT_THAT(families("直", {"ja-JP"}), testing::ElementsAre("Noto Sans CJK JP"));
    EXPECT_THAT(families("直", {"en-GB", "ko-KR"}), testing::ElementsAre("Noto Sans CJK KR"));
    EXPECT_THAT(families("直", {"zh-TW"}), testing::ElementsAre("Noto Sans CJK TC"));
    EXPECT_THAT(families("直", {"en-GB"}), testing::ElementsAre("Noto Sans CJK SC"));
}

TEST(EntryDrawing, AsksForThePersonsLanguagesEveryTime) {
    const auto entry = drawing_tests::entry(
        widget::LoggedIn{drawing_tests::packages({{"直営",
                                                   drawing_tests::url("velaapp://order/1"),
                                                   0.5f,
                                                   std::nullopt,
                                                   std::nullopt,
                                                   {"直", std::nullopt}}})});
    drawing_tests::SamplePictures loader;
    for (const auto& [language, written] : std::map<std::string, std::string>{
             {"ja-JP", "ja"}, {"ko-KR", "ko"}, {"zh-Hant-TW", "zh-tw"}, {"en-GB", "zh-cn"}}) {
        const platform::testing::FixedAmbient surroundings({.languages = {language}});
        const std::string svg = widget::draw({.entry = entry,
                                              .family = platform::WidgetFamily::systemSmall,
                                              .format = widget::DrawingFormat::svg},
                                             loader);
        EXPECT_THAT(svg, testing::HasSubstr("xml:lang=\"" + written + "\"")) << language;
    }
}

TEST(ScriptFonts, AreInThePackagesThatAreInstalledWithTheWidget) {
    std::ifstream file(RUN_PACKAGES);
    const std::set<std::string> packages{std::istream_iterator<std::string>(file), {}};
    EXPECT_TRUE(packages.contains(std::string(textFont.package)));
    for (const ScriptFont& font : scriptFonts) EXPECT_TRUE(packages.contains(std::string(font.package)));
    for (const ScriptFont& font : lastFonts) EXPECT_TRUE(packages.contains(std::string(font.package)));
}

}  // namespace
