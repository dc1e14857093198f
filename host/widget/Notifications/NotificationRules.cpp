// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Notifications/NotificationRules.hpp"

#include <algorithm>
#include <array>
#include <utility>
#include <variant>

#include "platform/Digest/SHA256.hpp"
#include "presentation/Wording.hpp"

namespace host {

namespace json = boost::json;

namespace {

using presentation::Wording;

constexpr std::array toldWords = {Wording::delivered,       Wording::readyForPickup,
                                  Wording::deliveryDelayed, Wording::attemptedDelivery,
                                  Wording::failure,         Wording::customsPaymentDue};
constexpr float nearProgress = 0.8F;
constexpr float arrivedProgress = 1.0F;

/// What is worth telling of a package as it stands: a word of ours, or how far it has come; empty for
/// neither.
std::string_view happening(const presentation::Package& package) {
    const std::string primary = package.statusText().primary;
    const auto* word = std::find(toldWords.begin(), toldWords.end(), primary);
    if (word != toldWords.end()) return *word;
    if (package.progress() >= arrivedProgress) return "arrived";
    if (package.progress() >= nearProgress) return "near";
    return "";
}

bool isAWord(std::string_view happening) {
    return std::find(toldWords.begin(), toldWords.end(), happening) != toldWords.end();
}

Notice notice(const presentation::Package& package) {
    const auto status = package.statusText();
    return {.link = package.deepLinkingUrl().absoluteString(),
            .title = package.shopName(),
            .status = status.primary,
            .detail = status.secondary.value_or("")};
}

}  // namespace

std::vector<Notice> NotificationRules::take(const LiveState& state) {
    if (state.isPlaceholder || state.asOf) return {};
    const auto* loggedIn = std::get_if<widget::LoggedIn>(&state.entry.widgetState);
    if (!loggedIn) {
        forget();
        return {};
    }
    std::vector<Notice> notices;
    std::map<std::string, Known> present;
    for (const auto& package : loggedIn->packages) {
        const std::string key = platform::sha256(package->deepLinkingUrl().absoluteString());
        // Two of one link are one to who is told.
        if (present.contains(key)) continue;
        if (auto told = noticeOf(*package, key, present)) notices.push_back(*std::move(told));
    }
    known_ = std::move(present);
    return notices;
}

std::optional<Notice> NotificationRules::noticeOf(const presentation::Package& package,
                                                  const std::string& key,
                                                  std::map<std::string, Known>& present) const {
    const auto before = known_.find(key);
    const bool isKnown = before != known_.end();
    Known& now = present[key];
    if (isKnown) now = before->second;
    const float progressBefore = std::exchange(now.progress, package.progress());
    const std::string_view happened = happening(package);
    if (happened.empty()) return std::nullopt;
    const bool isNew = now.happenings.insert(platform::sha256(key + std::string(happened))).second;
    const bool isRise = isAWord(happened) || now.progress > progressBefore;
    return isKnown && isNew && isRise ? std::optional(notice(package)) : std::nullopt;
}

json::object NotificationRules::memory() const {
    json::object packages;
    for (const auto& [key, known] : known_) {
        json::array told(known.happenings.begin(), known.happenings.end());
        packages[key] = json::object{{"progress", known.progress}, {"told", std::move(told)}};
    }
    return {{"packages", std::move(packages)}};
}

void NotificationRules::remember(const json::value& memory) {
    known_.clear();
    const auto* object = memory.if_object();
    const auto* packages = object ? object->if_contains("packages") : nullptr;
    if (!packages || !packages->is_object()) return;
    for (const auto& [key, value] : packages->get_object()) {
        const auto* package = value.if_object();
        const auto* progress = package ? package->if_contains("progress") : nullptr;
        const auto* told = package ? package->if_contains("told") : nullptr;
        if (!progress || !progress->is_number() || !told || !told->is_array()) continue;
        Known& known = known_[key];
        known.progress = progress->to_number<float>();
        for (const auto& hash : told->get_array())
            if (hash.is_string()) known.happenings.emplace(hash.get_string());
    }
}

}  // namespace host
