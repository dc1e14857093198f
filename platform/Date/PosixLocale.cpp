// SPDX-License-Identifier: Apache-2.0

#include "platform/Date/PosixLocale.hpp"

#include <algorithm>
#include <array>

#include "platform/Text/ASCII.hpp"

namespace platform {

namespace {

bool allLetters(std::string_view text) {
    return std::all_of(text.begin(), text.end(), isASCIILetter);
}
bool allDigits(std::string_view text) {
    return std::all_of(text.begin(), text.end(), isASCIIDigit);
}

bool isLanguage(std::string_view text) {
    return (text.size() == 2 || text.size() == 3) && allLetters(text);
}
bool isScript(std::string_view text) {
    return text.size() == 4 && allLetters(text);
}
bool isRegion(std::string_view text) {
    return (text.size() == 2 && allLetters(text)) || (text.size() == 3 && allDigits(text));
}

std::string uppered(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), uppercasedASCII);
    return result;
}

std::string capitalised(std::string_view text) {
    std::string result = lowercasedASCII(text);
    if (!result.empty()) result.front() = uppercasedASCII(result.front());
    return result;
}

struct Modifier {
    std::string_view name;
    std::string_view script = {};
    std::string_view variant = {};
};

constexpr std::array modifiers = {
    Modifier{.name = "latin", .script = "Latn"},         Modifier{.name = "cyrillic", .script = "Cyrl"},
    Modifier{.name = "devanagari", .script = "Deva"},    Modifier{.name = "iqtelif", .script = "Latn"},
    Modifier{.name = "valencia", .variant = "VALENCIA"},
};

std::string_view takePart(std::string_view& rest, std::string_view separators) {
    const auto end = rest.find_first_of(separators);
    const auto part = rest.substr(0, end);
    rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
    return part;
}

}  // namespace

std::optional<PosixLocale> PosixLocale::parse(std::string_view name) {
    const auto at = name.find('@');
    const auto modifierName = at == std::string_view::npos ? std::string_view() : name.substr(at + 1);
    auto rest = name.substr(0, std::min(at, name.find('.')));

    const auto language = takePart(rest, "_-");
    if (!isLanguage(language)) return std::nullopt;
    PosixLocale locale = {.language = lowercasedASCII(language)};

    auto part = takePart(rest, "_-");
    if (isScript(part)) {
        locale.script = capitalised(part);
        part = takePart(rest, "_-");
    }
    if (isRegion(part)) {
        locale.region = uppered(part);
        part = takePart(rest, "_-");
    }
    if (!part.empty() || !rest.empty()) return std::nullopt;

    for (const auto& modifier : modifiers) {
        if (modifier.name != lowercasedASCII(modifierName)) continue;
        if (locale.script.empty()) locale.script = modifier.script;
        locale.variant = modifier.variant;
    }
    return locale;
}

std::string PosixLocale::identifier() const {
    // A variant without a region stands behind an empty one.
    const bool regionStands = !region.empty() || !variant.empty();
    std::string text = language;
    if (!script.empty()) text.append("_").append(script);
    if (regionStands) text.append("_").append(region);
    if (!variant.empty()) text.append("_").append(variant);
    return text;
}

std::string PosixLocale::languageTag() const {
    std::string text = language;
    for (const auto& part : {script, region, lowercasedASCII(variant)})
        if (!part.empty()) text.append("-").append(part);
    return text;
}

}  // namespace platform
