// SPDX-License-Identifier: Apache-2.0

#pragma once

// A colour as a view names it: by its role or its place in the asset catalogue, so that one view serves both
// appearances. A plain value.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "drawing/Image/AssetCatalogue.hpp"
#include "drawing/Image/ColorScheme.hpp"
#include "drawing/Image/Contrast.hpp"

namespace drawing {

class Color {
  public:
    /// A colour of the asset catalogue.
    static Color asset(std::string name) { return Color(Asset{std::move(name)}); }
    /// What text is written in.
    static Color primary() { return Color(Role::primary); }
    static Color white() { return Color(Role::white); }
    static Color sRGB(std::uint8_t red, std::uint8_t green, std::uint8_t blue) {
        return sRGB(RGBA{red, green, blue});
    }
    static Color sRGB(RGBA components) { return Color(components); }

    /// The asset's name, "primary", "white" or "#RRGGBB".
    std::string name() const;

    /// Nothing when the catalogue does not have the asset.
    std::optional<RGBA> resolved(ColorScheme scheme, const AssetCatalogue& catalogue,
                                 Contrast contrast = Contrast::standard) const;

    bool operator==(const Color&) const = default;

  private:
    enum class Role { primary, white };
    struct Asset {
        std::string name;
        bool operator==(const Asset&) const = default;
    };
    using Source = std::variant<Role, Asset, RGBA>;

    explicit Color(Source source) : source_(std::move(source)) {}

    Source source_;
};

/// "#RRGGBB" in either case; nothing for any other text.
std::optional<RGBA> colorWithHexadecimal(std::string_view text);
std::string hexadecimal(RGBA color);

}  // namespace drawing
