// SPDX-License-Identifier: Apache-2.0

#include "widget/EntryDrawing.hpp"

#include <algorithm>
#include <array>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "drawing/Image/AssetCatalogue.hpp"
#include "drawing/Image/ContrastRatio.hpp"
#include "drawing/Layout/DisplayList.hpp"
#include "drawing/Painters/CairoPainter.hpp"
#include "drawing/Painters/DisplayListJSON.hpp"
#include "drawing/Painters/Ink.hpp"
#include "drawing/Painters/PangoTextMeasurer.hpp"
#include "drawing/Painters/Redaction.hpp"
#include "drawing/Painters/SVGPainter.hpp"
#include "drawing/Writers/PNGWriter.hpp"
#include "platform/Bundle/Bundle.hpp"
#include "platform/Date/Ambient.hpp"
#include "presentation/Wording.hpp"
#include "widget/EntryLayout.hpp"
#include "widget/Ground.hpp"
#include "widget/NetworkPictures.hpp"
#include "widget/PictureMemory.hpp"
#include "widget/ReadingDirection.hpp"

namespace widget {

using namespace drawing;

namespace {

constexpr const char* fontsConfigurationFile = "fonts.conf";

/// Where a family is shown: on a home screen, on the widget's own ground, or on a lock screen's.
enum class Surface { homeScreen, lockScreen };

Surface surface(platform::WidgetFamily family) {
    switch (family) {
        case platform::WidgetFamily::systemSmall:
        case platform::WidgetFamily::systemMedium:
        case platform::WidgetFamily::systemLarge:
        case platform::WidgetFamily::systemExtraLarge:
        case platform::WidgetFamily::other: return Surface::homeScreen;
        case platform::WidgetFamily::accessoryCircular:
        case platform::WidgetFamily::accessoryRectangular:
        case platform::WidgetFamily::accessoryInline: return Surface::lockScreen;
    }
    return Surface::homeScreen;
}

/// On a ground of its own, as far as the words keep the room that they need.
double marginOnLockScreen(platform::WidgetFamily family, Size size) {
    const double wanted = family == platform::WidgetFamily::accessoryInline ? 3 : 6;
    const Size least = DrawingRequest::smallestSize(family);
    return std::clamp(std::min(size.width - least.width, size.height - least.height) / 2, 0.0, wanted);
}

WidgetContainer container(const DrawingRequest& request) {
    WidgetContainer container{request.family, request.colorScheme,
                              request.size.value_or(referenceSize(request.family))};
    container.scale = request.scale;
    container.layoutDirection = request.appearance.layoutDirection;
    switch (surface(request.family)) {
        case Surface::homeScreen:
            container.cornerRadius = 22;
            container.contentMargin = 16;
            break;
        case Surface::lockScreen:
            if (request.appearance.transparency == Transparency::reduced) {
                container.cornerRadius = 10;
                container.contentMargin = marginOnLockScreen(request.family, container.size);
            } else {
                container.background = WidgetContainer::Background::removed;
            }
            break;
    }
    return container;
}

/// Whether even the quiet words read well on a ground of their own, and what is done on its track, as
/// WCAG 2.2 counts in its criteria 1.4.3, 1.4.6 and 1.4.11.
bool readsWell(const Ink& ink, ColorScheme colorScheme) {
    const bool isIncreased = ink.contrast == Contrast::increased;
    const std::optional<RGBA> words = ink.color(Color::asset("TextTertiaryColor"), colorScheme);
    const std::optional<RGBA> track = ink.color(Color::asset("ProgressBarBackgroundColor"), colorScheme);
    const std::optional<RGBA> done = ink.color(Color::primary(), colorScheme);
    if (!words || !track || !done || (isIncreased && contrastRatio(*done, *track) < 3)) return false;
    const Ground behind = ground(colorScheme);
    return std::ranges::all_of(std::array{behind.top, behind.bottom}, [&](RGBA color) {
        return contrastRatio(*words, color) >= (isIncreased ? 7 : 4.5) &&
               contrastRatio(*track, color) >= (isIncreased ? 4.5 : 3);
    });
}

bool showsPictures(const DrawingRequest& request) {
    return request.format != DrawingFormat::text && request.appearance.redaction == Redaction::none &&
           namesPictures(request.entry);
}

/// Every picture is its placeholder.
class NoPictures final : public PictureLoader {
  public:
    std::optional<std::string> read(const platform::URL&) override { return std::nullopt; }
};

PictureMemory& pictureMemory() {
    static PictureMemory* const memory = new PictureMemory;  // outlives every thread that draws
    return *memory;
}

std::optional<platform::Deadline> pictureDeadline(const DrawingRequest& request) {
    return request.pictureBudget ? std::optional(platform::Deadline(*request.pictureBudget)) : std::nullopt;
}

/// Measurers that know the fonts already, lent to one drawing each: a drawing that waits for its pictures
/// keeps none of the others waiting.
class Measurers {
  public:
    class Loan {
      public:
        Loan(Measurers& owner, std::vector<std::string> languages)
            : owner_(owner), measurer_(owner.take(std::move(languages))) {}
        ~Loan() { owner_.giveBack(std::move(measurer_)); }
        Loan(const Loan&) = delete;
        Loan& operator=(const Loan&) = delete;
        const PangoTextMeasurer& operator*() const { return *measurer_; }

