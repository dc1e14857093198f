// SPDX-License-Identifier: Apache-2.0

#include "platform/CommandLine/Words.hpp"

#include <algorithm>
#include <numeric>
#include <string_view>
#include <utility>

#include "platform/WidgetKit/WidgetFamily.hpp"

namespace platform {
namespace {

/// The number of letters to add, remove, replace or swap with their neighbour (optimal string alignment).
std::size_t distance(std::string_view first, std::string_view second) {
    const std::size_t width = second.size() + 1;
    std::vector<std::size_t> beforeLast(width), last(width), current(width);
    std::iota(last.begin(), last.end(), 0);
    for (std::size_t i = 1; i <= first.size(); ++i) {
        current[0] = i;
        for (std::size_t j = 1; j < width; ++j) {
            const bool isSame = first[i - 1] == second[j - 1];
            current[j] = std::min({last[j] + 1, current[j - 1] + 1, last[j - 1] + (isSame ? 0 : 1)});
            const bool isSwapped =
                i > 1 && j > 1 && first[i - 1] == second[j - 2] && first[i - 2] == second[j - 1];
            if (isSwapped) current[j] = std::min(current[j], beforeLast[j - 2] + 1);
        }
        std::swap(beforeLast, last);
        std::swap(last, current);
    }
    return last.back();
}

}  // namespace

std::vector<std::string> familyNames() {
    std::vector<std::string> names;
    for (const auto family : allWidgetFamilies)
        if (family != WidgetFamily::other) names.emplace_back(description(family));
    return names;
}

std::optional<std::string> nearestWord(const std::string& word, const std::vector<std::string>& words) {
    // A third of the letters wrong is a slip; more is another word.
    std::size_t least = word.size() / 3 + 1;
    std::optional<std::string> nearest;
    for (const auto& candidate : words) {
        const auto found = distance(word, candidate);
        if (found >= least) continue;
        least = found;
        nearest = candidate;
    }
    return nearest;
}

}  // namespace platform
