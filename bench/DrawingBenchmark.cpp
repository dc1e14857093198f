// SPDX-License-Identifier: Apache-2.0

// From an entry to the bytes of a picture at scale 3, as a whole and by its parts. Pictures are in memory,
// encoded, and decoded by every drawing, as a new entry's are.

#include <benchmark/benchmark.h>

#include <cstdlib>

#include "drawing/Image/Image.hpp"
#include "drawing/Writers/JPEGFile.hpp"
#include "drawing/Writers/PNGFile.hpp"
#include "drawing/Writers/PNGWriter.hpp"
#include "tests/drawing/Photograph.hpp"
#include "tests/drawing/SampleEntries.hpp"
#include "widget/EntryDrawing.hpp"

namespace {

using platform::WidgetFamily;
using widget::DrawingFormat;
using widget::DrawingRequest;

/// A merchant's mark and a product's photograph, of the sizes that a server gives for a widget.
class PicturesInMemory final : public drawing::PictureLoader {
  public:
    std::optional<std::string> read(const platform::URL& url) override {
        return url.absoluteString().ends_with("mark") ? mark_ : photograph_;
    }

  private:
    std::string mark_ = drawing::pngFile(drawing::painted({192, 192}, [](int x, int y) {
        const bool isRing = std::abs((x - 96) * (x - 96) + (y - 96) * (y - 96) - 2500) < 900;
        return isRing ? drawing::Pixel{255, 255, 255} : drawing::Pixel{226, 94, std::uint8_t(62 + y / 4)};
    }));
    std::string photograph_ = drawing::jpegFile(tests::photograph({192, 144}));
};

class NoPictures final : public drawing::PictureLoader {
  public:
    std::optional<std::string> read(const platform::URL&) override { return std::nullopt; }
};

DrawingRequest drawing(WidgetFamily family, DrawingFormat format = DrawingFormat::png) {
    std::vector<presentation::StoredPackage::Values> packages;
    for (const std::string number : {"1", "2", "3", "4", "5", "6", "7", "8", "9", "10"}) {
        packages.push_back({.shopName = "Fathom & Co. " + number,
                            .deepLinkingUrl = drawing_tests::url("velaapp://order/" + number),
                            .progress = 0.6f,
                            .shopImage = drawing_tests::url("sample:" + number + "-mark"),
                            .productImage = drawing_tests::url("sample:" + number + "-photograph"),
                            .statusText = {"Arriving tomorrow", "Customs cleared in Rotterdam"}});
    }
    return {.entry = drawing_tests::entry(widget::LoggedIn{drawing_tests::packages(std::move(packages))}),
            .family = family,
            .format = format};
}

void draw(benchmark::State& state, WidgetFamily family, DrawingFormat format,
          drawing::PictureLoader& pictures) {
    const DrawingRequest wanted = drawing(family, format);
    std::size_t bytes = 0;
    for (auto _ : state) bytes = widget::draw(wanted, pictures).size();
    state.counters["bytes"] = double(bytes);
}

void drawMedium(benchmark::State& state) {
    PicturesInMemory pictures;
    draw(state, WidgetFamily::systemMedium, DrawingFormat::png, pictures);
}
BENCHMARK(drawMedium)->Unit(benchmark::kMillisecond);

void drawMediumWithoutPictures(benchmark::State& state) {
    NoPictures none;
    draw(state, WidgetFamily::systemMedium, DrawingFormat::png, none);
}
BENCHMARK(drawMediumWithoutPictures)->Unit(benchmark::kMillisecond);

void drawLarge(benchmark::State& state) {
    PicturesInMemory pictures;
    draw(state, WidgetFamily::systemLarge, DrawingFormat::png, pictures);
}
BENCHMARK(drawLarge)->Unit(benchmark::kMillisecond);

void drawLargeAsSVG(benchmark::State& state) {
    PicturesInMemory pictures;
    draw(state, WidgetFamily::systemLarge, DrawingFormat::svg, pictures);
}
BENCHMARK(drawLargeAsSVG)->Unit(benchmark::kMillisecond);

/// Views, layout and the display list's text: nothing is painted.
void layOutMedium(benchmark::State& state) {
    NoPictures none;
    draw(state, WidgetFamily::systemMedium, DrawingFormat::tree, none);
}
BENCHMARK(layOutMedium)->Unit(benchmark::kMillisecond);

void layOutLarge(benchmark::State& state) {
    NoPictures none;
    draw(state, WidgetFamily::systemLarge, DrawingFormat::tree, none);
}
BENCHMARK(layOutLarge)->Unit(benchmark::kMillisecond);

/// A drawn medium widget, read back, so that the writer alone is timed.
void writePNG(benchmark::State& state) {
    PicturesInMemory pictures;
    const std::string file = widget::draw(drawing(WidgetFamily::systemMedium), pictures);
    const auto header = drawing::imageHeader(file);
    const auto bitmap = header ? drawing::decodedImage(file, header->size) : std::nullopt;
    if (!bitmap) return state.SkipWithError("the widget cannot be read back");
    for (auto _ : state) benchmark::DoNotOptimize(drawing::encodedPNG(*bitmap, 3));
}
BENCHMARK(writePNG)->Unit(benchmark::kMillisecond);

/// Twelve megapixels, reduced for a place of 44 points.
void decodePhotograph(benchmark::State& state) {
    const std::string file = drawing::jpegFile(tests::photograph({4000, 3000}));
    for (auto _ : state) benchmark::DoNotOptimize(drawing::decodedImage(file, {132, 99}));
}
BENCHMARK(decodePhotograph)->Unit(benchmark::kMillisecond);

}  // namespace
