// SPDX-License-Identifier: Apache-2.0

#include "drawing/Image/AssetCatalogue.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>

#include "drawing/Image/ContrastRatio.hpp"
#include "tests/support/Program.hpp"
#include "tests/support/RecordingLogSink.hpp"
#include "tests/support/TemporaryFolder.hpp"

namespace {

using drawing::AssetCatalogue;
using drawing::Bitmap;
using drawing::ColorScheme;
using drawing::PixelSize;
using drawing::RGBA;
using drawing::Tones;
using platform::testing::RecordingLogSink;
using platform::testing::TemporaryFolder;

const AssetCatalogue& ours() {
    static const AssetCatalogue catalogue(ASSET_CATALOGUE);
    return catalogue;
}

constexpr const char* imageNames[] = {"VelaIcon", "VelaIconDark", "VelaLogo", "VelaLogoDark"};

constexpr RGBA white{255, 255, 255}, darkTop{33, 33, 34}, darkBottom{20, 20, 20};

TEST(AssetColours, ReadWellOnTheirGrounds) {
    const auto light = [](const char* name) { return *ours().color(name, ColorScheme::light); };
    const auto dark = [](const char* name) { return *ours().color(name, ColorScheme::dark); };
    constexpr double text = 4.5, graphic = 3;
    const struct {
        const char* what;
        RGBA one, other;
        double least;
    } rows[] = {
        {"tertiary text in light", light("TextTertiaryColor"), white, text},
        {"tertiary text in dark, top", dark("TextTertiaryColor"), darkTop, text},
        {"tertiary text in dark, bottom", dark("TextTertiaryColor"), darkBottom, text},
        {"a placeholder's name, in either scheme", white, light("TextTertiaryColor"), text},
        {"a placeholder on the dark ground", light("TextTertiaryColor"), darkTop, graphic},
        {"the button's text in light", white, light("BrandColor"), text},
        {"the button's text in dark", white, dark("BrandColor"), text},
        {"text in the brand's colour in light", light("BrandColor"), white, text},
        {"progress in light", light("BrandColor"), white, graphic},
        {"progress in dark, top", dark("BrandColor"), darkTop, graphic},
        {"progress in dark, bottom", dark("BrandColor"), darkBottom, graphic},
    };
    for (const auto& row : rows) EXPECT_GE(contrastRatio(row.one, row.other), row.least) << row.what;
}

TEST(AssetColours, HaveALightAndADarkValue) {
    for (const char* name :
         {"BrandColor", "TextTertiaryColor", "DividerColor", "ProgressBarBackgroundColor", "BorderImage"}) {
        const auto light = ours().color(name, ColorScheme::light),
                   dark = ours().color(name, ColorScheme::dark);
        ASSERT_TRUE(light && dark) << name;
        EXPECT_NE(*light, *dark) << name;
    }
    EXPECT_LT(ours().color("BorderImage", ColorScheme::light)->alpha, 64);
}

TEST(AssetImages, AreCompiledForEveryScale) {
    for (const char* name : imageNames) {
        const auto* drawing = ours().vector(name);
        ASSERT_TRUE(drawing) << name;
        for (const int scale : {1, 2, 3, 4}) {
            const auto bitmap = ours().image(name, scale);
            ASSERT_TRUE(bitmap) << name;
            EXPECT_EQ(bitmap->size, (PixelSize{int(drawing->width) * scale, int(drawing->height) * scale}))
                << name;
        }
    }
    EXPECT_EQ(ours().vector("VelaIcon")->width, 16);
    EXPECT_EQ(ours().vector("VelaIcon")->height, 16);
}

TEST(AssetImages, ComeInAnySizeThatIsAskedFor) {
    for (const PixelSize size : {PixelSize{12, 12}, {36, 36}, {40, 40}, {84, 84}, {300, 300}})
        EXPECT_EQ(ours().image("VelaIcon", size).value_or(Bitmap{}).size, size);
    for (const PixelSize size : {PixelSize{0, 12}, {12, -1}, {5000, 5000}})
        EXPECT_FALSE(ours().image("VelaIcon", size)) << size.width;
}

TEST(AssetImages, AreDrawnWithinTransparentCorners) {
    for (const char* name : imageNames) {
        const Bitmap bitmap = *ours().image(name, 3);
        EXPECT_EQ(bitmap.row(0)[0], 0u) << name;
        EXPECT_EQ(bitmap.row(bitmap.height() - 1)[0], 0u) << name;
        EXPECT_GT(std::count_if(bitmap.pixels.begin(), bitmap.pixels.end(),
                                [](auto pixel) { return pixel >> 24 > 128; }),
                  bitmap.width() * bitmap.height() / 5)
            << name;
    }
}

TEST(AssetImages, DifferByTheSchemeInColourAndNotInShape) {
    for (const auto& [light, dark] : {std::pair{"VelaIcon", "VelaIconDark"}, {"VelaLogo", "VelaLogoDark"}}) {
        const Bitmap one = *ours().image(light, 2), other = *ours().image(dark, 2);
        EXPECT_NE(one, other);
        EXPECT_TRUE(std::equal(one.pixels.begin(), one.pixels.end(), other.pixels.begin(), other.pixels.end(),
                               [](auto a, auto b) { return a >> 24 == b >> 24; }))
            << light;
    }
}

TEST(AssetImages, LetNothingThroughWhereTheyAreSolid) {
    for (const char* name : imageNames) {
        for (const auto& path : ours().vector(name, Tones::solid)->paths) EXPECT_EQ(path.fill.alpha, 255);
        const PixelSize size = {ours().image(name, 3)->size};
        const Bitmap asDrawn = *ours().image(name, size), solid = *ours().image(name, size, Tones::solid);
        const auto covered = [](const Bitmap& bitmap) {
            return std::count_if(bitmap.pixels.begin(), bitmap.pixels.end(),
                                 [](auto pixel) { return pixel >> 24 == 255; });
        };
        EXPECT_GT(covered(solid), covered(asDrawn)) << name;
        EXPECT_TRUE(std::equal(solid.pixels.begin(), solid.pixels.end(), asDrawn.pixels.begin(),
                               [](auto one, auto other) { return (one == 0) == (other == 0); }))
            << name << " has another shape";
    }
}

TEST(AssetImages, AreClosedPathsOfAbsoluteCommands) {
    for (const char* name : imageNames)
        for (const auto& path : ours().vector(name)->paths) {
            EXPECT_EQ(path.data.find_first_not_of("MLCZ0123456789. -"), std::string::npos) << path.data;
            EXPECT_EQ(path.data.front(), 'M');
            EXPECT_EQ(path.data.back(), 'Z');
        }
}

TEST(AssetCatalogue, DrawsNothingForAMissingNameAndSaysSoOnce) {
    const AssetCatalogue catalogue(ASSET_CATALOGUE);
    const RecordingLogSink log;
    for (int i = 0; i < 3; ++i) {
        EXPECT_FALSE(catalogue.color("NoSuchColor", ColorScheme::dark));
        EXPECT_FALSE(catalogue.image("NoSuchImage", 2));
        EXPECT_FALSE(catalogue.vector("NoSuchImage"));
    }
    EXPECT_EQ(log.messages(),
              (std::vector<std::string>{"No colour named 'NoSuchColor' in the asset catalogue",
                                        "No image named 'NoSuchImage' in the asset catalogue"}));
}

TEST(AssetCatalogue, IsEmptyWhereThereIsNoFile) {
    const RecordingLogSink log;
    const AssetCatalogue catalogue("/nowhere/Assets.catalogue");
    EXPECT_FALSE(catalogue.color("BrandColor", ColorScheme::light));
    EXPECT_FALSE(catalogue.image("VelaIcon", 1));
    EXPECT_EQ(log.messages().front(),
              "The asset catalogue /nowhere/Assets.catalogue cannot be read: it is not a catalogue");
}

TEST(AssetCatalogue, SurvivesAFileThatIsBroken) {
    std::ifstream input(ASSET_CATALOGUE, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(input), {}};
    const TemporaryFolder folder;
    const RecordingLogSink log;
    for (std::size_t length = 0; length < bytes.size(); length += length < 64 ? 1 : length / 3) {
        const AssetCatalogue catalogue(folder.write("cut", bytes.substr(0, length)));
        EXPECT_FALSE(catalogue.image("VelaLogoDark", {264, 84}, Tones::solid)) << length;
    }
    for (std::size_t at = 0; at < 2000; at += 7) {
        std::string wrong = bytes.substr(0, 20'000);
        wrong[at] = char(wrong[at] ^ 0x11);
        const AssetCatalogue catalogue(folder.write("wrong", wrong));
        catalogue.color("BrandColor", ColorScheme::light);
        catalogue.image("VelaIcon", 1);
    }
}

std::string catalogueOfOneDrawing(const std::string& width) {
    const std::string index = R"({"colors":{},"images":{"Own":{"height":2,"paths":[],"rasters":[)"
                              R"({"height":1,"offset":0,"width":1}],"width":)" +
                              width + "}}}";
    const auto length = static_cast<std::uint32_t>(index.size());
    return "VelaAssets1\n" + std::string(reinterpret_cast<const char*>(&length), sizeof length) + index +
           std::string(4, '\0');
}

TEST(AssetCatalogue, IsEmptyWithADrawingOfAnUnusableSize) {
    for (const char* width : {"1e300", "-1e300", "0", "-2", "1024.5"}) {
        const TemporaryFolder folder;
        const RecordingLogSink log;
        const AssetCatalogue catalogue(folder.write("Assets.catalogue", catalogueOfOneDrawing(width)));
        EXPECT_FALSE(catalogue.vector("Own")) << width;
        EXPECT_TRUE(log.messages().front().ends_with("a drawing without a usable size")) << width;
    }
}

TEST(AssetCatalogue, GivesNothingBeyondItsBoundsAtAnyScale) {
    const TemporaryFolder folder;
    const RecordingLogSink log;
    const AssetCatalogue catalogue(folder.write("Assets.catalogue", catalogueOfOneDrawing("1024")));
    EXPECT_TRUE(catalogue.image("Own", 1));
    for (const int scale : {-1, 0, 2, 2'000'000, 2'147'483'647})
        EXPECT_FALSE(catalogue.image("Own", scale)) << scale;
}

TEST(AssetCompiler, RefusesADrawingThatItCannotDraw) {
    const auto drawn = [](const std::string& body) {
        return "<svg width=\"8\" height=\"8\" viewBox=\"0 0 4 4\">" + body + "</svg>";
    };
    const struct {
        std::string svg;
        std::string reason;  // empty for a drawing that is drawn
    } rows[] = {
        {drawn("<path fill=\"#102030\" d=\"M0 0H4V4.5e0L0,4Z\"/>"), ""},
        {drawn(""), "nothing drawn"},
        {drawn("<circle r=\"2\"/>"), "the element circle"},
        {drawn("<path d=\"M0 0Z\"/>"), "path has no fill"},
        {drawn("<path fill=\"blue\" d=\"M0 0Z\"/>"), "a fill that is not #RRGGBB: blue"},
        {drawn("<path fill=\"#102030\" d=\"M0 0 l1 1Z\"/>"), "the path command l"},
        {drawn("<path fill=\"#102030\" d=\"M0 0 L1\"/>"), "a number that is none"},
        {drawn("<path fill=\"#102030\" d=\"M0 0 Z 4\"/>"), "a number without a command"},
        {drawn("<path fill=\"#102030\" d=\"L0 0\"/>"), "a path that does not begin with M"},
        {"<svg width=\"8\" height=\"9\" viewBox=\"0 0 4 4\"/>",
         "a viewBox that is not 0 0 and of the drawing's shape"},
        {"<svg width=\"8\"", "a tag that does not end"},
    };
    for (const auto& [svg, reason] : rows) {
        const TemporaryFolder folder;
        folder.write("colors.json", "{}");
        folder.write("images.json",
                     R"({"scales": [1], "images": {"Own": {"drawing": "own.svg", "pointHeights": [8]}}})");
        const auto drawing = folder.write("own.svg", svg);
        const auto output = folder.path() / "Assets.catalogue";
        const auto result = platform::testing::ProgramRun{"vela-assets", {folder.path(), output}}.run();
        EXPECT_EQ(result.status, reason.empty() ? 0 : 1) << svg;
        EXPECT_EQ(result.errors,
                  reason.empty() ? "" : "vela-assets: " + drawing.string() + ": " + reason + "\n");
        EXPECT_EQ(std::filesystem::exists(output), reason.empty()) << svg;
    }
}

}  // namespace
