// SPDX-License-Identifier: Apache-2.0

// The widget's own words are never cut: every status, with the longest dates and times that are usual, in
// every family and scheme, in the fonts of the bundle.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "drawing/Layout/DisplayList.hpp"
#include "drawing/Painters/PangoTextMeasurer.hpp"
#include "presentation/DeliveryStatusTable.hpp"
#include "presentation/OrderStatusTable.hpp"
#include "tests/drawing/DisplayText.hpp"
#include "tests/drawing/SampleEntries.hpp"
#include "tests/support/MemoryLimit.hpp"
#include "widget/DrawingRequest.hpp"
#include "widget/EntryDrawing.hpp"
#include "widget/EntryLayout.hpp"

namespace {

using namespace drawing;
using presentation::StatusPair;
using presentation::Wording;

constexpr std::array families = {platform::WidgetFamily::systemSmall, platform::WidgetFamily::systemMedium,
                                 platform::WidgetFamily::systemLarge,
                                 platform::WidgetFamily::accessoryRectangular,
                                 platform::WidgetFamily::accessoryInline};
constexpr std::array bothSchemes = {ColorScheme::light, ColorScheme::dark};

const std::string longestDate = "Delivered on Sep 30, 2023";
const std::string longestTime = "Between 10 AM and 12 PM";
const std::string longestDay = "Arriving Wednesday";
const std::string longestLine = "Arriving Wednesday between 2 and 4 PM";

void addOrders(std::vector<StatusPair>& pairs) {
    using enum presentation::OrderSource;
    std::vector<std::string> deliveryWords;
    for (const auto& row : presentation::orderDeliveryTable) deliveryWords.emplace_back(row.word);
    for (const auto& row : presentation::orderStatusTable) {
        std::vector<std::string> primaries;
        for (const auto source : row.primary) {
            if (source == word) primaries.emplace_back(row.word);
            if (source == inStorePurchase) primaries.emplace_back(Wording::inStorePurchase);
            if (source == futureEta) primaries.push_back(longestDay);
            if (source == deliveryWord)
                primaries.insert(primaries.end(), deliveryWords.begin(), deliveryWords.end());
        }
        std::vector<std::optional<std::string>> secondaries = {std::nullopt};
        for (const auto source : row.secondary) {
            if (source == word) secondaries.emplace_back(row.word);
            if (source == futureTime) secondaries.emplace_back(longestTime);
            if (source == etaLine) secondaries.emplace_back(longestLine);
            if (source == pastEta) secondaries.emplace_back(longestDay);
            if (source == deliveredDay) secondaries.emplace_back(longestDate);
            if (source == shipping) secondaries.emplace_back("Standard shipping");
            if (source == location) secondaries.emplace_back("Customs cleared in Rotterdam");
        }
        for (const auto& primary : primaries) {
            for (const auto& secondary : secondaries) pairs.push_back({primary, secondary});
        }
    }
}

void addDeliveries(std::vector<StatusPair>& pairs) {
    for (const auto& row : presentation::deliveryStatusTable) {
        pairs.push_back({std::string(row.word), std::nullopt});
        pairs.push_back({std::string(row.word), longestDate});
    }
    pairs.push_back({std::string(Wording::deliveryDelayed), longestLine});
    pairs.push_back({longestLine, std::nullopt});
}

#ifdef VELA_SANITIZER_ALLOCATES
// A hundred times as slow, and what a sanitizer looks for a few show as well.
constexpr std::size_t statusStep = 9;
constexpr std::size_t textSizeStep = 4;
#else
constexpr std::size_t statusStep = 1;
constexpr std::size_t textSizeStep = 1;
#endif

/// Each once.
std::vector<StatusPair> usualStatuses() {
    std::vector<StatusPair> all;
    addOrders(all);
    addDeliveries(all);
    std::vector<StatusPair> pairs;
    for (std::size_t index = 0; index < all.size(); index += statusStep) {
        if (std::find(pairs.begin(), pairs.end(), all[index]) == pairs.end()) pairs.push_back(all[index]);
    }
    return pairs;
}

bool isWide(platform::WidgetFamily family) {
    return family == platform::WidgetFamily::systemMedium || family == platform::WidgetFamily::systemLarge;
}

widget::SimpleEntry entry(const StatusPair& status, std::size_t count, const char* shop, bool hasProduct) {
    std::vector<presentation::StoredPackage::Values> values;
    for (std::size_t index = 0; index < count; ++index) {
        values.push_back({"Hearth & Field Furniture Makers", drawing_tests::url("velaapp://order/1"), 0.6F,
                          drawing_tests::url(shop),
                          hasProduct ? std::optional(drawing_tests::url("sample:photo")) : std::nullopt,
                          status});
    }
    return drawing_tests::entry(widget::LoggedIn{drawing_tests::packages(std::move(values))});
}

/// The bundle's fonts. Most statuses share their words with others: what was measured once is remembered.
class RememberedFonts final : public TextMeasurer {
  public:
    std::vector<TextLine> lines(const TextRun& run, std::optional<double> width) const override {
        const Key key{width, run.textSize, run.lineLimit, run.scale, run.style, run.weight, run.text};
        const auto known = remembered_.find(key);
        if (known != remembered_.end()) return known->second;
        return remembered_.emplace(key, fonts_.lines(run, width)).first->second;
    }

