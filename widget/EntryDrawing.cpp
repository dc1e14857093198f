#include "widget/EntryDrawing.hpp"

#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "platform/Bundle/Bundle.hpp"
#include "platform/Image/AssetCatalogue.hpp"
#include "platform/Image/Image.hpp"
#include "platform/Image/PNGWriter.hpp"
#include "platform/Painters/CairoPainter.hpp"
#include "platform/Painters/Ink.hpp"
#include "platform/Painters/PangoTextMeasurer.hpp"
#include "platform/Painters/SVGPainter.hpp"
#include "platform/SwiftUI/DisplayList.hpp"
#include "platform/SwiftUI/DisplayListJSON.hpp"
#include "platform/URLSession/URLSession.hpp"
#include "presentation/Wording.hpp"
#include "widget/TrackingWidgetEntryView.hpp"

namespace widget {

using namespace platform;

namespace {

constexpr const char* fontsConfigurationFile = "fonts.conf";

/// Where a family is shown: on a home screen, on the widget's own ground, or on a lock screen's.
enum class Surface { homeScreen, lockScreen };

Surface surface(WidgetFamily family) {
    switch (family) {
        case WidgetFamily::systemSmall:
        case WidgetFamily::systemMedium:
        case WidgetFamily::systemLarge:
        case WidgetFamily::systemExtraLarge:
        case WidgetFamily::other: return Surface::homeScreen;
        case WidgetFamily::accessoryCircular:
        case WidgetFamily::accessoryRectangular:
        case WidgetFamily::accessoryInline: return Surface::lockScreen;
    }
    return Surface::homeScreen;
}

WidgetContainer container(const EntryDrawing& drawing) {
    WidgetContainer container{drawing.family, drawing.colorScheme,
                              drawing.size.value_or(referenceSize(drawing.family))};
    container.scale = drawing.scale;
    switch (surface(drawing.family)) {
        case Surface::homeScreen:
            container.cornerRadius = 22;
            container.contentMargin = 16;
            break;
        case Surface::lockScreen: container.background = WidgetContainer::Background::removed; break;
    }
    return container;
}

std::optional<RGBA> tint(const EntryDrawing& drawing) {
    if (surface(drawing.family) == Surface::homeScreen) return std::nullopt;
    const std::optional<RGBA> given = drawing.tint ? colorWithHexadecimal(*drawing.tint) : std::nullopt;
    return given ? given : Color::primary().resolved(drawing.colorScheme, AssetCatalogue::main());
}

class NetworkPictures final : public PictureLoader {
  public:
    std::optional<std::string> read(const URL& url) override {
        try {
            return readWholeResource(url, ImageBounds::bytes);
        } catch (const URLError&) {
            return std::nullopt;
        }
    }
};

/// Measurers that know the fonts already, lent to one drawing each: a drawing that waits for its pictures
/// keeps none of the others waiting.
class Measurers {
  public:
    class Loan {
      public:
        explicit Loan(Measurers& owner) : owner_(owner), measurer_(owner.take()) {}
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

    std::unique_ptr<PangoTextMeasurer> take() {
        const std::lock_guard lock(mutex_);
        if (idle_.empty()) {
            return std::make_unique<PangoTextMeasurer>(Bundle::main().resourceFolder() /
                                                       fontsConfigurationFile);
        }
        std::unique_ptr<PangoTextMeasurer> measurer = std::move(idle_.back());
        idle_.pop_back();
        return measurer;
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

/// A widget is never opaque: its corners are cut, or it has no ground. A band at a time, since the whole
/// would be several megabytes.
std::string paintedPNG(const DisplayList& list, double scale, const Ink& ink,
                       const PangoTextMeasurer& measurer) {
    PNGWriter writer(paintedSize(list, scale), PNGWriter::Channels::rgba, static_cast<int>(scale));
    paintBands(list, scale, ink, measurer, [&](const Bitmap& band) { writer.push(band); });
    return std::move(writer).result();
}

}  // namespace

Size referenceSize(WidgetFamily family) {
    switch (family) {
        case WidgetFamily::systemMedium: return {338, 158};
        case WidgetFamily::systemLarge: return {338, 354};
        case WidgetFamily::accessoryRectangular: return {160, 72};
        case WidgetFamily::accessoryInline: return {234, 26};
        case WidgetFamily::systemSmall:
        case WidgetFamily::systemExtraLarge:
        case WidgetFamily::accessoryCircular:
        case WidgetFamily::other: return {158, 158};
    }
    return {};
}

std::string draw(const EntryDrawing& drawing, PictureLoader& loader) {
    ScaledPictures pictures(loader, drawing.scale);
    const View view =
        TrackingWidgetEntryView{drawing.entry}.body({drawing.family, drawing.colorScheme, pictures});

    const Measurers::Loan measurer(measurers());
    const DisplayList list = displayList(view, container(drawing), *measurer);
    const Ink ink{AssetCatalogue::main(), tint(drawing)};
    switch (drawing.format) {
        case DrawingFormat::png: return paintedPNG(list, drawing.scale, ink, *measurer);
        case DrawingFormat::svg:
            return paintedSVG(list, std::string(presentation::Wording::widgetName), ink, *measurer);
        case DrawingFormat::tree: return displayListJSON(list);
    }
    return {};
}

std::string draw(const EntryDrawing& drawing) {
    NetworkPictures pictures;
    return draw(drawing, pictures);
}

}  // namespace widget
