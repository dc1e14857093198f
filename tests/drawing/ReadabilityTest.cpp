// SPDX-License-Identifier: Apache-2.0

// Every text, symbol and progress bar of every drawing against what stands behind it (WCAG 2.2,
// criteria 1.4.3, 1.4.6 and 1.4.11).

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "drawing/Image/ContrastRatio.hpp"
#include "drawing/Image/Image.hpp"
#include "tests/drawing/DisplayText.hpp"
#include "tests/drawing/SampleEntries.hpp"
#include "widget/EntryDrawing.hpp"

namespace {

using namespace drawing;
using namespace widget;

/// Those that the widget declares, and one that a later platform might add.
constexpr std::array shownFamilies = {
    platform::WidgetFamily::systemSmall,          platform::WidgetFamily::systemMedium,
    platform::WidgetFamily::systemLarge,          platform::WidgetFamily::accessoryInline,
    platform::WidgetFamily::accessoryRectangular, platform::WidgetFamily::other,
};

struct Least {
    double text;
    double symbol;
};
Least least(Contrast contrast) {
    switch (contrast) {
        case Contrast::standard: return {4.5, 3};
        case Contrast::increased: return {7, 4.5};
    }
    return {};
}

RGBA over(RGBA front, RGBA back) {
    const double opacity = front.alpha / 255.0;
    const auto mixed = [opacity](int one, int other) {
        return static_cast<std::uint8_t>(std::lround(one * opacity + other * (1 - opacity)));
    };
    return {mixed(front.red, back.red), mixed(front.green, back.green), mixed(front.blue, back.blue)};
}

bool holds(const Rect& outer, const Rect& inner) {
    return outer.left() <= inner.left() && outer.right() >= inner.right() && outer.top() <= inner.top() &&
           outer.bottom() >= inner.bottom();
}

/// A part of a progress bar: its track, what is done, or a mark.
bool isBar(const DisplayItem& item) {
    const auto* shape = std::get_if<RoundedRectangleItem>(&item.kind);
    return shape && !shape->strokeWidth && item.frame.size.height <= 9;
}

/// A drawing as it is looked over.
class Sheet {
  public:
    Sheet(const DrawingRequest& request, ScaledPictures& pictures)
        : request_(request),
          list_(displayList(request, pictures, drawing_tests::FixedAdvance())),
          ink_(ink(request)) {}

    void expectToReadWell() const {
        const Least wanted = least(request_.appearance.contrast);
        for (std::size_t index = 0; index < list_.items.size(); ++index) {
            const DisplayItem& item = list_.items[index];
            if (const auto* text = std::get_if<TextItem>(&item.kind))
                expect(text->run.text, ink_.color(text->color, item.colorScheme), grounds(index),
                       wanted.text);
            if (const auto* asset = std::get_if<AssetItem>(&item.kind))
                expectSymbol(*asset, index, wanted.symbol);
            if (isBar(item)) expectBar(index, wanted.symbol);
        }
    }

  private:
    void expect(const std::string& what, std::optional<RGBA> color, const std::vector<RGBA>& behind,
                double wanted) const {
        ASSERT_TRUE(color) << what;
        for (const RGBA ground : behind)
            EXPECT_GE(contrastRatio(over(*color, ground), ground), wanted)
                << what << ' ' << hexadecimal(*color) << " on " << hexadecimal(ground) << " in "
                << description(request_.family) << ' ' << widget::name(request_.colorScheme) << ' '
                << drawing::name(request_.appearance.contrast) << ' '
                << drawing::name(request_.appearance.transparency);
    }

    /// The part that stands out most, or every part where more contrast is asked for.
    void expectSymbol(const AssetItem& asset, std::size_t index, double wanted) const {
        const VectorImage* image = ink_.vector(asset.name);
        ASSERT_TRUE(image) << asset.name;
        const std::vector<RGBA> behind = grounds(index);
        std::vector<RGBA> parts;
        for (const FilledPath& path : image->paths) parts.push_back(ink_.fill(path));
        if (request_.appearance.contrast == Contrast::standard) {
            parts = {*std::max_element(parts.begin(), parts.end(), [&](RGBA one, RGBA other) {
                return contrastRatio(over(one, behind[0]), behind[0]) <
                       contrastRatio(over(other, behind[0]), behind[0]);
            })};
        }
        for (const RGBA part : parts) expect(asset.name, part, behind, wanted);
    }