      private:
        Measurers& owner_;
        std::unique_ptr<PangoTextMeasurer> measurer_;
    };

  private:
    /// Fonts take a few megabytes: no more than one stays for the next drawing.
    static constexpr std::size_t mostKept = 1;

    std::unique_ptr<PangoTextMeasurer> take(std::vector<std::string> languages) {
        const std::lock_guard lock(mutex_);
        std::unique_ptr<PangoTextMeasurer> measurer;
        if (!idle_.empty()) {
            measurer = std::move(idle_.back());
            idle_.pop_back();
        }
        if (measurer && measurer->preferredLanguages() == languages) return measurer;
        return std::make_unique<PangoTextMeasurer>(
            platform::Bundle::main().resourceFolder() / fontsConfigurationFile, std::move(languages));
    }
    void giveBack(std::unique_ptr<PangoTextMeasurer> measurer) {
        const std::lock_guard lock(mutex_);
        if (idle_.size() < mostKept) idle_.push_back(std::move(measurer));
    }

    std::mutex mutex_;
    std::vector<std::unique_ptr<PangoTextMeasurer>> idle_;
};

Measurers& measurers() {
    static Measurers* const measurers = new Measurers;  // outlives every thread that draws
    return *measurers;
}

std::string spokenLines(const DisplayList& list) {
    std::string lines;
    for (const SpokenPart& part : list.spoken) lines += part.words + '\n';
    return lines;
}

/// A widget is never opaque: its corners are cut, or it has no ground. A band at a time, since the whole
/// would be several megabytes.
std::string paintedPNG(const DisplayList& list, double scale, const Ink& ink,
                       const PangoTextMeasurer& measurer) {
    PNGWriter writer(paintedSize(list, scale), PNGWriter::Channels::rgba, static_cast<int>(scale));
    paintBands(list, scale, ink, measurer, [&](const Bitmap& band) { writer.push(band); });
    return std::move(writer).result();
}

}  // namespace

Size referenceSize(platform::WidgetFamily family) {
    switch (family) {
        case platform::WidgetFamily::systemMedium: return {338, 158};
        case platform::WidgetFamily::systemLarge: return {338, 354};
        case platform::WidgetFamily::accessoryRectangular: return {160, 72};
        case platform::WidgetFamily::accessoryInline: return {234, 26};
        case platform::WidgetFamily::systemSmall:
        case platform::WidgetFamily::systemExtraLarge:
        case platform::WidgetFamily::accessoryCircular:
        case platform::WidgetFamily::other: return {158, 158};
    }
    return {};
}

Ink ink(const DrawingRequest& request) {
    Ink ink{AssetCatalogue::main()};
    ink.contrast = request.appearance.contrast;
    if (request.appearance.transparency == Transparency::reduced)
        ink.ground = ground(request.colorScheme).middle;
    if (surface(request.family) == Surface::homeScreen) return ink;
    if (request.tint) ink.tint = colorWithHexadecimal(*request.tint);
    // A tint is the host's, for what is behind the widget there.
    if (!ink.tint || (ink.ground && !readsWell(ink, request.colorScheme)))
        ink.tint = Color::primary().resolved(request.colorScheme, ink.catalogue, ink.contrast);
    return ink;
}

DisplayList displayList(const DrawingRequest& request, ScaledPictures& pictures,
                        const TextMeasurer& measurer) {
    const ViewEnvironment environment{request.family, request.colorScheme, pictures, request.appearance};
    DisplayList list = laidOut(request.entry, environment, container(request), measurer);
    switch (request.appearance.redaction) {
        case Redaction::none: return list;
        case Redaction::placeholder: return redacted(std::move(list), request.scale, measurer);
    }
    return list;
}

std::string draw(const DrawingRequest& request, PictureLoader& loader) {
    NoPictures none;
    ScaledPictures pictures(showsPictures(request) ? loader : none, request.scale);
    const std::vector<std::string> languages = platform::Ambient::current().preferredLanguages();
    const Measurers::Loan measurer(measurers(), languages);
    DrawingRequest directed = request;
    directed.appearance.layoutDirection = layoutDirection(languages);
    const auto placed = [&] { return displayList(directed, pictures, *measurer); };
    // Which pictures are shown is known once the rows have their places, whether or not they have come.
    if (showsPictures(request)) pictures.readTogether(placed);
    const DisplayList list = placed();
    switch (request.format) {
        case DrawingFormat::png: return paintedPNG(list, request.scale, ink(request), *measurer);
        case DrawingFormat::svg:
            return paintedSVG(list, std::string(presentation::Wording::widgetName), ink(request), *measurer);
        case DrawingFormat::tree: return displayListJSON(list);
        case DrawingFormat::text: return spokenLines(list);
    }
    return {};
}

std::string draw(const DrawingRequest& request) {
    switch (request.pictures) {
        case PictureReading::allowed: {
            NetworkPictures pictures(pictureMemory(), pictureDeadline(request));
            return draw(request, pictures);
        }
        case PictureReading::placeholdersOnly: break;
    }
    NoPictures none;
    return draw(request, none);
}

}  // namespace widget
