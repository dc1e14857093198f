// SPDX-License-Identifier: Apache-2.0

// What is said of a drawing, as an XML parser and a reader of plain text find it.

#include <gmock/gmock.h>

#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "drawing/Painters/PangoTextMeasurer.hpp"
#include "tests/drawing/SampleEntries.hpp"
#include "widget/EntryDrawing.hpp"

namespace {

using namespace drawing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using widget::draw;
using widget::DrawingFormat;
using widget::DrawingRequest;

using Tree = boost::property_tree::ptree;

std::string answer(const widget::SimpleEntry& entry, platform::WidgetFamily family, DrawingFormat format,
                   Redaction redaction = Redaction::none) {
    drawing_tests::SamplePictures pictures;
    return draw({.entry = entry, .family = family, .appearance = {.redaction = redaction}, .format = format},
                pictures);
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

std::string attribute(const Tree& element, const std::string& name) {
    return element.get<std::string>("<xmlattr>." + name, "");
}

/// What a screen reader comes to in a document: what it says of the whole, and of each part that is not
/// hidden.
struct Read {
    std::string role;
    std::string title;
    std::string description;
    std::vector<std::string> parts;
    std::vector<std::string> links;
};

void readParts(const Tree& element, Read& read) {
    for (const auto& [name, child] : element) {
        if (attribute(child, "aria-hidden") == "true") continue;
        EXPECT_NE(name, "text") << "a text is read beside what is said of it";
        const std::string label = attribute(child, "aria-label");
        if (name == "a") read.links.push_back(attribute(child, "href"));
        if (!label.empty()) read.parts.push_back(label);
        readParts(child, read);
    }
}

Read readBy(const std::string& svg) {
    Tree document;
    std::istringstream stream(svg);
    boost::property_tree::read_xml(stream, document);
    const Tree& root = document.get_child("svg");
    Read read{attribute(root, "role"), root.get<std::string>("title"), root.get<std::string>("desc"), {}, {}};
    readParts(root, read);
    return read;
}

constexpr const char* northwind =
    "Northwind Books: out for delivery, today before 18:00; 60 percent of the way";
constexpr const char* harbour = "Harbour & Sons: in transit, arrives Thursday; 40 percent of the way";

TEST(SpokenDrawing, SaysTheFirstPackageWhereOneIsShown) {
    const auto entry = drawing_tests::sampleEntry("Latin");
    for (const auto family :
         {platform::WidgetFamily::systemSmall, platform::WidgetFamily::systemMedium,
          platform::WidgetFamily::accessoryRectangular, platform::WidgetFamily::accessoryInline}) {
        EXPECT_THAT(linesOf(answer(entry, family, DrawingFormat::text)), ElementsAre(northwind));
        const Read read = readBy(answer(entry, family, DrawingFormat::svg));
        EXPECT_EQ(read.role, "group");
        EXPECT_EQ(read.title, "Tracking Widget");
        EXPECT_EQ(read.description, northwind);
        EXPECT_THAT(read.parts, ElementsAre(northwind));
        EXPECT_THAT(read.links, ElementsAre("velaapp://delivery/1"));
    }
}

TEST(SpokenDrawing, SaysEachPackageThatIsDrawnInItsOrder) {
    const auto entry = drawing_tests::sampleEntry("Latin");
    const std::string text = answer(entry, platform::WidgetFamily::systemLarge, DrawingFormat::text);
    EXPECT_THAT(linesOf(text),
                ElementsAre(northwind, harbour, "Meadow Tea: order placed; 20 percent of the way"));
    const Read read = readBy(answer(entry, platform::WidgetFamily::systemLarge, DrawingFormat::svg));
    EXPECT_EQ(read.parts, linesOf(text));
    EXPECT_EQ(read.links.size(), 3u);
}

TEST(SpokenDrawing, SaysBothOfAPairAndASingleOne) {
    const auto large = platform::WidgetFamily::systemLarge;
    EXPECT_THAT(
        linesOf(answer(drawing_tests::sampleEntry("Pair"), large, DrawingFormat::text)),
        ElementsAre("Lantern Lighting: partially ready to ship, Standard shipping; 40 percent of the way",
                    "Harbour & Sons: delivered on Dec 30, 2023; all of the way"));
    EXPECT_THAT(readBy(answer(drawing_tests::sampleEntry("Single"), large, DrawingFormat::svg)).parts,
                ElementsAre("Northwind Books: arriving tomorrow, between 2 and 4 PM; 80 percent of the way"));
}

TEST(SpokenDrawing, SaysWhatIsToBeDoneWithoutPackages) {
    const auto signedOut = drawing_tests::sampleEntry("NotLoggedIn");
    const auto empty = drawing_tests::sampleEntry("NoPackages");
    const auto large = platform::WidgetFamily::systemLarge, medium = platform::WidgetFamily::systemMedium,
               small = platform::WidgetFamily::systemSmall, line = platform::WidgetFamily::accessoryInline;
    EXPECT_THAT(linesOf(answer(signedOut, large, DrawingFormat::text)),
                ElementsAre("Track your orders in a glance.", "Sign in to Vela", "Sign In"));
    EXPECT_THAT(linesOf(answer(signedOut, line, DrawingFormat::text)), ElementsAre("Sign in to Vela"));
    const Read prompt = readBy(answer(signedOut, large, DrawingFormat::svg));
    EXPECT_EQ(prompt.role, "img");
    EXPECT_EQ(prompt.description, "Track your orders in a glance. Sign in to Vela. Sign In");
    EXPECT_THAT(prompt.links, IsEmpty());

    const Read button = readBy(answer(empty, medium, DrawingFormat::svg));
    EXPECT_EQ(button.role, "group");
    EXPECT_THAT(button.parts, ElementsAre("You have no new orders to track", "Add order to track"));
    EXPECT_THAT(button.links, ElementsAre("velaapp://add_delivery"));
    EXPECT_THAT(readBy(answer(empty, small, DrawingFormat::svg)).parts,
                ElementsAre("You have no new orders to track. Add order to track"));
}

TEST(SpokenDrawing, SaysOfTheSampleThatNothingIsKnown) {
    for (const auto family : platform::allWidgetFamilies) {
        const auto entry = drawing_tests::sampleEntry("Placeholder");
        EXPECT_THAT(linesOf(answer(entry, family, DrawingFormat::text)), ElementsAre("Not yet known"));
        const Read read = readBy(answer(entry, family, DrawingFormat::svg));
        EXPECT_EQ(read.description, "Not yet known");
        for (const std::string& part : read.parts) EXPECT_EQ(part, "Not yet known");
        EXPECT_EQ(read.parts.size(), read.links.size());
    }
}

TEST(SpokenDrawing, SaysSomethingWhereNothingIsDrawn) {
    const auto entry = drawing_tests::entry(widget::LoggedIn{});
    EXPECT_THAT(linesOf(answer(entry, platform::WidgetFamily::systemMedium, DrawingFormat::text)),
                ElementsAre("You have no new orders to track"));
}

TEST(SpokenDrawing, ReadsNoPictures) {
    class Counting final : public PictureLoader {
      public:
        std::optional<std::string> read(const platform::URL&) override {
            ++count;
            return std::nullopt;
        }
        int count = 0;
    } pictures;
    DrawingRequest request = {.entry = drawing_tests::sampleEntry("Latin"),
                              .family = platform::WidgetFamily::systemLarge,
                              .format = DrawingFormat::text};
    draw(request, pictures);
    request.format = DrawingFormat::png;
    request.appearance.redaction = Redaction::placeholder;
    draw(request, pictures);
    EXPECT_EQ(pictures.count, 0);
}

// --- Redacted

constexpr auto formatsOfWords = {DrawingFormat::svg, DrawingFormat::tree, DrawingFormat::text};

TEST(RedactedDrawing, TellsNothingOfItsContents) {
    for (const drawing_tests::SampleEntry& sample : drawing_tests::sampleEntries()) {
        for (const auto family : platform::allWidgetFamilies) {
            for (const auto format : formatsOfWords) {
                const std::string drawn = answer(sample.entry, family, format, Redaction::placeholder);
                for (const char* secret : {"velaapp", "sample:", "<a ", "<text", "<image",
                                           "\"text\":", "Shop", "orthwind", "Sign", "track", "percent"})
                    EXPECT_EQ(drawn.find(secret), std::string::npos)
                        << secret << " in " << sample.name << ' ' << description(family);
            }
            EXPECT_EQ(answer(sample.entry, family, DrawingFormat::text, Redaction::placeholder),
                      "Not yet known\n");
            const Read read =
                readBy(answer(sample.entry, family, DrawingFormat::svg, Redaction::placeholder));
            EXPECT_EQ(read.role, "img");
            EXPECT_EQ(read.description, "Not yet known");
            EXPECT_THAT(read.parts, IsEmpty());
        }
    }
}

TEST(RedactedDrawing, LooksTheSameHoweverFarAPackageIs) {
    const auto drawn = [](float progress, Redaction redaction) {
        const auto entry = drawing_tests::entry(
            widget::LoggedIn{drawing_tests::packages({{"Shop",
                                                       drawing_tests::url("velaapp://order/1"),
                                                       progress,
                                                       std::nullopt,
                                                       std::nullopt,
                                                       {"In transit"}}})});
        return answer(entry, platform::WidgetFamily::systemSmall, DrawingFormat::png, redaction);
    };
    EXPECT_EQ(drawn(0, Redaction::placeholder), drawn(0.7F, Redaction::placeholder));
    EXPECT_NE(drawn(0, Redaction::none), drawn(0.7F, Redaction::none));
}

TEST(RedactedDrawing, ShowsButtonsAsBlocks) {
    const std::string drawn =
        answer(drawing_tests::sampleEntry("NotLoggedIn"), platform::WidgetFamily::systemMedium,
               DrawingFormat::tree, Redaction::placeholder);
    EXPECT_EQ(drawn.find("BrandColor"), std::string::npos);
    EXPECT_EQ(drawn.find("\"white\""), std::string::npos);
    EXPECT_NE(drawn.find("RedactedColor"), std::string::npos);
}

TEST(RedactedDrawing, HasABarForEachLineOfAText) {
    drawing_tests::SamplePictures loader;
    widget::ScaledPictures pictures(loader, 3);
    const auto entry = drawing_tests::sampleEntry("Placeholder");
    const PangoTextMeasurer measurer(FONTS_CONFIGURATION);
    const auto list = [&](Redaction redaction) {
        return widget::displayList({.entry = entry,
                                    .family = platform::WidgetFamily::systemMedium,
                                    .appearance = {.redaction = redaction}},
                                   pictures, measurer);
    };
    std::vector<Rect> texts, bars;
    for (const DisplayItem& item : list(Redaction::none).items) {
        const auto* text = std::get_if<TextItem>(&item.kind);
        if (text && text->color != Color::white()) texts.push_back(item.frame);
    }
    for (const DisplayItem& item : list(Redaction::placeholder).items) {
        const auto* bar = std::get_if<RoundedRectangleItem>(&item.kind);
        if (bar && item.frame.size.height < 12 && item.frame.size.width < 100) bars.push_back(item.frame);
    }
    ASSERT_EQ(bars.size(), texts.size());
    for (std::size_t index = 0; index < bars.size(); ++index) {
        EXPECT_NEAR(bars[index].left(), texts[index].left(), 0.5);
        EXPECT_NEAR(bars[index].size.width, texts[index].size.width, 0.5);
        EXPECT_GT(bars[index].top(), texts[index].top());
        EXPECT_LT(bars[index].bottom(), texts[index].bottom());
    }
}

}  // namespace
