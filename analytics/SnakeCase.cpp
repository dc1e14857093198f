// SPDX-License-Identifier: Apache-2.0

#include "analytics/SnakeCase.hpp"

#include <algorithm>

#include "platform/Text/Text.hpp"

namespace analytics {

const SnakeCaseExpressions& SnakeCaseExpressions::standard() {
    static const SnakeCaseExpressions expressions = {
        .capitals = platform::RegularExpression::compile("([A-Z]+)([A-Z][a-z]|[0-9])"),
        .words = platform::RegularExpression::compile("([a-z0-9])([A-Z])"),
    };
    return expressions;
}

std::string snakeCased(std::string_view key, const SnakeCaseExpressions& expressions) {
    constexpr std::string_view separated = "$1_$2";
    if (!expressions.capitals || !expressions.words) return platform::lowercased(key);
    const auto range = platform::characterCount(key);
    const auto split = expressions.capitals->replacingMatches(key, range, separated);
    return platform::lowercased(expressions.words->replacingMatches(split, range, separated));
}

std::string encoderSnakeCased(std::string_view key) {
    constexpr std::string_view capitals = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    constexpr std::string_view smallLetters = "abcdefghijklmnopqrstuvwxyz";
    std::string result;
    std::size_t wordStart = 0;
    const auto endWord = [&](std::size_t end) {
        result.append(platform::lowercased(key.substr(wordStart, end - wordStart))).append("_");
        wordStart = end;
    };
    for (std::size_t search = 1;;) {
        const auto capital = key.find_first_of(capitals, search);
        if (capital == std::string_view::npos) break;
        endWord(capital);
        const auto small = key.find_first_of(smallLetters, capital);
        if (small == std::string_view::npos) break;
        if (small > capital + 1) endWord(small - 1);
        search = small + 1;
    }
    return result.append(platform::lowercased(key.substr(std::min(wordStart, key.size()))));
}

}  // namespace analytics
