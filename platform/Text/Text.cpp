// SPDX-License-Identifier: Apache-2.0

#include "platform/Text/Text.hpp"

#include <unicode/brkiter.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <memory>
#include <stdexcept>

#include "platform/Text/ASCII.hpp"
#include "platform/Text/UTF16.hpp"

namespace platform {

namespace {

bool isASCII(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

/// Calls `take` with every character. In ASCII only CR LF is one of two bytes.
template <typename Take>
void forEachASCIICharacter(std::string_view text, Take take) {
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t length = text.substr(i, 2) == "\r\n" ? 2 : 1;
        take(text.substr(i, length));
        i += length;
    }
}

/// One per thread, since an iterator keeps its place; opening one costs more than most texts take.
icu::BreakIterator& characterIterator() {
    thread_local const std::unique_ptr<icu::BreakIterator> iterator = [] {
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<icu::BreakIterator> made(
            icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
        if (U_FAILURE(status)) throw std::runtime_error("ICU has no character boundaries");
        return made;
    }();
    return *iterator;
}

template <typename Take>
void forEachCharacter(std::string_view text, Take take) {
    if (isASCII(text)) return forEachASCIICharacter(text, take);
    UErrorCode status = U_ZERO_ERROR;
    UText source = UTEXT_INITIALIZER;
    utext_openUTF8(&source, text.data(), static_cast<std::int64_t>(text.size()), &status);
    auto& iterator = characterIterator();
    iterator.setText(&source, status);
    for (auto start = iterator.first(), end = iterator.next(); end != icu::BreakIterator::DONE;
         start = end, end = iterator.next())
        take(text.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(end - start)));
    utext_close(&source);
}

}  // namespace

std::size_t characterCount(std::string_view text) {
    std::size_t count = 0;
    forEachCharacter(text, [&](std::string_view) { ++count; });
    return count;
}

std::vector<std::string_view> characters(std::string_view text) {
    std::vector<std::string_view> result;
    forEachCharacter(text, [&](std::string_view character) { result.push_back(character); });
    return result;
}

std::string lowercased(std::string_view text) {
    if (isASCII(text)) return lowercasedASCII(text);
    return utf8(utf16(text).toLower(icu::Locale::getRoot()));
}

std::string lowercasingFirstCharacter(std::string_view text) {
    // A character can be long (a letter under a hundred marks), so it is looked for in the whole text.
    const auto first = isASCII(text) ? text.substr(0, 1) : characters(text).front();
    return lowercased(first).append(text.substr(first.size()));
}

bool isValidUTF8(std::string_view text) {
    const auto size = static_cast<std::int64_t>(text.size());
    for (std::int64_t i = 0; i < size;) {
        UChar32 codePoint = 0;
        U8_NEXT(text.data(), i, size, codePoint);
        if (codePoint < 0) return false;
    }
    return true;
}

}  // namespace platform
