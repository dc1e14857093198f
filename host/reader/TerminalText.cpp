// SPDX-License-Identifier: Apache-2.0

#include "host/reader/TerminalText.hpp"

#include <algorithm>

#include "platform/Text/Text.hpp"

namespace host {

namespace {

constexpr std::string_view replacementCharacter = "\xEF\xBF\xBD";

/// The length of the well-formed sequence at the start of `text` (RFC 3629); 0 where there is none.
std::size_t sequenceLength(std::string_view text) {
    const auto lead = static_cast<unsigned char>(text.front());
    const std::size_t length = lead < 0x80   ? 1
                               : lead < 0xC2 ? 0
                               : lead < 0xE0 ? 2
                               : lead < 0xF0 ? 3
                               : lead < 0xF5 ? 4
                                             : 0;
    return length <= text.size() && platform::isValidUTF8(text.substr(0, length)) ? length : 0;
}

bool isControl(std::string_view sequence) {
    const auto first = static_cast<unsigned char>(sequence[0]);
    if (sequence.size() == 1) return first < 0x20 || first == 0x7F;
    const bool isC1 = first == 0xC2 && static_cast<unsigned char>(sequence[1]) < 0xA0;
    return isC1 || sequence == "\u2028" || sequence == "\u2029";
}

/// Would reorder what stands beside the text as well.
bool isBidirectionalControl(std::string_view sequence) {
    return sequence >= "\u202A" && sequence <= "\u202E" ? true : sequence >= "\u2066" && sequence <= "\u2069";
}

/// The code point of a sequence of at most three bytes, as all controls are, in four hexadecimal digits.
std::string hexadecimal(std::string_view sequence) {
    constexpr std::string_view digits = "0123456789abcdef";
    unsigned point = static_cast<unsigned char>(sequence[0]);
    if (sequence.size() > 1) point &= sequence.size() == 2 ? 0x1Fu : 0x0Fu;
    for (const char c : sequence.substr(1)) point = point << 6 | (static_cast<unsigned char>(c) & 0x3Fu);
    std::string text;
    for (int shift = 12; shift >= 0; shift -= 4) text += digits[point >> shift & 0xFu];
    return text;
}

/// `text` with its controls, but for line breaks and tabs, written as `before`, their code point, `after`.
std::string withControlsEscaped(std::string_view text, std::string_view before, std::string_view after) {
    std::string safe;
    safe.reserve(text.size());
    while (!text.empty()) {
        const auto length = std::max<std::size_t>(sequenceLength(text), 1);
        const auto sequence = text.substr(0, length);
        const bool isLayout = sequence == "\n" || sequence == "\t";
        if (!isLayout && (isControl(sequence) || isBidirectionalControl(sequence)))
            safe.append(before).append(hexadecimal(sequence)).append(after);
        else
            safe.append(sequence);
        text.remove_prefix(length);
    }
    return safe;
}

}  // namespace

std::string terminalSafe(std::string_view text) {
    std::string safe;
    safe.reserve(text.size());
    while (!text.empty()) {
        const auto length = sequenceLength(text);
        const auto sequence = text.substr(0, std::max<std::size_t>(length, 1));
        if (length == 0)
            safe.append(replacementCharacter);
        else if (isControl(sequence))
            safe.push_back(' ');
        else if (!isBidirectionalControl(sequence))
            safe.append(sequence);
        text.remove_prefix(sequence.size());
    }
    return safe;
}

std::string terminalSafeLines(std::string_view text) {
    std::string safe;
    while (!text.empty()) {
        const auto end = std::min(text.find('\n'), text.size());
        safe.append(terminalSafe(text.substr(0, end))).append("\n");
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return safe;
}

std::string terminalSafeJSON(std::string_view json) {
    return withControlsEscaped(json, "\\u", "");
}

std::string terminalSafeXML(std::string_view xml) {
    return withControlsEscaped(xml, "&#x", ";");
}

}  // namespace host
