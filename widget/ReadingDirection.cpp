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
constexpr auto languages =
    std::to_array<std::string_view>({"ar", "ckb", "dv", "fa", "he", "iw", "ji", "ks", "lrc", "mzn", "nqo",
                                     "ps", "rhg", "sd", "syr", "ug", "ur", "yi"});
/// Written so in these countries.
constexpr auto languagesOfCountries = std::to_array<std::string_view>({"az-ir", "pa-pk", "uz-af"});
/// ISO 15924.
constexpr auto scripts =
    std::to_array<std::string_view>({"adlm", "arab", "hebr", "mand", "nkoo", "rohg", "samr", "syrc", "thaa"});

template <class Names>
bool isAmong(const Names& names, std::string_view name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

bool isReadFromTheRight(std::string_view tag) {
    const std::string_view language = tag.substr(0, tag.find('-'));
    const std::string_view rest = tag.substr(std::min(tag.size(), language.size() + 1));
    const std::string_view next = rest.substr(0, rest.find('-'));
    if (next.size() == 4) return isAmong(scripts, next);
    const std::string_view inCountry = tag.substr(0, language.size() + 1 + next.size());
    return isAmong(languages, language) || isAmong(languagesOfCountries, inCountry);
}

}  // namespace

LayoutDirection layoutDirection(const std::vector<std::string>& preferredLanguages) {
    if (preferredLanguages.empty()) return LayoutDirection::leftToRight;
    return isReadFromTheRight(platform::lowercasedASCII(preferredLanguages.front()))
               ? LayoutDirection::rightToLeft
               : LayoutDirection::leftToRight;
}

}  // namespace widget
