// SPDX-License-Identifier: Apache-2.0

#include "host/protocol/PictureFile.hpp"

#include <array>
#include <charconv>
#include <utility>

namespace host {
namespace {

constexpr std::string_view pictureEnding = "x.png";
constexpr std::string_view scalingBeginning = "-text";

std::string pictureBeginning(platform::WidgetFamily family, drawing::ColorScheme scheme) {
    return std::string(platform::description(family)) + "-" + std::string(widget::name(scheme));
}

std::string contrastEnding(drawing::Contrast contrast) {
    return "-" + std::string(drawing::name(contrast));
}

std::string decimal(double number) {
    std::array<char, 32> digits;
    const auto written = std::to_chars(digits.data(), digits.data() + digits.size(), number);
    return {digits.data(), written.ptr};
}

bool isDecimal(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789.") == std::string_view::npos;
}

/// Without its last part, where that is the decimal that `beginning` stands before; else as it is.
std::string_view withoutDecimal(std::string_view text, std::string_view beginning) {
    const auto at = text.rfind(beginning);
    const bool isThere = at != std::string_view::npos && isDecimal(text.substr(at + beginning.size()));
    return isThere ? text.substr(0, at) : text;
}

}  // namespace

std::string PictureFile::name() const {
    auto text = pictureBeginning(family, colorScheme);
    if (textScaling != 1) text.append(scalingBeginning).append(decimal(textScaling));
    if (contrast != drawing::Contrast::standard) text.append(contrastEnding(contrast));
    return text.append("@").append(decimal(scale)).append(pictureEnding);
}

bool PictureFile::isName(std::string_view name) {
    if (!name.ends_with(pictureEnding)) return false;
    name.remove_suffix(pictureEnding.size());
    auto named = withoutDecimal(name, "@");
    if (named == name) return false;
    const auto increased = contrastEnding(drawing::Contrast::increased);
    if (named.ends_with(increased)) named.remove_suffix(increased.size());
    named = withoutDecimal(named, scalingBeginning);
    for (const auto family : platform::allWidgetFamilies)
        for (const auto scheme : {drawing::ColorScheme::light, drawing::ColorScheme::dark})
            if (named == pictureBeginning(family, scheme)) return true;
    return false;
}

widget::DrawingRequest PictureFile::request(widget::SimpleEntry entry) const {
    widget::DrawingRequest request = {.entry = std::move(entry), .family = family};
    request.colorScheme = colorScheme;
    request.appearance = {.textSize = drawing::textSizeNearest(textScaling), .contrast = contrast};
    request.scale = scale;
    return request;
}

}  // namespace host
