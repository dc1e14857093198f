// SPDX-License-Identifier: Apache-2.0

#include "drawing/Views/Color.hpp"

#include <array>
#include <cstdio>

#include "platform/Text/ASCII.hpp"

namespace drawing {
namespace {

constexpr RGBA primaryOnLight{28, 28, 30};
constexpr RGBA primaryOnLightInFullContrast{0, 0, 0};
constexpr RGBA primaryOnDark{255, 255, 255};

RGBA primaryText(ColorScheme scheme, Contrast contrast) {
    if (scheme == ColorScheme::dark) return primaryOnDark;
    return contrast == Contrast::increased ? primaryOnLightInFullContrast : primaryOnLight;
}

}  // namespace

std::string Color::name() const {
    if (const Asset* asset = std::get_if<Asset>(&source_)) return asset->name;
    if (const RGBA* components = std::get_if<RGBA>(&source_)) return hexadecimal(*components);
    switch (std::get<Role>(source_)) {
        case Role::primary: return "primary";
        case Role::white: return "white";
    }
    return {};
}

std::optional<RGBA> Color::resolved(ColorScheme scheme, const AssetCatalogue& catalogue,
                                    Contrast contrast) const {
    if (const Asset* asset = std::get_if<Asset>(&source_))
        return catalogue.color(asset->name, scheme, contrast);
    if (const RGBA* components = std::get_if<RGBA>(&source_)) return *components;
    switch (std::get<Role>(source_)) {
        case Role::primary: return primaryText(scheme, contrast);
        case Role::white: return RGBA{255, 255, 255};
    }
    return std::nullopt;
}

std::optional<RGBA> colorWithHexadecimal(std::string_view text) {
    if (text.size() != 7 || text[0] != '#') return std::nullopt;
    std::array<std::uint8_t, 3> channels{};
    for (std::size_t index = 0; index < channels.size(); ++index) {
        const int high = platform::hexadecimalDigit(text[1 + 2 * index]);
        const int low = platform::hexadecimalDigit(text[2 + 2 * index]);
        if (high < 0 || low < 0) return std::nullopt;
        channels[index] = static_cast<std::uint8_t>(16 * high + low);
    }
    return RGBA{channels[0], channels[1], channels[2]};
}

std::string hexadecimal(RGBA color) {
    std::array<char, 8> text{};
    std::snprintf(text.data(), text.size(), "#%02X%02X%02X", color.red, color.green, color.blue);
    return text.data();
}

}  // namespace drawing
