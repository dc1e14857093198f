// SPDX-License-Identifier: Apache-2.0

#include "drawing/Image/AssetCatalogue.hpp"

#include <algorithm>
#include <boost/json/parse.hpp>
#include <boost/json/value.hpp>
#include <charconv>
#include <fstream>
#include <stdexcept>

#include "drawing/Image/Image.hpp"
#include "platform/Bundle/Bundle.hpp"
#include "platform/Log/Logger.hpp"

namespace drawing {

namespace {

namespace json = boost::json;

constexpr std::string_view magic = "VelaAssets1\n";
constexpr std::uint32_t longestIndex = 1u << 20;

/// "#RRGGBB" or "#RRGGBBAA".
RGBA colorFrom(std::string_view text) {
    std::uint32_t value = 0;
    const bool opaque = text.size() == 7;
    const auto [end, error] = std::from_chars(text.data() + std::min<std::size_t>(1, text.size()),
                                              text.data() + text.size(), value, 16);
    if ((!opaque && text.size() != 9) || text.front() != '#' || error != std::errc() ||
        end != text.data() + text.size())
        throw std::invalid_argument("a colour that is not #RRGGBB or #RRGGBBAA");
    if (opaque) value = value << 8 | 255;
    return {std::uint8_t(value >> 24), std::uint8_t(value >> 16), std::uint8_t(value >> 8),
            std::uint8_t(value)};
}

std::string_view text(const json::value& value) {
    return value.as_string();
}

PixelSize pixelSizeFrom(const json::value& value) {
    const PixelSize size = {value.at("width").to_number<int>(), value.at("height").to_number<int>()};
    if (std::min(size.width, size.height) < 1 || std::max(size.width, size.height) > ImageBounds::wantedSide)
        throw std::invalid_argument("a raster without a usable size");
    return size;
}

/// In points.
double sideFrom(const json::value& value) {
    const double side = value.to_number<double>();
    if (!(side > 0 && side <= ImageBounds::wantedSide))
        throw std::invalid_argument("a drawing without a usable size");
    return side;
}

VectorImage vectorFrom(const json::value& value) {
    VectorImage image = {sideFrom(value.at("width")), sideFrom(value.at("height")), {}};
    for (const auto& path : value.at("paths").as_array())
        image.paths.push_back({colorFrom(text(path.at("fill"))), std::string(text(path.at("data")))});
    return image;
}

VectorImage inOneTone(VectorImage image) {
    for (FilledPath& path : image.paths) path.fill.alpha = 255;
    return image;
}

}  // namespace

const AssetCatalogue& AssetCatalogue::main() {
    static const AssetCatalogue catalogue(platform::Bundle::main().resourceFolder() / fileName);
    return catalogue;
}

AssetCatalogue::AssetCatalogue(std::filesystem::path file) : file_(std::move(file)) {
    try {
        open();
    } catch (const std::exception& error) {
        colors_.clear();
        images_.clear();
        platform::Logger::standard().log(platform::LogLevel::error,
                                         "The asset catalogue %@ cannot be read: %@",
                                         {{file_.native()}, {error.what()}});
    }
}

void AssetCatalogue::open() {
    std::ifstream input(file_, std::ios::binary);
    char begin[magic.size()] = {};
    std::uint32_t length = 0;
    input.read(begin, sizeof begin).read(reinterpret_cast<char*>(&length), sizeof length);
    if (!input || std::string_view(begin, sizeof begin) != magic || length > longestIndex)
        throw std::invalid_argument("it is not a catalogue");
    std::string index(length, '\0');
    if (!input.read(index.data(), length)) throw std::invalid_argument("it is cut short");
    rastersBegin_ = sizeof begin + sizeof length + length;

    const json::value catalogue = json::parse(index);
    const auto schemesFrom = [](const json::value& value) {
        return Schemes{colorFrom(text(value.at("light"))), colorFrom(text(value.at("dark")))};
    };
    for (const auto& [name, value] : catalogue.at("colors").as_object()) {
        const json::value* increased = value.as_object().if_contains("highContrast");
        colors_[name] = {schemesFrom(value), schemesFrom(increased ? *increased : value)};
    }
    for (const auto& [name, value] : catalogue.at("images").as_object()) {
        const auto rastersFrom = [](const json::value& rasters) {
            std::vector<Raster> list;
            for (const auto& raster : rasters.as_array())
                list.push_back({pixelSizeFrom(raster), raster.at("offset").to_number<std::uint64_t>()});
            if (list.empty()) throw std::invalid_argument("a drawing without rasters");
            return list;
        };
        const json::value* solid = value.as_object().if_contains("solidRasters");
        const Variant asDrawn = {vectorFrom(value), rastersFrom(value.at("rasters"))};
        images_[name] = {asDrawn, {inOneTone(asDrawn.vector), solid ? rastersFrom(*solid) : asDrawn.rasters}};
    }
}

std::optional<RGBA> AssetCatalogue::color(std::string_view name, ColorScheme scheme,
                                          Contrast contrast) const {
    const auto found = colors_.find(name);
    if (found == colors_.end()) {
        noteMissing("colour", name);
        return {};
    }
    const Schemes& schemes =
        contrast == Contrast::increased ? found->second.increased : found->second.standard;
    return scheme == ColorScheme::dark ? schemes.dark : schemes.light;
}

const VectorImage* AssetCatalogue::vector(std::string_view name, Tones tones) const {
    const Variant* image = find(name, tones);
    return image ? &image->vector : nullptr;
}

std::optional<Bitmap> AssetCatalogue::image(std::string_view name, int scale) const {
    const Variant* image = find(name, Tones::asDrawn);
    if (!image) return {};
    if (scale < 1 || scale > ImageBounds::wantedSide) return {};
    return this->image(name, PixelSize{int(image->vector.width * scale), int(image->vector.height * scale)});
}

std::optional<Bitmap> AssetCatalogue::image(std::string_view name, PixelSize wanted, Tones tones) const {
    const Variant* image = find(name, tones);
    if (!image || std::min(wanted.width, wanted.height) < 1 ||
        std::max(wanted.width, wanted.height) > ImageBounds::wantedSide)
        return {};
    const auto covering =
        std::find_if(image->rasters.begin(), image->rasters.end(), [&](const Raster& raster) {
            return raster.size.width >= wanted.width && raster.size.height >= wanted.height;
        });
    auto bitmap = read(covering == image->rasters.end() ? image->rasters.back() : *covering);
    if (!bitmap) {
        noteMissing("image", name);
        return {};
    }
    return bitmap->size == wanted ? std::move(bitmap) : resized(*bitmap, wanted);
}

const AssetCatalogue::Variant* AssetCatalogue::find(std::string_view name, Tones tones) const {
    const auto found = images_.find(name);
    if (found != images_.end()) return tones == Tones::solid ? &found->second.solid : &found->second.asDrawn;
    noteMissing("image", name);
    return nullptr;
}

std::optional<Bitmap> AssetCatalogue::read(const Raster& raster) const {
    Bitmap bitmap = Bitmap::transparent(raster.size);
    std::ifstream input(file_, std::ios::binary);
    input.seekg(std::streamoff(rastersBegin_ + raster.offset));
    const auto length = std::streamsize(bitmap.pixels.size() * sizeof(std::uint32_t));
    if (!input.read(reinterpret_cast<char*>(bitmap.pixels.data()), length)) return {};
    return bitmap;
}

void AssetCatalogue::noteMissing(std::string_view kind, std::string_view name) const {
    const std::lock_guard lock(mutex_);
    if (!missing_.emplace(name).second) return;
    platform::Logger::standard().log(platform::LogLevel::error, "No %@ named '%@' in the asset catalogue",
                                     {{kind}, {name}});
}

}  // namespace drawing