  private:
    /// What is soon compared first.
    using Key = std::tuple<std::optional<double>, TextSize, int, double, TextStyle, FontWeight, std::string>;

    PangoTextMeasurer fonts_{std::filesystem::path(FONTS_CONFIGURATION)};
    mutable std::map<Key, std::vector<TextLine>> remembered_;
};

const TextMeasurer& bundleFonts() {
    static const RememberedFonts fonts;
    return fonts;
}

DisplayList shown(const widget::SimpleEntry& entry, platform::WidgetFamily family, ColorScheme scheme,
                  std::optional<Size> size = std::nullopt, TextSize textSize = TextSize::large) {
    // Read once: they are the same in every drawing.
    static drawing_tests::SamplePictures loader;
    static widget::ScaledPictures pictures(loader, 1);
    const bool isAccessory = widget::referenceSize(family).height < 100;
    WidgetContainer container{family, scheme, size.value_or(widget::referenceSize(family))};
    container.contentMargin = isAccessory ? 0 : 16;
    container.scale = 3;
    return widget::laidOut(entry, {family, scheme, pictures, {.textSize = textSize}}, container,
                           bundleFonts());
}

std::string withoutBlanks(std::string text) {
    std::erase(text, ' ');
    return text;
}

bool isWhole(const DisplayItem& item, const TextItem& text) {
    std::string seen;
    double height = 0;
    for (const TextLine& line : bundleFonts().lines(text.run, item.frame.size.width)) {
        if (line.breaksWord && isEnlarged(text.run.textSize)) return false;
        seen += line.text;
        height += metrics(text.run).lineHeight;
    }
    return withoutBlanks(seen) == withoutBlanks(text.run.text) && height <= item.frame.size.height + 0.5;
}

bool isInside(const Rect& frame, const Rect& room) {
    constexpr double pixel = 0.34;
    return frame.left() >= room.left() - pixel && frame.right() <= room.right() + pixel &&
           frame.top() >= room.top() - pixel && frame.bottom() <= room.bottom() + pixel;
}

/// How often the words stand there, whole; -1 where they are cut.
int timesWhole(const DisplayList& list, const std::string& words) {
    const double margin = widget::referenceSize(list.family).height < 100 ? 0 : 16;
    int times = 0;
    for (const DisplayItem& item : list.items) {
        const auto* text = std::get_if<TextItem>(&item.kind);
        if (!text || text->run.text != words) continue;
        if (!isWhole(item, *text) || !isInside(item.frame, list.container.frame.insetBy(margin))) return -1;
        ++times;
    }
    return times;
}

TEST(FixedWords, AreNeverCutInAnyFamilyOrScheme) {
    for (const StatusPair& status : usualStatuses()) {
        for (const platform::WidgetFamily family : families) {
            for (const ColorScheme scheme : bothSchemes) {
                for (const char* shop : {"sample:shop", "sample:none"}) {
                    const std::string what = status.primary + " / " + status.secondary.value_or("") + " in " +
                                             std::string(description(family)) + " " + shop;
                    const DisplayList list = shown(entry(status, 1, shop, true), family, scheme);
                    EXPECT_GE(timesWhole(list, status.primary), 1) << what;
                    if (status.secondary && family != platform::WidgetFamily::accessoryInline) {
                        EXPECT_GE(timesWhole(list, *status.secondary), 1) << what;
                    }
                }
            }
        }
    }
}

TEST(FixedWords, AreNeverCutAmongOtherPackages) {
    for (const StatusPair& status : usualStatuses()) {
        for (const std::size_t count : {std::size_t{2}, std::size_t{3}, std::size_t{4}, std::size_t{10}}) {
            const DisplayList list = shown(entry(status, count, "sample:shop", true),
                                           platform::WidgetFamily::systemLarge, ColorScheme::light);
            const int least = static_cast<int>(std::min<std::size_t>(count, 2));
            EXPECT_GE(timesWhole(list, status.primary), least) << status.primary << " of " << count;
            if (status.secondary) {
                EXPECT_GE(timesWhole(list, *status.secondary), least) << *status.secondary;
            }
        }
    }
}

/// What is drawn of a family at every text size.
struct Shown {
    platform::WidgetFamily family;
    std::size_t packages;
    const char* shop;
    TextSize least;
};
constexpr std::array shownAtEveryTextSize = {
    Shown{platform::WidgetFamily::systemSmall, 1, "sample:shop", TextSize::large},
    Shown{platform::WidgetFamily::systemSmall, 1, "sample:none", TextSize::large},
    Shown{platform::WidgetFamily::systemMedium, 1, "sample:shop", TextSize::accessibility1},
    Shown{platform::WidgetFamily::systemLarge, 1, "sample:shop", TextSize::accessibility1},
    Shown{platform::WidgetFamily::accessoryRectangular, 1, "sample:shop", TextSize::large},
    Shown{platform::WidgetFamily::accessoryInline, 1, "sample:shop", TextSize::large},
};
constexpr std::array shownNowAndThen = {
    Shown{platform::WidgetFamily::systemMedium, 1, "sample:none", TextSize::accessibility1},
    Shown{platform::WidgetFamily::systemLarge, 1, "sample:none", TextSize::accessibility1},
    Shown{platform::WidgetFamily::systemLarge, 2, "sample:shop", TextSize::accessibility1},
    Shown{platform::WidgetFamily::systemLarge, 3, "sample:none", TextSize::accessibility1},
    Shown{platform::WidgetFamily::systemLarge, 10, "sample:shop", TextSize::accessibility1},
};

struct Words {
    TextSize textSize;
    /// Of the style's size in the design.
    double part;
};

/// How the words stand that are the smallest in proportion to their style; nothing where none of them does.
std::optional<Words> smallest(const DisplayList& list, const StatusPair& status) {
    std::optional<Words> smallest;
    for (const DisplayItem& item : list.items) {
        const auto* text = std::get_if<TextItem>(&item.kind);
        if (!text || (text->run.text != status.primary && text->run.text != status.secondary)) continue;
        const double part = factor(text->run.textSize) * text->run.scale;
        if (!smallest || part < smallest->part) smallest = Words{text->run.textSize, part};
    }
    return smallest;
}

void expectWhole(const DisplayList& list, const StatusPair& status, const std::string& what) {
    EXPECT_GE(timesWhole(list, status.primary), 1) << what;
    if (!status.secondary || list.family == platform::WidgetFamily::accessoryInline) return;
    EXPECT_GE(timesWhole(list, *status.secondary), 1) << what;
}

/// From the largest text size on. A size that is asked for in vain is drawn as the one that fits, so that it
/// need not be looked at by itself.
void expectWholeAtEveryTextSize(const StatusPair& status, const Shown& shown) {
    const widget::SimpleEntry drawn = entry(status, shown.packages, shown.shop, true);
    std::optional<Words> larger;
    for (auto size = allTextSizes.rbegin(); size != allTextSizes.rend(); ++size) {
        if (larger && larger->textSize < *size) continue;
        const std::string what = status.primary + " / " + status.secondary.value_or("") + " in " +
                                 std::string(description(shown.family)) + " " + shown.shop + " of " +
                                 std::to_string(shown.packages) + " at " + std::string(name(*size));
        const DisplayList list = ::shown(drawn, shown.family, ColorScheme::light, std::nullopt, *size);
        expectWhole(list, status, what);
        const std::optional<Words> words = smallest(list, status);
        ASSERT_TRUE(words) << what;
        EXPECT_LE(words->textSize, *size) << what;
        EXPECT_GE(words->textSize, std::min(*size, shown.least)) << what;
        if (isEnlarged(words->textSize)) {
            EXPECT_EQ(words->part, factor(words->textSize)) << what;
        }
        // Where texts are small, they may be on one line in one size and on two in the next.
        if (*size >= TextSize::large) {
            EXPECT_LE(words->part, larger.value_or(*words).part) << what;
        }
        larger = words;
    }
}

TEST(FixedWords, AreNeverCutAtAnyTextSize) {
    const std::vector<StatusPair> statuses = usualStatuses();
    for (std::size_t index = 0; index < statuses.size(); index += textSizeStep) {
        for (const Shown& shown : shownAtEveryTextSize) expectWholeAtEveryTextSize(statuses[index], shown);
        if (index % 12 != 0) continue;
        for (const Shown& shown : shownNowAndThen) expectWholeAtEveryTextSize(statuses[index], shown);
    }
}

TEST(TextSizes, AreDrawnAsTheLargestThatFits) {
    const StatusPair status{"Partially ready to ship", longestDate};
    for (const platform::WidgetFamily family : families) {
        const widget::SimpleEntry drawn = entry(status, 1, "sample:shop", true);
        const auto at = [&](TextSize size) {
            return shown(drawn, family, ColorScheme::light, std::nullopt, size);
        };
        const std::vector<std::string> largest = drawing_tests::lines(at(TextSize::accessibility5));
        const TextSize fitting = smallest(at(TextSize::accessibility5), status)->textSize;
        for (const TextSize size : allTextSizes) {
            EXPECT_EQ(drawing_tests::lines(at(size)) == largest, size >= fitting)
                << name(size) << " in " << description(family);
        }
    }
}

TEST(FixedWords, AreWholeInTheSmallestWidgetThatIsDrawn) {
    for (const StatusPair& status : usualStatuses()) {
        if (status.primary == longestLine) continue;
        for (const platform::WidgetFamily family : families) {
            const Size size = widget::DrawingRequest::smallestSize(family);
            const DisplayList list = shown(entry({status.primary, std::nullopt}, 1, "sample:shop", true),
                                           family, ColorScheme::light, size);
            EXPECT_EQ(timesWhole(list, status.primary), 1) << status.primary << " in " << description(family);
        }
    }
}

TEST(Prompts, AreWholeInTheSmallestWidgetThatIsDrawn) {
    for (const widget::WidgetState& state :
         {widget::WidgetState(widget::NotLoggedIn{}), widget::WidgetState(widget::NoPackages{})}) {
        for (const platform::WidgetFamily family : families) {
            for (const bool isSmallest : {true, false}) {
                const Size size =
                    isSmallest ? widget::DrawingRequest::smallestSize(family) : widget::referenceSize(family);
                const DisplayList list = shown(drawing_tests::entry(state), family, ColorScheme::light, size);
                for (const DisplayItem& item : list.items) {
                    const auto* text = std::get_if<TextItem>(&item.kind);
                    if (text) {
                        EXPECT_EQ(timesWhole(list, text->run.text), 1)
                            << text->run.text << " in " << description(family);
                    }
                }
            }
        }
    }
}

TEST(Prompts, AreWholeAtEveryTextSizeAndNeverShrinkAsItGrows) {
    for (const widget::WidgetState& state :
         {widget::WidgetState(widget::NotLoggedIn{}), widget::WidgetState(widget::NoPackages{})}) {
        for (const platform::WidgetFamily family : families) {
            double before = 0;
            for (const TextSize size : allTextSizes) {
                const std::string what = std::string(name(size)) + " in " + std::string(description(family));
                const DisplayList list =
                    shown(drawing_tests::entry(state), family, ColorScheme::light, std::nullopt, size);
                double largest = 0;
                for (const DisplayItem& item : list.items) {
                    const auto* text = std::get_if<TextItem>(&item.kind);
                    if (!text) continue;
                    EXPECT_EQ(timesWhole(list, text->run.text), 1) << text->run.text << " at " << what;
                    largest = std::max(largest, metrics(text->run).pointSize);
                    if (size == TextSize::accessibility1 && isWide(family)) {
                        EXPECT_EQ(text->run.textSize, size) << what;
                    }
                }
                EXPECT_GE(largest, before) << what;
                before = largest;
            }
        }
    }
}

TEST(BrokenWords, CountAsCutWhereTextIsLargerThanDesigned) {
    const auto isWhole = [](TextSize size) {
        const View view = text("Wednesday").font(TextStyle::footnote).wantedWhole().textSize(size);
        const WidgetContainer container{platform::WidgetFamily::systemSmall, ColorScheme::light, {76, 400}};
        return displayList(view, container, bundleFonts()).isWhole;
    };
    EXPECT_TRUE(isWhole(TextSize::large));
    EXPECT_FALSE(isWhole(TextSize::accessibility5));
}

TEST(BrokenWords, EndInTheHyphenThatIsSeen) {
    const TextRun word{"Donaudampfschifffahrtselektrizitätenhauptbetriebswerk"};
    const std::vector<TextLine> lines = bundleFonts().lines(word, 120);
    ASSERT_GT(lines.size(), 1U);
    EXPECT_TRUE(lines.front().text.ends_with("‐")) << lines.front().text;
    EXPECT_FALSE(lines.back().text.ends_with("‐"));
}

}  // namespace
