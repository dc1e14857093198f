// SPDX-License-Identifier: Apache-2.0

// vela-assets SOURCES OUTPUT: compiles colors.json and images.json with its drawings, in the folder SOURCES,
// into the file that drawing/Image/AssetCatalogue reads. Runs while the programs are built.
//
// The file: "VelaAssets1\n"; a 32-bit length and that many bytes of JSON, the index; the rasters, 32 bits to
// a pixel as in a bitmap. Numbers are in the byte order of the machine it is built for. The index:
//
//   {"colors": {NAME: {"light": "#RRGGBBAA", "dark": ..., "highContrast": {"light", "dark"}}},    optional
//    "images": {NAME: {"width", "height",                       points
//                      "paths": [{"fill", "data"}],
//                      "rasters": [{"width", "height", "offset"}],      pixels, by growing size; bytes into
//                                                                       the rasters
//                      "solidRasters"}}}                                with every path opaque; absent where
//                                                                       they all are

#include <algorithm>
#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <boost/json/value.hpp>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>
#include <string>

#include "assets/Drawing.hpp"

namespace {

namespace json = boost::json;
using std::filesystem::path;

std::string contents(const path& file) {
    std::ifstream input(file, std::ios::binary);
    std::string bytes{std::istreambuf_iterator<char>(input), {}};
    if (!input.is_open() || input.bad()) throw std::runtime_error(file.string() + " cannot be read");
    return bytes;
}

json::value parsed(const path& file) {
    try {
        return json::parse(contents(file));
    } catch (const boost::system::system_error& error) {
        throw std::runtime_error(file.string() + ": " + error.code().message());
    }
}

assets::Drawing drawingFrom(const path& file) {
    try {
        return assets::drawingFrom(contents(file));
    } catch (const std::invalid_argument& error) {
        throw std::runtime_error(file.string() + ": " + error.what());
    }
}

/// Every height in points at every scale, once.
std::set<int> pixelHeights(const json::value& pointHeights, const json::value& scales) {
    std::set<int> heights;
    for (const auto& points : pointHeights.as_array())
        for (const auto& scale : scales.as_array())
            heights.insert(points.to_number<int>() * scale.to_number<int>());
    return heights;
}

assets::Drawing inOneTone(assets::Drawing drawing) {
    for (assets::Path& path : drawing.paths) path.fill.replace(path.fill.size() - 2, 2, "FF");
    return drawing;
}

json::array compiledRasters(const assets::Drawing& drawing, const std::set<int>& heights,
                            std::string& rasters) {
    json::array sizes;
    for (const int height : heights) {
        const int width = int(std::lround(height * drawing.width / drawing.height));
        const auto bitmap = assets::rasterised(drawing, {width, height});
        sizes.push_back({{"width", width}, {"height", height}, {"offset", rasters.size()}});
        rasters.append(reinterpret_cast<const char*>(bitmap.pixels.data()),
                       bitmap.pixels.size() * sizeof bitmap.pixels[0]);
    }
    return sizes;
}

json::value compiledImage(const assets::Drawing& drawing, const std::set<int>& heights,
                          std::string& rasters) {
    json::array paths;
    for (const auto& each : drawing.paths)
        paths.push_back({{"fill", each.fill}, {"data", assets::pathData(each.steps)}});
    json::object image = {{"width", drawing.width}, {"height", drawing.height}, {"paths", paths}};
    image["rasters"] = compiledRasters(drawing, heights, rasters);
    const auto isOpaque = [](const assets::Path& path) { return path.fill.ends_with("FF"); };
    if (!std::all_of(drawing.paths.begin(), drawing.paths.end(), isOpaque))
        image["solidRasters"] = compiledRasters(inOneTone(drawing), heights, rasters);
    return image;
}

std::string compiled(const path& sources) {
    const json::value description = parsed(sources / "images.json");
    json::object images;
    std::string rasters;
    for (const auto& [name, image] : description.at("images").as_object()) {
        const auto drawing = drawingFrom(sources / path(std::string(image.at("drawing").as_string())));
        const auto heights = pixelHeights(image.at("pointHeights"), description.at("scales"));
        images[name] = compiledImage(drawing, heights, rasters);
    }
    const std::string index =
        json::serialize(json::value{{"colors", parsed(sources / "colors.json")}, {"images", images}});
    const auto length = std::uint32_t(index.size());
    return "VelaAssets1\n" + std::string(reinterpret_cast<const char*>(&length), sizeof length) + index +
           rasters;
}

/// Whole or not at all: a running host may be reading the file.
void replace(const path& file, const std::string& bytes) {
    const path unfinished = file.string() + ".new";
    std::ofstream output(unfinished, std::ios::binary);
    if (!(output << bytes).flush()) throw std::runtime_error(unfinished.string() + " cannot be written");
    output.close();
    std::filesystem::rename(unfinished, file);
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 3) {
        std::fprintf(stderr, "Usage: vela-assets SOURCES OUTPUT\n");
        return 2;
    }
    try {
        replace(arguments[2], compiled(arguments[1]));
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "vela-assets: %s\n", error.what());
        return 1;
    }
}
