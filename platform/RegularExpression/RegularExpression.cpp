// SPDX-License-Identifier: Apache-2.0

#include "platform/RegularExpression/RegularExpression.hpp"

#include <unicode/regex.h>

#include <algorithm>

#include "platform/Text/UTF16.hpp"

namespace platform {

struct RegularExpression::Pattern {
    std::unique_ptr<icu::RegexPattern> compiled;
};

RegularExpression::RegularExpression(std::shared_ptr<const Pattern> pattern) : pattern_(std::move(pattern)) {}

std::optional<RegularExpression> RegularExpression::compile(std::string_view pattern) {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::RegexPattern> compiled(icu::RegexPattern::compile(utf16(pattern), 0, status));
    if (U_FAILURE(status)) return std::nullopt;
    return RegularExpression(std::make_shared<Pattern>(Pattern{.compiled = std::move(compiled)}));
}

std::string RegularExpression::replacingMatches(std::string_view text, std::size_t rangeLength,
                                                std::string_view replacement) const {
    const auto source = utf16(text);
    const auto substitute = utf16(replacement);
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<icu::RegexMatcher> matcher(pattern_->compiled->matcher(source, status));
    if (U_FAILURE(status)) return std::string(text);

    // The range's ends are anchors, and a match cannot look past them.
    const auto end = std::min<std::int64_t>(
        source.length(), static_cast<std::int64_t>(std::min<std::size_t>(rangeLength, INT32_MAX)));
    matcher->region(0, end, status);
    matcher->useAnchoringBounds(true);
    matcher->useTransparentBounds(false);

    icu::UnicodeString replaced;
    while (matcher->find(status) && U_SUCCESS(status))
        matcher->appendReplacement(replaced, substitute, status);
    if (U_FAILURE(status)) return std::string(text);
    matcher->appendTail(replaced);

    return utf8(replaced);
}

}  // namespace platform
