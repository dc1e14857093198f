// SPDX-License-Identifier: Apache-2.0

// vela-contact-sheet FOLDER [SCALE [WAY]]: draws every sample entry in every family and scheme, for the eye,
// in each way in which a person may have things shown: text sizes, contrast, transparency, redacted, from the
// right. Writes WAY-SCHEME-NUMBER.png, some entries to a sheet.

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include "drawing/Image/Image.hpp"
#include "drawing/Writers/PNGWriter.hpp"
#include "tests/drawing/SampleEntries.hpp"
#include "tests/support/FixedAmbient.hpp"
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

struct Way {
    std::string name;
    Appearance appearance = {};
    std::string language = "en";
};

std::vector<Way> ways() {
    std::vector<Way> ways;
    for (const TextSize size : allTextSizes)
        ways.push_back({.name = std::string(name(size)), .appearance = {.textSize = size}});
    ways.push_back({.name = "contrast", .appearance = {.contrast = Contrast::increased}});
    ways.push_back({.name = "opaque", .appearance = {.transparency = Transparency::reduced}});
    ways.push_back({.name = "redacted", .appearance = {.redaction = Redaction::placeholder}});
    ways.push_back({.name = "rightToLeft", .language = "ar"});
    ways.push_back({.name = "rightToLeftEnlarged",
                    .appearance = {.textSize = TextSize::accessibility1},
                    .language = "ar"});
    return ways;
}

class Sheets {
  public:
    Sheets(std::filesystem::path folder, double scale) : folder_(std::move(folder)), scale_(scale) {
        std::filesystem::create_directories(folder_);
    }

    void draw(const Way& way, ColorScheme scheme) {
        const platform::testing::FixedAmbient surroundings({.languages = {way.language}});
        for (std::size_t begin = 0; begin < samples_.size(); begin += entriesOnSheet) {
            const std::size_t end = std::min(samples_.size(), begin + entriesOnSheet);
            Bitmap sheet = Bitmap::transparent(
                {pixels(entrySize.width), pixels(entrySize.height * static_cast<double>(end - begin) + gap)});
            const bool isDark = scheme == ColorScheme::dark;
            std::fill(sheet.pixels.begin(), sheet.pixels.end(), isDark ? 0xFF3A4658u : 0xFFC9D3E0u);
            for (std::size_t index = begin; index < end; ++index)
                place(sheet, samples_[index].entry, way, scheme,
                      entrySize.height * static_cast<double>(index - begin));
            const std::string number = std::to_string(begin / entriesOnSheet + 1);
            write(folder_ / (way.name + "-" + std::string(widget::name(scheme)) + "-" + number + ".png"),
                  encodedPNG(sheet));
        }
    }

  private:
    int pixels(double points) const { return static_cast<int>(std::lround(points * scale_)); }

    void place(Bitmap& sheet, const widget::SimpleEntry& entry, const Way& way, ColorScheme scheme,
               double top) {
        for (const auto& [family, origin] : cells) {
            const std::string png = widget::draw({.entry = entry,
                                                  .family = family,
                                                  .colorScheme = scheme,
                                                  .appearance = way.appearance,
                                                  .scale = scale_},
                                                 pictures_);
            ::place(sheet, *decodedImage(png, imageHeader(png)->size), pixels(origin.x),
                    pixels(origin.y + top));
        }
    }

    std::filesystem::path folder_;
    double scale_;
    drawing_tests::SamplePictures pictures_;
    std::vector<drawing_tests::SampleEntry> samples_ = drawing_tests::sampleEntries();
};

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::cerr << "usage: vela-contact-sheet FOLDER [SCALE [WAY]]\n";
        return 2;
    }
    Sheets sheets(argv[1], argc > 2 ? std::stod(argv[2]) : 2);
    for (const Way& way : ways()) {
        if (argc > 3 && way.name != argv[3]) continue;
        for (const ColorScheme scheme : {ColorScheme::light, ColorScheme::dark}) sheets.draw(way, scheme);
    }
}
