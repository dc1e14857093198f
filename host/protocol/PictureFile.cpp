// SPDX-License-Identifier: Apache-2.0

#include "host/protocol/PictureFile.hpp"

#include <array>
#include <charconv>

namespace host {

std::string PictureFile::name() const {
    std::array<char, 32> digits;
    const auto written = std::to_chars(digits.data(), digits.data() + digits.size(), scale);
    return std::string(platform::description(family)) + "-" + std::string(widget::name(colorScheme)) + "@" +
           std::string(digits.data(), written.ptr) + "x.png";
}

}  // namespace host