    void expectBar(std::size_t index, double wanted) const {
        const DisplayItem& item = list_.items[index];
        const Color& color = std::get<RoundedRectangleItem>(item.kind).color;
        const std::vector<RGBA> behind = grounds(index);
        expect(color.name(), ink_.color(color, item.colorScheme), behind, wanted);
        const Color track = Color::asset("ProgressBarBackgroundColor");
        if (color == track || request_.appearance.contrast == Contrast::standard) return;
        for (const RGBA ground : behind)
            expect("what is done of " + color.name(), ink_.color(color, item.colorScheme),
                   {over(*ink_.color(track, item.colorScheme), ground)}, 3);
    }

    /// The colours of the last filled shape below an item that holds it whole; on a lock screen without a
    /// ground of the widget's own, what its colours are made for.
    std::vector<RGBA> grounds(std::size_t index) const {
        const Rect& frame = list_.items[index].frame;
        for (std::size_t below = index; below-- > 0;) {
            const DisplayItem& item = list_.items[below];
            if (!holds(item.frame, frame) || isBar(item)) continue;
            if (const auto* gradient = std::get_if<LinearGradientItem>(&item.kind)) {
                std::vector<RGBA> stops;
                for (const Color& stop : gradient->stops)
                    stops.push_back(*ink_.gradientStop(stop, item.colorScheme));
                return stops;
            }
            const auto* shape = std::get_if<RoundedRectangleItem>(&item.kind);
            if (shape && !shape->strokeWidth) return {*ink_.color(shape->color, item.colorScheme)};
        }
        return {request_.colorScheme == ColorScheme::dark ? RGBA{0, 0, 0} : RGBA{255, 255, 255}};
    }

