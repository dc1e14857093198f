// SPDX-License-Identifier: Apache-2.0

// Any bytes as a compiled asset catalogue. The index is given as it reads; the four bytes of its length are
// put in front of it, or nothing behind them would ever be reached: up to the first NUL it is the index,
// behind that the rasters. An input that begins with the catalogue's own mark is taken as it is.

#include <cstdint>
#include <cstring>
#include <string>

#include "drawing/Image/AssetCatalogue.hpp"
#include "fuzz/Folder.hpp"
#include "fuzz/Require.hpp"
#include "fuzz/SilentLog.hpp"

namespace {

using namespace drawing;

constexpr std::string_view mark = "VelaAssets1\n";

std::string catalogue(std::string_view input) {
    if (input.starts_with(mark)) return std::string(input);
    const auto index = input.substr(0, input.find('\0'));
    const auto length = static_cast<std::uint32_t>(index.size());
    std::string file(mark);
    file.append(reinterpret_cast<const char*>(&length), sizeof length).append(index);
    return file.append(input.substr(std::min(input.size(), index.size() + 1)));
}

void lookUp(const AssetCatalogue& assets, const char* name) {
    const auto* vector = assets.vector(name);
    for (const PixelSize wanted :
         {PixelSize{1, 1}, PixelSize{8, 5}, PixelSize{0, -1}, PixelSize{1 << 30, 1}}) {
        const auto bitmap = assets.image(name, wanted);
        require(!bitmap || (bitmap->size == wanted && vector),
                "a drawing comes in the size that was asked for");
    }
    for (const int scale : {-1, 1, 4})
        if (const auto bitmap = assets.image(name, scale))
            require(bitmap->pixels.size() == std::size_t(bitmap->width()) * std::size_t(bitmap->height()),
                    "a drawing has all its pixels");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t size) {
    static const Folder folder;
    static SilentLog log;
    const AssetCatalogue assets(folder.write("Assets.catalogue", catalogue(text(input, size))));
    for (const char* name : {"a", "TextPrimaryColor", ""}) {
        const auto light = assets.color(name, ColorScheme::light);
        const auto dark = assets.color(name, ColorScheme::dark);
        require(light.has_value() == dark.has_value(), "a colour has a value in both schemes");
        lookUp(assets, name);
    }
    return 0;
}
