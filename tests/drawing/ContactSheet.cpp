// SPDX-License-Identifier: Apache-2.0

// vela-contact-sheet FOLDER [SCALE]: draws every sample entry in every family and scheme, for the eye. Writes
// STATE-FAMILY-SCHEME.png and, on one sheet for each scheme, all of them side by side.

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iostream>

#include "drawing/Image/Image.hpp"
#include "drawing/Writers/PNGWriter.hpp"
#include "tests/drawing/SampleEntries.hpp"
#include "widget/EntryDrawing.hpp"

using namespace drawing;

namespace {

void write(const std::filesystem::path& file, const std::string& bytes) {
    std::ofstream(file, std::ios::binary) << bytes;
}

/// Both are premultiplied.
std::uint32_t over(std::uint32_t front, std::uint32_t back) {
    const std::uint32_t rest = 255 - (front >> 24);
    std::uint32_t mixed = 0;
    for (int shift = 0; shift < 32; shift += 8) {
        const std::uint32_t value = (front >> shift & 0xFF) + (back >> shift & 0xFF) * rest / 255;
        mixed |= std::min(value, 255u) << shift;
    }
    return mixed;
}

void place(Bitmap& sheet, const Bitmap& picture, int left, int top) {
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            std::uint32_t& pixel = sheet.row(top + y)[left + x];
            pixel = over(picture.row(y)[x], pixel);
        }
    }
}

/// Three entries to a sheet: what is seen at once at full size.
constexpr std::size_t entriesOnSheet = 3;
constexpr double gap = 16;

struct Cell {
    platform::WidgetFamily family;
    Point origin;
};
constexpr std::array cells = {
    Cell{platform::WidgetFamily::systemSmall, {gap, gap}},
    Cell{platform::WidgetFamily::systemMedium, {158 + 2 * gap, gap}},
    Cell{platform::WidgetFamily::systemLarge, {158 + 338 + 3 * gap, gap}},
    Cell{platform::WidgetFamily::accessoryRectangular, {158 + 2 * gap, 200}},
    Cell{platform::WidgetFamily::accessoryInline, {158 + 2 * gap, 300}},
};
constexpr Size entrySize{158 + 338 + 338 + 4 * gap, 354 + gap};

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::cerr << "usage: vela-contact-sheet FOLDER [SCALE]\n";
        return 2;
    }
    const std::filesystem::path folder = argv[1];
    const double scale = argc > 2 ? std::stod(argv[2]) : 2;
    const auto pixels = [&](double points) { return static_cast<int>(std::lround(points * scale)); };
    std::filesystem::create_directories(folder);
    drawing_tests::SamplePictures pictures;
    const auto samples = drawing_tests::sampleEntries();

    for (const ColorScheme scheme : {ColorScheme::light, ColorScheme::dark}) {
        const bool isDark = scheme == ColorScheme::dark;
        const std::string schemeName = isDark ? "dark" : "light";
        for (std::size_t begin = 0; begin < samples.size(); begin += entriesOnSheet) {
            const std::size_t end = std::min(samples.size(), begin + entriesOnSheet);
            Bitmap sheet = Bitmap::transparent(
                {pixels(entrySize.width), pixels(entrySize.height * static_cast<double>(end - begin) + gap)});
            std::fill(sheet.pixels.begin(), sheet.pixels.end(), isDark ? 0xFF3A4658u : 0xFFC9D3E0u);
            for (std::size_t index = begin; index < end; ++index) {
                for (const auto& [family, origin] : cells) {
                    const std::string png = widget::draw({.entry = samples[index].entry,
                                                          .family = family,
                                                          .colorScheme = scheme,
                                                          .scale = scale},
                                                         pictures);
                    const std::string name = samples[index].name + "-" + std::string(description(family));
                    write(folder / (name + "-" + schemeName + ".png"), png);
                    place(sheet, *decodedImage(png, imageHeader(png)->size), pixels(origin.x),
                          pixels(origin.y + entrySize.height * static_cast<double>(index - begin)));
                }
            }
            const std::string number = std::to_string(begin / entriesOnSheet + 1);
            write(folder / ("sheet-" + schemeName + "-" + number + ".png"), encodedPNG(sheet));
        }
    }
}
