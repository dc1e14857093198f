// SPDX-License-Identifier: Apache-2.0

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <future>

#include "drawing/Image/AssetCatalogue.hpp"
#include "drawing/Image/ContrastRatio.hpp"
#include "tests/drawing/DisplayText.hpp"
#include "tests/drawing/SampleEntries.hpp"
#include "tests/support/TemporaryFolder.hpp"
#include "widget/EntryDrawing.hpp"
#include "widget/TrackingWidgetEntryView.hpp"

namespace {

using namespace drawing;
using namespace widget;
using drawing_tests::lines;
using drawing_tests::linesBeginning;
using drawing_tests::packages;
using drawing_tests::url;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

SimpleEntry twoPackages() {
    return drawing_tests::entry(LoggedIn{packages({
        {"First Shop",
         url("velaapp://order/1"),
         0.5f,
         std::nullopt,
         std::nullopt,
         {"primary 1", "secondary 1"}},
        {"Second Shop",
         url("velaapp://delivery/2"),
         1.0f,
         std::nullopt,
         std::nullopt,
         {"primary 2", std::nullopt}},
    })});
}

DisplayList list(const SimpleEntry& entry, platform::WidgetFamily family,
                 ColorScheme scheme = ColorScheme::light,
                 WidgetContainer::Background background = WidgetContainer::Background::shown,
                 std::optional<Size> size = std::nullopt) {
    drawing_tests::SamplePictures loader;
    ScaledPictures pictures(loader, 2);
    WidgetContainer container{family, scheme, size.value_or(referenceSize(family))};
    container.contentMargin = 16;
    container.background = background;
    const View view = TrackingWidgetEntryView{entry}.body({family, scheme, pictures});
    return displayList(view, container, drawing_tests::FixedAdvance());
}

std::vector<std::string> texts(const DisplayList& list) {
    std::vector<std::string> texts;
    for (const DisplayItem& item : list.items) {
        if (const auto* text = std::get_if<TextItem>(&item.kind)) texts.push_back(text->run.text);
    }
    return texts;
}

std::vector<std::string> images(const DisplayList& list) {
    std::vector<std::string> images;
    for (const DisplayItem& item : list.items) {
        if (const auto* asset = std::get_if<AssetItem>(&item.kind)) {
            images.push_back(asset->name + " " + std::to_string(static_cast<int>(item.frame.size.height)));
        }
    }
    return images;
}

constexpr std::array schemes = {ColorScheme::light, ColorScheme::dark};

struct Dispatch {
    platform::WidgetFamily family;
    std::vector<std::string> texts;
    std::string icon;
};

/// The first package alone, but in the large family.
const std::vector<std::string> firstPackage = {"F", "First Shop", "primary 1", "secondary 1"};
const std::vector<std::string> statusOfFirst = {"primary 1", "secondary 1"};
const std::vector<Dispatch> dispatches = {
    {platform::WidgetFamily::systemSmall, firstPackage, "VelaIcon"},
    {platform::WidgetFamily::systemMedium, firstPackage, "VelaIcon"},
    {platform::WidgetFamily::systemLarge,
     {"F", "First Shop", "primary 1", "secondary 1", "S", "Second Shop", "primary 2"},
     "VelaIcon"},
    {platform::WidgetFamily::systemExtraLarge, firstPackage, "VelaIcon"},
    {platform::WidgetFamily::accessoryCircular, firstPackage, "VelaIcon"},
    {platform::WidgetFamily::accessoryRectangular, statusOfFirst, "VelaIcon"},
    {platform::WidgetFamily::accessoryInline, {"primary 1"}, "VelaIcon"},
    {platform::WidgetFamily::other, firstPackage, "VelaIcon"},
};

TEST(EntryView, ChoosesTheLayoutByFamilyWhenSignedIn) {
    ASSERT_EQ(dispatches.size(), platform::allWidgetFamilies.size());
    for (const auto& [family, expected, icon] : dispatches) {
        for (const ColorScheme scheme : schemes) {
            const DisplayList shown = list(twoPackages(), family, scheme);
            EXPECT_EQ(texts(shown), expected) << description(family);
            const bool hasDarkVariant =
                scheme == ColorScheme::dark && family != platform::WidgetFamily::accessoryInline;
            const std::string size = family == platform::WidgetFamily::accessoryInline ? " 12" : " 16";
            EXPECT_THAT(images(shown), ElementsAre(icon + (hasDarkVariant ? "Dark" : "") + size))
                << description(family);
        }
    }
}

TEST(EntryView, ShowsNothingForAnEmptyList) {
    for (const platform::WidgetFamily family : platform::allWidgetFamilies) {
        const DisplayList shown = list(drawing_tests::entry(LoggedIn{}), family);
        EXPECT_EQ(shown.items.size(), 1u) << description(family);
        EXPECT_THAT(shown.links, IsEmpty());
    }
}

TEST(EntryView, AsksToSignInInEveryFamily) {
    for (const platform::WidgetFamily family : platform::allWidgetFamilies) {
        const DisplayList shown = list(drawing_tests::entry(NotLoggedIn{}), family);
        EXPECT_THAT(texts(shown), Contains(::testing::HasSubstr("Sign in"))) << description(family);
        EXPECT_THAT(shown.links, IsEmpty()) << description(family);
    }
    EXPECT_THAT(texts(list(drawing_tests::entry(NotLoggedIn{}), platform::WidgetFamily::systemLarge)),
                ElementsAre("Track your orders in a glance.", "Sign in to Vela", "Sign In"));
    EXPECT_THAT(texts(list(drawing_tests::entry(NotLoggedIn{}), platform::WidgetFamily::systemMedium)),
                ElementsAre("Sign in to track your orders in a glance", "Sign In"));
    EXPECT_THAT(texts(list(drawing_tests::entry(NotLoggedIn{}), platform::WidgetFamily::systemSmall)),
                ElementsAre("Sign in to Vela", "Sign In"));
    EXPECT_THAT(texts(list(drawing_tests::entry(NotLoggedIn{}), platform::WidgetFamily::accessoryInline)),
                ElementsAre("Sign in to Vela"));
}

TEST(EntryView, LeadsToWhereAnOrderIsAddedInEveryFamilyWithoutPackages) {
    for (const platform::WidgetFamily family : platform::allWidgetFamilies) {
        const DisplayList shown = list(drawing_tests::entry(NoPackages{}), family);
        ASSERT_EQ(shown.links.size(), 1u) << description(family);
        EXPECT_EQ(shown.links[0].url.absoluteString(), "velaapp://add_delivery");
    }
    EXPECT_THAT(texts(list(drawing_tests::entry(NoPackages{}), platform::WidgetFamily::systemMedium)),
                ElementsAre("You have no new orders to track", "Add order to track"));
}

TEST(EntryView, ShowsTheLogoInEveryFamilyWithoutPackages) {
    for (const platform::WidgetFamily family : platform::allWidgetFamilies) {
        for (const WidgetState& state : {WidgetState(NotLoggedIn{}), WidgetState(NoPackages{})}) {
            const SimpleEntry entry = drawing_tests::entry(state);
            EXPECT_THAT(images(list(entry, family)), ElementsAre(StartsWith("VelaLogo ")))
                << description(family);
            EXPECT_THAT(images(list(entry, family, ColorScheme::dark)),
                        ElementsAre(StartsWith("VelaLogoDark ")))
                << description(family);
        }
    }
}

TEST(EntryView, StandsOnTheSameGradientWhateverTheStateAndFamily) {
    for (const platform::WidgetFamily family : platform::allWidgetFamilies) {
        for (const WidgetState& state :
             {WidgetState(NotLoggedIn{}), WidgetState(NoPackages{}), twoPackages().widgetState}) {
            const SimpleEntry entry = drawing_tests::entry(state);
            const auto first = [&](ColorScheme scheme) { return lines(list(entry, family, scheme)).at(0); };
            EXPECT_THAT(first(ColorScheme::light), StartsWith("linearGradient #FFFFFF #FFFFFF 0 0 "));
            EXPECT_THAT(first(ColorScheme::dark), StartsWith("linearGradient #212122 #141414 0 0 "));
        }
    }
}

TEST(EntryView, IsAWholeLinkToItsPackageWhereItShowsOne) {
    for (const platform::WidgetFamily family : platform::allWidgetFamilies) {
        if (family == platform::WidgetFamily::systemLarge) continue;
        const DisplayList shown = list(twoPackages(), family);
        ASSERT_EQ(shown.links.size(), 1u) << description(family);
        EXPECT_EQ(shown.links[0].url.absoluteString(), "velaapp://order/1");
        EXPECT_EQ(shown.links[0].frame, shown.container.frame);
    }
}

TEST(LargePackage, LinksEachPackageAndDividesThem) {
    const DisplayList shown = list(twoPackages(), platform::WidgetFamily::systemLarge);
    EXPECT_EQ(linesBeginning("rectangle DividerColor", shown).size(), 1u);
    ASSERT_EQ(shown.links.size(), 2u);
    EXPECT_EQ(shown.links[0].url.absoluteString(), "velaapp://order/1");
    EXPECT_EQ(shown.links[1].url.absoluteString(), "velaapp://delivery/2");
    EXPECT_LE(shown.links[0].frame.bottom(), shown.links[1].frame.top());
}

TEST(LargePackage, LeavesOutWhatTheLowerEdgeWouldCut) {
    std::vector<presentation::StoredPackage::Values> ten;
    for (int index = 0; index < 10; ++index) {
        ten.push_back({"Shop",
                       url("velaapp://order/" + std::to_string(index)),
                       0.5f,
                       std::nullopt,
                       std::nullopt,
                       {"primary", "secondary"}});
    }
    const DisplayList shown =
        list(drawing_tests::entry(LoggedIn{packages(std::move(ten))}), platform::WidgetFamily::systemLarge);
    ASSERT_EQ(shown.links.size(), 3u);
    for (const DisplayItem& item : shown.items)
        EXPECT_LE(item.frame.bottom(), shown.container.frame.bottom());
    for (const DisplayLink& link : shown.links)
        EXPECT_EQ(link.frame.size.height, shown.links[0].frame.size.height);
}

TEST(LargePackage, MovesPackagesTogetherWhereOneMoreFitsThen) {
    std::vector<presentation::StoredPackage::Values> oneLiners;
    for (int index = 0; index < 5; ++index) {
        oneLiners.push_back(
            {"Shop", url("velaapp://order/1"), 0.5f, std::nullopt, std::nullopt, {"primary", std::nullopt}});
    }
    const auto gap = [&](std::size_t count) {
        oneLiners.erase(oneLiners.begin() + static_cast<std::ptrdiff_t>(count), oneLiners.end());
        const DisplayList shown =
            list(drawing_tests::entry(LoggedIn{packages(oneLiners)}), platform::WidgetFamily::systemLarge);
        EXPECT_EQ(shown.links.size(), std::min<std::size_t>(count, 4));
        return shown.links[1].frame.top() - shown.links[0].frame.bottom();
    };
    EXPECT_NEAR(gap(5), 30, 1);
    EXPECT_NEAR(gap(3), 74, 1);
}

TEST(LargePackage, CutsLongWordsOnTheirSecondLineWhereNoPackageIsLostByThat) {
    const auto shown = [](const std::vector<std::string>& primaries) {
        std::vector<presentation::StoredPackage::Values> values;
        for (const std::string& primary : primaries) {
            values.push_back(
                {"Shop", url("velaapp://order/1"), 0.5f, std::nullopt, std::nullopt, {primary, "secondary"}});
        }
        return list(drawing_tests::entry(LoggedIn{packages(values)}), platform::WidgetFamily::systemLarge);
    };
    const auto lineHeight = [](const DisplayList& list) {
        for (const DisplayItem& item : list.items) {
            const auto* text = std::get_if<TextItem>(&item.kind);
            if (text && text->run.style == TextStyle::subheadline) return item.frame.size.height;
        }
        return 0.0;
    };
    const std::string longWords(90, 'm');
    const DisplayList one = shown({longWords, "primary", "primary"});
    EXPECT_EQ(one.links.size(), 3u);
    EXPECT_EQ(lineHeight(one), 40);
    for (const std::size_t count : {3u, 4u, 10u}) {
        const DisplayList all = shown(std::vector<std::string>(count, longWords));
        EXPECT_EQ(all.links.size(), 3u) << count;
        EXPECT_EQ(lineHeight(all), 20) << count;
    }
}

TEST(SmallPackage, LeavesTheNameOutFirstWhereTheMerchantHasAPicture) {
    const auto words = [](const char* shop, const char* primary) {
        const std::optional<std::string> secondary = "secondary";
        return texts(list(
            drawing_tests::entry(LoggedIn{packages(
                {{"Shop", url("velaapp://order/1"), 0.5f, url(shop), std::nullopt, {primary, secondary}}})}),
            platform::WidgetFamily::systemSmall));
    };
    EXPECT_THAT(words("sample:shop", "primary"), ElementsAre("primary", "secondary"));
    EXPECT_THAT(words("sample:none", "primary"), ElementsAre("S", "Shop", "primary", "secondary"));
    EXPECT_THAT(words("sample:none", "A status of many words indeed"),
                ElementsAre("S", "A status of many words indeed", "secondary"));
}

TEST(SmallPackage, ShowsFewerWordsWhereThereIsLessHeight) {
    struct Row {
        double height;
        std::vector<std::string> words;
    };
    const std::vector<Row> rows = {
        {158, {"F", "First Shop", "primary 1", "secondary 1"}},
        {140, {"F", "primary 1", "secondary 1"}},
        {120, {"F", "primary 1"}},
    };
    for (const Row& row : rows) {
        const DisplayList shown = list(twoPackages(), platform::WidgetFamily::systemSmall, ColorScheme::light,
                                       WidgetContainer::Background::shown, Size{158, row.height});
        EXPECT_EQ(texts(shown), row.words) << row.height;
        for (const DisplayItem& item : shown.items) EXPECT_LE(item.frame.bottom(), row.height);
    }
}

TEST(PackagePictures, StandOnAWhitePlateWhereTheyWouldVanishInTheDark) {
    const auto isOnPlate = [](const char* shop, const char* product, ColorScheme scheme) {
        const DisplayList shown =
            list(drawing_tests::entry(LoggedIn{packages({{"Shop",
                                                          url("velaapp://order/1"),
                                                          0.5f,
                                                          url(shop),
                                                          url(product),
                                                          {"primary", std::nullopt}}})}),
                 platform::WidgetFamily::systemMedium, scheme);
        return !linesBeginning("roundedRectangle white", shown).empty();
    };
    EXPECT_TRUE(isOnPlate("sample:wide", "sample:photo", ColorScheme::dark));
    EXPECT_TRUE(isOnPlate("sample:shop", "sample:wide", ColorScheme::dark));
    EXPECT_FALSE(isOnPlate("sample:wide", "sample:wide", ColorScheme::light));
    EXPECT_FALSE(isOnPlate("sample:shop", "sample:photo", ColorScheme::dark));
    EXPECT_FALSE(isOnPlate("sample:none", "sample:none", ColorScheme::dark));
}

TEST(PackagePictures, StandOnADarkPlateWhereTheyWouldVanishInTheLight) {
    const auto isOnPlate = [](const char* shop, ColorScheme scheme) {
        const SimpleEntry entry = drawing_tests::entry(LoggedIn{packages(
            {{"Shop", url("velaapp://order/1"), 0.5f, url(shop), std::nullopt, {"primary", std::nullopt}}})});
        const DisplayList shown = list(entry, platform::WidgetFamily::systemMedium, scheme);
        return !linesBeginning("roundedRectangle #212122", shown).empty();
    };
    EXPECT_TRUE(isOnPlate("sample:white", ColorScheme::light));
    EXPECT_FALSE(isOnPlate("sample:white", ColorScheme::dark));
    EXPECT_FALSE(isOnPlate("sample:wide", ColorScheme::light));
    EXPECT_FALSE(isOnPlate("sample:shop", ColorScheme::light));
}

TEST(PackagePictures, ShowAParcelForAProductThatCannotBeShown) {
    const SimpleEntry entry = drawing_tests::entry(LoggedIn{packages({{"Shop",
                                                                       url("velaapp://order/1"),
                                                                       0.5f,
                                                                       std::nullopt,
                                                                       url("sample:none"),
                                                                       {"primary", std::nullopt}}})});
    const DisplayList shown = list(entry, platform::WidgetFamily::systemMedium);
    EXPECT_THAT(texts(shown), ElementsAre("S", "Shop", "primary"));
    EXPECT_EQ(linesBeginning("image Parcel", shown).size(), 1u);
}

TEST(PackagePictures, ShowAParcelForAMerchantWithoutPictureAndName) {
    for (const char* name : {"", " ", "\u200E"}) {
        const SimpleEntry entry = drawing_tests::entry(LoggedIn{packages({{name,
                                                                           url("velaapp://order/1"),
                                                                           0.5f,
                                                                           std::nullopt,
                                                                           std::nullopt,
                                                                           {"primary", std::nullopt}}})});
        for (const platform::WidgetFamily family :
             {platform::WidgetFamily::systemSmall, platform::WidgetFamily::systemMedium,
              platform::WidgetFamily::systemLarge}) {
            EXPECT_EQ(linesBeginning("image Parcel", list(entry, family)).size(), 1u) << description(family);
        }
    }
}

TEST(PackageProgress, StandsOutFromTheGround) {
    const AssetCatalogue catalogue(ASSET_CATALOGUE);
    struct Ground {
        ColorScheme scheme;
        RGBA color;
    };
    // WCAG 2.2, criterion 1.4.11.
    constexpr double least = 3;
    for (const auto& [scheme, color] :
         {Ground{ColorScheme::light, {255, 255, 255}}, Ground{ColorScheme::dark, {33, 33, 34}},
          Ground{ColorScheme::dark, {20, 20, 20}}}) {
        for (const char* name : {"ProgressBarBackgroundColor", "BrandColor"})
            EXPECT_GE(contrastRatio(*catalogue.color(name, scheme), color), least) << name;
    }
}

TEST(PackageProgress, PartsWhatIsDoneFromWhatIsLeft) {
    EXPECT_EQ(linesBeginning("rectangle ", list(twoPackages(), platform::WidgetFamily::systemMedium)).size(),
              1u);
    const SimpleEntry arrived = drawing_tests::entry(LoggedIn{packages(
        {{"Shop", url("velaapp://order/1"), 1.0f, std::nullopt, std::nullopt, {"primary", std::nullopt}}})});
    EXPECT_THAT(linesBeginning("rectangle ", list(arrived, platform::WidgetFamily::systemMedium)), IsEmpty());
}

TEST(LargePackage, FillsItsHeightWithAnyNumberOfPackages) {
    for (std::size_t count = 1; count <= 5; ++count) {
        std::vector<presentation::StoredPackage::Values> values(
            count,
            {"Shop", url("velaapp://order/1"), 0.5f, std::nullopt, std::nullopt, {"primary", std::nullopt}});
        const DisplayList shown =
            list(drawing_tests::entry(LoggedIn{packages(values)}), platform::WidgetFamily::systemLarge);
        EXPECT_EQ(shown.links.size(), std::min<std::size_t>(count, 4));
        EXPECT_NEAR(shown.links.front().frame.top(), 16, 1) << count;
        EXPECT_NEAR(shown.links.back().frame.bottom(), 354 - 16, 1) << count;
    }
}

// --- As a host asks for it

std::string tree(const SimpleEntry& entry, platform::WidgetFamily family,
                 ColorScheme scheme = ColorScheme::light) {
    drawing_tests::SamplePictures loader;
    return draw({.entry = entry, .family = family, .colorScheme = scheme, .format = DrawingFormat::tree},
                loader);
}

/// Says what was asked for by itself, and not with the others.
class PicturesReadAlone final : public PictureLoader {
  public:
    std::optional<std::string> read(const platform::URL& url) override {
        alone.push_back(url.absoluteString());
        return samples_.read(url);
    }
    void readAll(const std::vector<platform::URL>& urls, const Receiver& receive) override {
        for (std::size_t place = 0; place < urls.size(); ++place) receive(place, samples_.read(urls[place]));
    }
    std::vector<std::string> alone;

