// SPDX-License-Identifier: Apache-2.0

#include "widget/ReadingDirection.hpp"

#include <algorithm>
#include <array>
#include <string_view>

#include "platform/Text/ASCII.hpp"

namespace widget {
namespace {

using drawing::LayoutDirection;

/// Written from the right in their usual script: ISO 639, with the codes that Hebrew and Yiddish once had.
constexpr auto languages = std::to_array<std::string_view>(
    {"ar", "ckb", "dv", "fa", "he", "iw", "ji", "ps", "sd", "ug", "ur", "yi"});
constexpr auto scripts = std::to_array<std::string_view>({"arab", "hebr", "syrc", "thaa"});

template <class Names>
LayoutDirection directionIn(const Names& names, std::string_view name) {
    const bool isOne = std::find(names.begin(), names.end(), name) != names.end();
    return isOne ? LayoutDirection::rightToLeft : LayoutDirection::leftToRight;
}

}  // namespace

LayoutDirection layoutDirection(const std::vector<std::string>& preferredLanguages) {
    if (preferredLanguages.empty()) return LayoutDirection::leftToRight;
    const std::string tag = platform::lowercasedASCII(preferredLanguages.front());
    const std::string_view language = std::string_view(tag).substr(0, tag.find('-'));
    const std::string_view rest = std::string_view(tag).substr(std::min(tag.size(), language.size() + 1));
    const std::string_view script = rest.substr(0, rest.find('-'));
    return script.size() == 4 ? directionIn(scripts, script) : directionIn(languages, language);
}

}  // namespace widget
