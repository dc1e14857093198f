// SPDX-License-Identifier: Apache-2.0

// A saved entry, through layout to a picture. The first four bytes say how it is drawn; pictures come from
// the entry's own data URLs, and from nowhere else.

#include <array>
#include <cstdlib>
#include <string>

#include "fuzz/Require.hpp"
#include "fuzz/SilentLog.hpp"
#include "host/protocol/EntryCoding.hpp"
#include "platform/JSON/JSONSerialization.hpp"
#include "platform/Text/Text.hpp"
#include "platform/URLSession/DataURL.hpp"
#include "widget/EntryDrawing.hpp"

namespace {

using namespace drawing;
using widget::DrawingFormat;

constexpr std::size_t choices = 4;

class OwnPictures final : public PictureLoader {
  public:
    std::optional<std::string> read(const platform::URL& url) override {
        return platform::dataOfDataURL(url.absoluteString());
    }
};

widget::DrawingRequest requestFor(widget::SimpleEntry entry, const std::uint8_t* choice) {
    constexpr std::array formats = {DrawingFormat::svg, DrawingFormat::png, DrawingFormat::tree,
                                    DrawingFormat::text};
    constexpr std::array<double, 4> scales = {1, 1.5, 2, 4};
    widget::DrawingRequest result = {
        .entry = std::move(entry),
        .family = platform::allWidgetFamilies[choice[0] % platform::allWidgetFamilies.size()]};
    result.format = formats[choice[1] % formats.size()];
    result.colorScheme = choice[2] & 1 ? ColorScheme::dark : ColorScheme::light;
    result.scale = scales[choice[2] >> 1 & 3];
    if (choice[2] & 8) result.appearance.contrast = Contrast::increased;
    if (choice[2] & 16) result.appearance.transparency = Transparency::reduced;
    if (choice[2] & 32) result.appearance.redaction = Redaction::placeholder;
    if (choice[2] & 64) result.tint = "#3366CC";
    if (choice[3] > 0) result.size = Size{1.0 + choice[3], 256.0 - choice[3]};
    return result;
}

void look(const std::string& picture, DrawingFormat format) {
    switch (format) {
        case DrawingFormat::png:
            require(picture.starts_with("\x89PNG\r\n\x1a\n"), "a PNG begins as one");
            require(picture.ends_with(std::string_view("IEND\xae\x42\x60\x82", 8)), "a PNG is whole");
            break;
        case DrawingFormat::svg:
            require(platform::isValidUTF8(picture), "an SVG is UTF-8");
            require(picture.ends_with("</svg>") || picture.ends_with("</svg>\n"), "an SVG is whole");
            for (const char c : picture)
                require(static_cast<unsigned char>(c) >= 0x20 || c == '\n' || c == '\t', "an SVG is XML");
            break;
        case DrawingFormat::tree: platform::JSONSerialization::JSONObjectWithData(picture); break;
        case DrawingFormat::text:
            require(platform::isValidUTF8(picture), "a text is UTF-8");
            require(picture.ends_with('\n'), "a text is whole");
            break;
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    ::setenv("VELA_BUNDLE", VELA_BUNDLE_DIRECTORY, 0);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t size) {
    static SilentLog log;
    if (size < choices) return 0;
    try {
        const auto value =
            platform::JSONSerialization::JSONObjectWithData(text(input + choices, size - choices));
        const auto asked = requestFor(host::entryFromValue(value), input);
        OwnPictures pictures;
        look(widget::draw(asked, pictures), asked.format);
    } catch (const platform::JSONError&) {
    } catch (const host::EntryCodingError&) {
    }
    return 0;
}
