// SPDX-License-Identifier: Apache-2.0

#pragma once

// The named colours and drawings of a bundle, from its compiled "Assets.catalogue". Opening reads a few
// kilobytes; a raster is read when it is asked for. A name that is not there draws nothing and is logged
// once, as on every platform with asset catalogues; so does every name of a catalogue that is missing or
// broken. Safe from any thread.

#include <cstdint>
#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "drawing/Image/Bitmap.hpp"
#include "drawing/Image/ColorScheme.hpp"
#include "drawing/Image/Contrast.hpp"

namespace drawing {

/// A colour in sRGB, not premultiplied.
struct RGBA {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
    std::uint8_t alpha = 255;
    friend bool operator==(const RGBA&, const RGBA&) = default;
};

/// A closed area filled with one colour, by the non-zero winding rule; `data` is an SVG path of absolute M,
/// L, C and Z.
struct FilledPath {
    RGBA fill;
    std::string data;
    friend bool operator==(const FilledPath&, const FilledPath&) = default;
};

/// A drawing in its own coordinates, (0, 0) to (width, height), which are its natural size in points. Back to
/// front.
struct VectorImage {
    double width;
    double height;
    std::vector<FilledPath> paths;
    friend bool operator==(const VectorImage&, const VectorImage&) = default;
};

/// Whether the parts of a drawing that let the ground through do so, or are as opaque as the others.
enum class Tones { asDrawn, solid };

class AssetCatalogue {
  public:
    static constexpr std::string_view fileName = "Assets.catalogue";

    /// The running program's, opened on first use.
    static const AssetCatalogue& main();
    explicit AssetCatalogue(std::filesystem::path file);

    /// White text over "TextTertiaryColor" reads well (4.5:1) over its light value alone, and
    /// "TextTertiaryColor" text on the dark ground over its dark value alone: what fills with it beneath
    /// white text asks for the light value in both schemes, as a view with its appearance pinned does. A
    /// colour without values of its own for increased contrast has its usual ones.
    std::optional<RGBA> color(std::string_view name, ColorScheme scheme,
                              Contrast contrast = Contrast::standard) const;

    /// The drawing itself, for painters that keep vectors; lives as long as the catalogue.
    const VectorImage* vector(std::string_view name, Tones tones = Tones::asDrawn) const;

    /// The drawing at its natural size in points, for a display of `scale` pixels to a point.
    std::optional<Bitmap> image(std::string_view name, int scale) const;

    /// The drawing at `wanted` pixels: a compiled raster of just that size, else the next larger one reduced,
    /// else the largest one enlarged. Sizes beyond `ImageBounds::wantedSide` give nothing.
    std::optional<Bitmap> image(std::string_view name, PixelSize wanted, Tones tones = Tones::asDrawn) const;

  private:
    struct Schemes {
        RGBA light;
        RGBA dark;
    };
    struct Color {
        Schemes standard;
        Schemes increased;
    };
    struct Raster {
        PixelSize size;
        std::uint64_t offset;  // from the first one's beginning
    };
    struct Variant {
        VectorImage vector;
        std::vector<Raster> rasters;  // by growing width
    };
    struct Image {
        Variant asDrawn;
        Variant solid;
    };

    void open();
    const Variant* find(std::string_view name, Tones tones) const;
    std::optional<Bitmap> read(const Raster& raster) const;
    void noteMissing(std::string_view kind, std::string_view name) const;

    std::filesystem::path file_;
    std::uint64_t rastersBegin_ = 0;
    std::map<std::string, Color, std::less<>> colors_;
    std::map<std::string, Image, std::less<>> images_;
    mutable std::mutex mutex_;
    mutable std::set<std::string, std::less<>> missing_;
};

}  // namespace drawing