  private:
    drawing_tests::SamplePictures samples_;
};

TEST(EntryDrawing, ReadsPicturesTogetherAtEveryTextSize) {
    for (const platform::WidgetFamily family : platform::allWidgetFamilies) {
        for (const TextSize size : allTextSizes) {
            PicturesReadAlone loader;
            DrawingRequest request{.entry = drawing_tests::sampleEntry("Single"), .family = family};
            request.appearance.textSize = size;
            request.format = DrawingFormat::tree;
            draw(request, loader);
            EXPECT_THAT(loader.alone, IsEmpty()) << description(family) << " at " << name(size);
        }
    }
}

TEST(EntryDrawing, DrawsNoBackgroundOnALockScreen) {
    for (const platform::WidgetFamily family :
         {platform::WidgetFamily::accessoryCircular, platform::WidgetFamily::accessoryInline,
          platform::WidgetFamily::accessoryRectangular}) {
        EXPECT_THAT(tree(twoPackages(), family), Not(::testing::HasSubstr("linearGradient")))
            << description(family);
    }
    EXPECT_THAT(tree(twoPackages(), platform::WidgetFamily::systemSmall),
                ::testing::HasSubstr("linearGradient"));
}

TEST(EntryDrawing, DrawsTheSameFromSeveralThreadsAtOnce) {
    const DrawingRequest request{drawing_tests::sampleEntry("Mixed"), platform::WidgetFamily::systemMedium};
    const auto drawn = [&] {
        drawing_tests::SamplePictures loader;
        return draw(request, loader);
    };
    const std::string expected = drawn();
    std::vector<std::future<std::string>> others;
    for (int count = 0; count < 4; ++count) others.push_back(std::async(std::launch::async, drawn));
    for (std::future<std::string>& other : others) EXPECT_TRUE(other.get() == expected);
}

TEST(EntryDrawing, ShowsThePlaceholderForWhatIsNoPictureFile) {
    const platform::testing::TemporaryFolder folder;
    const std::filesystem::path tooLong = folder.path() / "long.png";
    std::ofstream(tooLong) << "GIF89a";
    std::filesystem::resize_file(tooLong, 50'000'000);
    for (const std::string& source :
         {"file://" + folder.path().string(), std::string("file:///dev/zero"), "file://" + tooLong.string(),
          "file://" + (folder.path() / "missing").string(), std::string("data:image/png;base64,AAAA"),
          std::string("http://127.0.0.1:1/refused"), std::string("ftp://127.0.0.1/unknown")}) {
        const SimpleEntry entry = drawing_tests::entry(LoggedIn{packages({{"Shop",
                                                                           url("velaapp://order/1"),
                                                                           0.5f,
                                                                           url(source),
                                                                           std::nullopt,
                                                                           {"primary", std::nullopt}}})});
        const std::string drawn = draw(
            {.entry = entry, .family = platform::WidgetFamily::systemSmall, .format = DrawingFormat::tree});
        EXPECT_THAT(drawn, ::testing::HasSubstr(R"("text":"S")")) << source;
        EXPECT_THAT(drawn, Not(::testing::HasSubstr(R"("url":"file)"))) << source;
    }
}

TEST(EntryDrawing, KeepsEverythingWithinTheContainerInEveryScriptAndFamily) {
    // Text widths go up to the next pixel.
    constexpr double pixel = 1.0 / 3;
    drawing_tests::SamplePictures loader;
    for (const drawing_tests::SampleEntry& sample : drawing_tests::sampleEntries()) {
        for (const platform::WidgetFamily family :
             {platform::WidgetFamily::systemSmall, platform::WidgetFamily::systemMedium,
              platform::WidgetFamily::systemLarge, platform::WidgetFamily::accessoryRectangular,
              platform::WidgetFamily::accessoryInline}) {
            const bool isAccessory = family == platform::WidgetFamily::accessoryRectangular ||
                                     family == platform::WidgetFamily::accessoryInline;
            const double margin = isAccessory ? 0 : 16;
            ScaledPictures pictures(loader, 3);
            WidgetContainer container{family, ColorScheme::light, referenceSize(family)};
            container.contentMargin = margin;
            container.scale = 3;
            container.background = WidgetContainer::Background::removed;
            const DisplayList shown = displayList(
                TrackingWidgetEntryView{sample.entry}.body({family, ColorScheme::light, pictures}), container,
                drawing_tests::FixedAdvance());
            const Rect room = shown.container.frame.insetBy(margin);
            for (const DisplayItem& item : shown.items) {
                const Rect& seen = item.clips.empty() ? item.frame : item.clips.back().frame;
                const bool isWithin = seen.left() >= room.left() && seen.top() >= room.top() &&
                                      seen.right() <= room.right() + pixel && seen.bottom() <= room.bottom();
                EXPECT_TRUE(isWithin) << sample.name << " in " << description(family);
            }
        }
    }
}

/// The colour on which an item stands: of the last filled shape below it that holds it whole.
std::optional<Color> ground(const DisplayList& list, std::size_t index) {
    const Rect& frame = list.items[index].frame;
    for (std::size_t below = index; below-- > 0;) {
        const DisplayItem& item = list.items[below];
        const bool holds = item.frame.left() <= frame.left() && item.frame.right() >= frame.right() &&
                           item.frame.top() <= frame.top() && item.frame.bottom() >= frame.bottom();
        if (!holds) continue;
        if (const auto* shape = std::get_if<RoundedRectangleItem>(&item.kind)) return shape->color;
        // The lighter end of the gradient is the harder one to read on.
        if (const auto* gradient = std::get_if<LinearGradientItem>(&item.kind))
            return gradient->stops.front();
    }
    return std::nullopt;
}

TEST(EntryView, ReadsWellInEveryStateSchemeAndFamily) {
    const AssetCatalogue catalogue(ASSET_CATALOGUE);
    for (const drawing_tests::SampleEntry& sample : drawing_tests::sampleEntries()) {
        for (const platform::WidgetFamily family : platform::allWidgetFamilies) {
            for (const ColorScheme scheme : schemes) {
                const DisplayList shown = list(sample.entry, family, scheme);
                for (std::size_t index = 0; index < shown.items.size(); ++index) {
                    const auto* text = std::get_if<TextItem>(&shown.items[index].kind);
                    if (!text) continue;
                    const std::optional<Color> under = ground(shown, index);
                    ASSERT_TRUE(under) << text->run.text;
                    // The placeholder's fill has one value in both schemes.
                    const bool isPlaceholder = *under == Color::asset("TextTertiaryColor");
                    const auto back = under->resolved(isPlaceholder ? ColorScheme::light : scheme, catalogue);
                    const auto front = text->color.resolved(shown.items[index].colorScheme, catalogue);
                    ASSERT_TRUE(front && back) << text->run.text;
                    EXPECT_GE(contrastRatio(*front, *back), 4.5)
                        << text->run.text << " in " << description(family);
                }
            }
        }
    }
}

}  // namespace
