// SPDX-License-Identifier: Apache-2.0

#include "host/page/PageChoices.hpp"

#include <algorithm>
#include <array>

namespace host {

namespace {

constexpr std::array schemes = {drawing::ColorScheme::light, drawing::ColorScheme::dark};

template <typename Values>
std::optional<typename Values::value_type> valueNamed(std::string_view text, const Values& values) {
    using widget::name;
    const auto found = std::ranges::find_if(values, [&](const auto value) { return name(value) == text; });
    if (found == values.end()) return std::nullopt;
    return *found;
}

}  // namespace

PageChoices PageChoices::fromQuery(std::string_view query) {
    PageChoices choices;
    while (!query.empty()) {
        const auto pair = query.substr(0, query.find('&'));
        query.remove_prefix(std::min(pair.size() + 1, query.size()));
        const auto equals = pair.find('=');
        if (equals == std::string_view::npos) continue;
        const auto key = pair.substr(0, equals);
        const auto value = pair.substr(equals + 1);
        if (key == "scheme") choices.scheme = valueNamed(value, schemes);
        if (key == "textSize") choices.textSize = valueNamed(value, drawing::allTextSizes);
        if (key == "contrast")
            choices.contrast = valueNamed(value, drawing::allContrasts).value_or(drawing::Contrast::standard);
    }
    return choices;
}

std::string PageChoices::query() const {
    std::string text;
    const auto add = [&](std::string_view key, std::string_view value) {
        text.append(text.empty() ? "?" : "&").append(key).append("=").append(value);
    };
    if (scheme) add("scheme", widget::name(*scheme));
    if (textSize) add("textSize", drawing::name(*textSize));
    if (contrast != drawing::Contrast::standard) add("contrast", drawing::name(contrast));
    return text;
}

drawing::Appearance PageChoices::appearance() const {
    return {.textSize = textSize.value_or(drawing::TextSize::large), .contrast = contrast};
}

}  // namespace host
