// SPDX-License-Identifier: Apache-2.0

#pragma once

// The fonts that texts are set in, by script: what has to be installed for every name to be read. Plain
// values.

#include <array>
#include <string_view>

namespace drawing {

struct ScriptFont {
    /// As ISO 15924 has it; Jpan, Kore, Hans and Hant are what the languages of East Asia are written in.
    std::string_view script;
    std::string_view family;
    /// The Debian package that holds it.
    std::string_view package;
};

/// Where every text looks first.
constexpr ScriptFont textFont = {"Latn", "Inter", "fonts-inter"};

/// And where it looks at last, for rarer letters and for signs.
constexpr auto lastFonts = std::to_array<ScriptFont>({
    {"Latn", "Noto Sans", "fonts-noto-core"},
    {"Zsym", "Noto Sans Symbols", "fonts-noto-core"},
    {"Zsym", "Noto Sans Symbols2", "fonts-noto-core"},
    {"Zsye", "Noto Color Emoji", "fonts-noto-color-emoji"},
});

/// In between, the font of a script that Inter does not hold.
constexpr auto scriptFonts = std::to_array<ScriptFont>({
    {"Arab", "Noto Sans Arabic", "fonts-noto-core"},    {"Armn", "Noto Sans Armenian", "fonts-noto-core"},
    {"Beng", "Noto Sans Bengali", "fonts-noto-core"},   {"Deva", "Noto Sans Devanagari", "fonts-noto-core"},
    {"Ethi", "Noto Sans Ethiopic", "fonts-noto-core"},  {"Geor", "Noto Sans Georgian", "fonts-noto-core"},
    {"Gujr", "Noto Sans Gujarati", "fonts-noto-core"},  {"Guru", "Noto Sans Gurmukhi", "fonts-noto-core"},
    {"Hans", "Noto Sans CJK SC", "fonts-noto-cjk"},     {"Hant", "Noto Sans CJK TC", "fonts-noto-cjk"},
    {"Hebr", "Noto Sans Hebrew", "fonts-noto-core"},    {"Jpan", "Noto Sans CJK JP", "fonts-noto-cjk"},
    {"Khmr", "Noto Sans Khmer", "fonts-noto-core"},     {"Knda", "Noto Sans Kannada", "fonts-noto-core"},
    {"Kore", "Noto Sans CJK KR", "fonts-noto-cjk"},     {"Laoo", "Noto Sans Lao", "fonts-noto-core"},
    {"Mlym", "Noto Sans Malayalam", "fonts-noto-core"}, {"Mymr", "Noto Sans Myanmar", "fonts-noto-core"},
    {"Orya", "Noto Sans Oriya", "fonts-noto-core"},     {"Sinh", "Noto Sans Sinhala", "fonts-noto-core"},
    {"Taml", "Noto Sans Tamil", "fonts-noto-core"},     {"Telu", "Noto Sans Telugu", "fonts-noto-core"},
    {"Thaa", "Noto Sans Thaana", "fonts-noto-core"},    {"Thai", "Noto Sans Thai", "fonts-noto-core"},
});

/// Nothing for a script without a font of its own.
constexpr std::string_view family(std::string_view script) {
    for (const ScriptFont& font : scriptFonts) {
        if (font.script == script) return font.family;
    }
    return {};
}

}  // namespace drawing
