// SPDX-License-Identifier: Apache-2.0

#include "presentation/SpokenPackage.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <string_view>

#include "platform/Text/ASCII.hpp"
#include "platform/Text/Text.hpp"
#include "presentation/DeepLink.hpp"
#include "presentation/Wording.hpp"

namespace presentation {
namespace {

using W = Wording;

/// What a status may be in whole. A day may follow the last.
constexpr auto statuses = std::to_array<std::string_view>({
    W::attemptedDelivery,
    W::cancelled,
    W::customsPaymentDue,
    W::delivered,
    W::deliveryDelayed,
    W::failure,
    W::inStorePurchase,
    W::inTransit,
    W::noRecentActivity,
    W::orderPlaced,
    W::outForDelivery,
    W::partiallyDelivered,
    W::pickedUp,
    W::partiallyRefunded,
    W::partiallyReadyToShip,
    W::readyForPickup,
    W::readyToShip,
    W::refunded,
    W::returned,
    W::unknown,
    W::waitingForDetails,
    W::deliveredToday,
    W::deliveredYesterday,
    W::deliveredOn,
});

/// How a carrier's text about a time begins, which no name does.
constexpr auto beginnings = std::to_array<std::string_view>({
    "About", "After",   "Around",   "Arrives",   "Arriving",  "Before",    "Between",
    "By",    "Due",     "Expected", "Estimated", "From",      "Scheduled", "This",
    "Today", "Tonight", "Tomorrow", "Until",     "Yesterday",
});

/// On one line and not without end, whatever a server sends.
std::string part(std::string_view text) {
    std::string line(text);
    std::ranges::replace_if(
        line, [](unsigned char character) { return character < 0x20 || character == 0x7F; }, ' ');
    for (const std::string_view separator : {"\xC2\x85", "\xE2\x80\xA8", "\xE2\x80\xA9"})
        for (auto at = line.find(separator); at != std::string::npos; at = line.find(separator))
            line.replace(at, separator.size(), " ");
    return platform::fittedToColumns(platform::trimmed(line, " "), longestSpokenPart);
}

bool beginsAsACommonWord(std::string_view text) {
    const std::string_view word = text.substr(0, text.find_first_of(" ,"));
    return std::ranges::find(beginnings, word) != beginnings.end() ||
           std::ranges::find(statuses, text) != statuses.end() || text.starts_with(W::deliveredOn);
}

std::string withinASentence(const std::string& text) {
    return beginsAsACommonWord(text) ? platform::lowercasingFirstCharacter(text) : text;
}

/// Both lines, but for the first where the second says it again: "Delivered", "Delivered yesterday".
std::string statusWords(const StatusPair& status, bool begins) {
    std::string first = part(status.primary);
    const std::string second = part(status.secondary.value_or(""));
    if (second == first || second.starts_with(first + " ")) first.clear();
    std::string words;
    for (const std::string& line : {first, second}) {
        if (line.empty()) continue;
        const bool isFirst = words.empty();
        if (!isFirst) words += ", ";
        words += isFirst && begins ? line : withinASentence(line);
    }
    return words;
}

std::string progressWords(float progress) {
    if (!(progress > 0)) return {};
    if (progress >= 1) return "all of the way";
    const long percent = std::clamp(std::lround(progress * 100), 1L, 99L);
    return std::to_string(percent) + " percent of the way";
}

bool isSample(const Package& package) {
    const StatusPair sample = {std::string(W::samplePrimary), std::string(W::sampleSecondary)};
    return package.statusText() == sample && package.deepLinkingUrl() == DeepLink::homeOrders();
}

}  // namespace

std::string spoken(const Package& package) {
    if (isSample(package)) return std::string(W::notYetKnown);
    const std::string name = part(package.shopName());
    std::string words = statusWords(package.statusText(), name.empty());
    if (!name.empty()) words = words.empty() ? name : name + ": " + words;
    const std::string progress = progressWords(package.progress());
    if (progress.empty()) return words;
    return words.empty() ? progress : words + "; " + progress;
}

bool areSamples(const PackageList& packages) {
    return std::ranges::all_of(packages, [](const auto& package) { return isSample(*package); });
}

}  // namespace presentation
