// SPDX-License-Identifier: Apache-2.0

#include "host/protocol/PictureFile.hpp"

#include <array>
#include <charconv>

namespace host {
namespace {

constexpr std::string_view pictureEnding = "x.png";

std::string pictureBeginning(platform::WidgetFamily family, drawing::ColorScheme scheme) {
    return std::string(platform::description(family)) + "-" + std::string(widget::name(scheme)) + "@";
}

}  // namespace

std::string PictureFile::name() const {
    std::array<char, 32> digits;
    const auto written = std::to_chars(digits.data(), digits.data() + digits.size(), scale);
    return pictureBeginning(family, colorScheme).append(digits.data(), written.ptr).append(pictureEnding);
}

bool PictureFile::isName(std::string_view name) {
    if (!name.ends_with(pictureEnding)) return false;
    name.remove_suffix(pictureEnding.size());
    for (const auto family : platform::allWidgetFamilies)
        for (const auto scheme : {drawing::ColorScheme::light, drawing::ColorScheme::dark}) {
            const auto named = pictureBeginning(family, scheme);
            if (name.starts_with(named) && name.size() > named.size() &&
                name.find_first_not_of("0123456789.", named.size()) == std::string_view::npos)
                return true;
        }
    return false;
}

}  // namespace host