    DrawingRequest request_;
    DisplayList list_;
    Ink ink_;
};

template <class Look>
void forEachAppearance(Look look) {
    for (const ColorScheme scheme : {ColorScheme::light, ColorScheme::dark})
        for (const Contrast contrast : allContrasts)
            for (const Transparency transparency : allTransparencies)
                look(scheme, Appearance{.contrast = contrast, .transparency = transparency});
}

TEST(Readability, HoldsInEveryStateFamilySchemeContrastAndTransparency) {
    drawing_tests::SamplePictures loader;
    ScaledPictures pictures(loader, 1);
    for (const drawing_tests::SampleEntry& sample : drawing_tests::sampleEntries()) {
        SCOPED_TRACE(sample.name);
        for (const platform::WidgetFamily family : shownFamilies)
            forEachAppearance([&](ColorScheme scheme, const Appearance& appearance) {
                const DrawingRequest request = {.entry = sample.entry,
                                                .family = family,
                                                .colorScheme = scheme,
                                                .appearance = appearance,
                                                .scale = 1};
                Sheet(request, pictures).expectToReadWell();
            });
    }
}

TEST(Readability, HoldsForAnyTintOnAGroundOfTheWidgetsOwn) {
    drawing_tests::SamplePictures loader;
    ScaledPictures pictures(loader, 1);
    for (const char* tint :
         {"#FFFFFF", "#000000", "#1C1C1E", "#808080", "#FF0000", "#00FF00", "#FFE066", "#2030A0"})
        for (const platform::WidgetFamily family :
             {platform::WidgetFamily::accessoryRectangular, platform::WidgetFamily::accessoryInline})
            forEachAppearance([&](ColorScheme scheme, Appearance appearance) {
                appearance.transparency = Transparency::reduced;
                const DrawingRequest request = {.entry = drawing_tests::sampleEntry("Latin"),
                                                .family = family,
                                                .colorScheme = scheme,
                                                .appearance = appearance,
                                                .scale = 1,
                                                .tint = tint};
                SCOPED_TRACE(tint);
                Sheet(request, pictures).expectToReadWell();
            });
}

std::string drawn(const drawing_tests::SampleEntry& sample, platform::WidgetFamily family, ColorScheme scheme,
                  const Appearance& appearance, DrawingFormat format) {
    drawing_tests::SamplePictures loader;
    return draw({.entry = sample.entry,
                 .family = family,
                 .colorScheme = scheme,
                 .appearance = appearance,
                 .scale = 1,
                 .format = format},
                loader);
}

bool isOpaqueButForItsCorners(const Bitmap& bitmap) {
    const int reach = bitmap.height() < 100 ? 18 : 38;
    for (int y = 0; y < bitmap.height(); ++y)
        for (int x = 0; x < bitmap.width(); ++x) {
            const bool isInCorner =
                std::min(x, bitmap.width() - 1 - x) < reach && std::min(y, bitmap.height() - 1 - y) < reach;
            if (!isInCorner && bitmap.row(y)[x] >> 24 != 255) return false;
        }
    return true;
}

TEST(ReducedTransparency, LeavesNothingTranslucentInAnyFamily) {
    for (const char* name : {"Latin", "Pair", "NoPackages"}) {
        const drawing_tests::SampleEntry sample{name, drawing_tests::sampleEntry(name)};
        for (const platform::WidgetFamily family : shownFamilies)
            forEachAppearance([&](ColorScheme scheme, Appearance appearance) {
                appearance.transparency = Transparency::reduced;
                SCOPED_TRACE(testing::Message() << name << ' ' << description(family));
                const std::string svg = drawn(sample, family, scheme, appearance, DrawingFormat::svg);
                EXPECT_EQ(svg.find("opacity"), std::string::npos);
                const std::string png = drawn(sample, family, scheme, appearance, DrawingFormat::png);
                const auto bitmap = decodedImage(png, imageHeader(png)->size);
                ASSERT_TRUE(bitmap);
                EXPECT_TRUE(isOpaqueButForItsCorners(*bitmap));
            });
    }
}

TEST(ReducedTransparency, CutsNoWordOfTheSmallestWidget) {
    for (const platform::WidgetFamily family :
         {platform::WidgetFamily::accessoryRectangular, platform::WidgetFamily::accessoryInline}) {
        drawing_tests::SamplePictures loader;
        ScaledPictures pictures(loader, 1);
        DrawingRequest request = {.entry = drawing_tests::sampleEntry("NotLoggedIn"), .family = family};
        request.appearance.transparency = Transparency::reduced;
        const auto room = [&](std::optional<Size> size) {
            request.size = size;
            return displayList(request, pictures, drawing_tests::FixedAdvance()).items[1].frame.left();
        };
        EXPECT_GE(room(std::nullopt), 3);
        const auto frame = displayList(request, pictures, drawing_tests::FixedAdvance()).container.frame;
        EXPECT_EQ(frame.size.width, referenceSize(family).width);
        DrawingRequest usual = request;
        usual.appearance = {};
        usual.size = request.size = DrawingRequest::smallestSize(family);
        const auto words = [&](const DrawingRequest& asked) {
            const DisplayList list = displayList(asked, pictures, drawing_tests::FixedAdvance());
            return drawing_tests::linesBeginning("text ", list);
        };
        EXPECT_EQ(words(request), words(usual)) << description(family);
    }
}

TEST(IncreasedContrast, ChangesEveryColourThatTellsThingsApart) {
    const AssetCatalogue catalogue(ASSET_CATALOGUE);
    for (const char* name :
         {"BrandColor", "TextTertiaryColor", "DividerColor", "ProgressBarBackgroundColor", "BorderImage"})
        for (const ColorScheme scheme : {ColorScheme::light, ColorScheme::dark})
            EXPECT_NE(catalogue.color(name, scheme), catalogue.color(name, scheme, Contrast::increased))
                << name;
    EXPECT_EQ(catalogue.color("CoverTopColor", ColorScheme::light),
              catalogue.color("CoverTopColor", ColorScheme::light, Contrast::increased));
}

}  // namespace
