// SPDX-License-Identifier: Apache-2.0

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>

#include "platform/Text/Text.hpp"

namespace platform {

namespace {

constexpr UChar32 emojiPresentationSelector = 0xFE0F;
constexpr UChar32 softHyphen = 0x00AD;
constexpr std::string_view ellipsis = "…";

std::size_t columns(UChar32 codePoint) {
    if (codePoint == softHyphen) return 1;
    switch (u_charType(codePoint)) {
        case U_NON_SPACING_MARK:
        case U_ENCLOSING_MARK:
        case U_COMBINING_SPACING_MARK:
        case U_CONTROL_CHAR:
        case U_FORMAT_CHAR:
        case U_LINE_SEPARATOR:
        case U_PARAGRAPH_SEPARATOR: return 0;
        default: break;
    }
    if (u_hasBinaryProperty(codePoint, UCHAR_EMOJI_PRESENTATION)) return 2;
    switch (u_getIntPropertyValue(codePoint, UCHAR_EAST_ASIAN_WIDTH)) {
        case U_EA_WIDE:
        case U_EA_FULLWIDTH: return 2;
        default: return 1;
    }
}

/// A character is as wide as its base: what is joined to it or set on it is drawn in the same place.
std::size_t columnsOfCharacter(std::string_view character) {
    std::size_t width = 0;
    UChar32 base = 0;
    const auto size = static_cast<int>(character.size());
    for (int i = 0; i < size;) {
        UChar32 codePoint = 0;
        U8_NEXT_OR_FFFD(character.data(), i, size, codePoint);
        if (width == 0) {
            width = columns(codePoint);
            base = codePoint;
        } else if (codePoint == emojiPresentationSelector && u_hasBinaryProperty(base, UCHAR_EMOJI)) {
            width = 2;
        }
    }
    return width;
}

/// A line that is longer than `columns`.
std::string wrappedLine(std::string_view line, std::size_t columns) {
    constexpr std::size_t furtherIn = 2;
    const auto indentation = std::min(line.find_first_not_of(' '), line.size());
    const std::string beginning(std::min(indentation + furtherIn, columns / 2), ' ');
    std::string wrapped;
    std::size_t used = 0;
    bool hasWord = false;
    while (!line.empty()) {
        const auto blanks = std::min(line.find_first_not_of(' '), line.size());
        const auto end = std::min(line.find(' ', blanks), line.size());
        const auto word = line.substr(blanks, end - blanks);
        const auto width = terminalColumns(word);
        if (hasWord && used + blanks + width > columns) {
            if (!word.empty()) wrapped.append("\n").append(beginning).append(word);
            used = beginning.size() + width;
        } else {
            wrapped.append(line.substr(0, end));
            used += blanks + width;
        }
        hasWord = true;
        line.remove_prefix(end);
    }
    return wrapped;
}

/// At most `longestCharacter` bytes of it, and whole sequences.
std::string_view boundedCharacter(std::string_view character) {
    if (character.size() <= longestCharacter) return character;
    auto end = longestCharacter;
    while (end > 0 && (static_cast<unsigned char>(character[end]) & 0xC0) == 0x80) --end;
    return character.substr(0, end);
}

}  // namespace

std::size_t terminalColumns(std::string_view text) {
    std::size_t width = 0;
    for (const auto character : characters(text)) width += columnsOfCharacter(character);
    return width;
}

std::string fittedToColumns(std::string_view text, std::size_t columns) {
    const auto room = columns - std::min(columns, terminalColumns(ellipsis));
    std::string fitted;
    std::size_t used = 0;
    std::size_t cut = 0;
    std::size_t inPlace = 0;
    for (const auto character : characters(text)) {
        const auto bounded = boundedCharacter(character);
        const auto width = terminalColumns(bounded);
        used += width;
        if (used > columns) break;
        // What has no width stands where the last one stands that has.
        inPlace = (width > 0 ? 0 : inPlace) + bounded.size();
        if (inPlace > longestCharacter) continue;
        fitted.append(bounded);
        if (used <= room) cut = fitted.size();
    }
    if (used <= columns) return fitted;
    if (columns == 0) return {};
    fitted.resize(cut);
    while (fitted.ends_with(' ')) fitted.pop_back();
    return fitted.append(ellipsis);
}

std::string wrappedToColumns(std::string_view text, std::size_t columns) {
    std::string wrapped;
    while (!text.empty()) {
        const auto end = std::min(text.find('\n'), text.size());
        const auto line = text.substr(0, end);
        if (terminalColumns(line) <= columns)
            wrapped.append(line);
        else
            wrapped.append(wrappedLine(line, columns));
        if (end < text.size()) wrapped.append("\n");
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return wrapped;
}

}  // namespace platform
