// SPDX-License-Identifier: Apache-2.0

#include "platform/Date/SystemAmbient.hpp"

#include <algorithm>
#include <ctime>
#include <initializer_list>
#include <string_view>

#include "platform/Date/LocaleWords.hpp"
#include "platform/Date/PosixLocale.hpp"
#include "platform/Date/SystemZone.hpp"
#include "platform/ProcessInfo/ProcessInfo.hpp"

namespace platform {

namespace {

constexpr const char* posixLocaleIdentifier = "en_US_POSIX";

/// The first of the variables that is set to something.
std::optional<std::string> firstSet(std::initializer_list<std::string_view> variables) {
    for (const auto variable : variables)
        if (auto value = environmentVariable(variable); value && !value->empty()) return value;
    return std::nullopt;
}

std::string languageList() {
    return firstSet({"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"}).value_or("");
}

/// The locales of a list such as "en_GB:de", each once, as far as anyone would read.
std::vector<PosixLocale> localesIn(std::string_view list) {
    constexpr std::size_t most = 64;
    std::vector<PosixLocale> locales;
    while (!list.empty() && locales.size() < most) {
        const auto colon = list.find(':');
        auto locale = PosixLocale::parse(list.substr(0, colon));
        if (locale && std::find(locales.begin(), locales.end(), *locale) == locales.end())
            locales.push_back(*std::move(locale));
        list = colon == std::string_view::npos ? std::string_view() : list.substr(colon + 1);
    }
    return locales;
}

/// The language decides about the words, the region about the calendar: a language that stands in takes the
/// region of the locale unless it names its own.
std::string identifierWithWords(const PosixLocale& locale, std::string_view languages) {
    if (auto found = localeWithWords(locale.identifier())) return *std::move(found);
    for (auto other : localesIn(languages)) {
        if (other.region.empty()) other.region = locale.region;
        if (auto found = localeWithWords(other.identifier())) return *std::move(found);
    }
    return PosixLocale{.language = "en", .region = locale.region}.identifier();
}

}  // namespace

SystemAmbient::SystemAmbient() : SystemAmbient(Settings{}) {}

SystemAmbient::SystemAmbient(Settings settings) : settings_(settings) {}

Date SystemAmbient::now() const {
    timespec time = {};
    clock_gettime(CLOCK_REALTIME, &time);
    // The whole seconds are moved first: their difference is exact, so the fraction keeps its precision.
    const double seconds = static_cast<double>(time.tv_sec) - Date::secondsBetween1970And2001;
    return Date::sinceReferenceDate(seconds + static_cast<double>(time.tv_nsec) * 1e-9);
}

int SystemAmbient::secondsFromGMT(Date date) const {
    refreshZone();
    return SystemZone::secondsFromGMT(date);
}

std::string SystemAmbient::localeIdentifier() const {
    auto name = firstSet({"LC_ALL", "LC_TIME", "LANG"}).value_or("");
    const auto locale = PosixLocale::parse(name);
    if (!locale) return posixLocaleIdentifier;
    auto languages = languageList();
    const std::lock_guard lock(mutex_);
    if (!locale_ || locale_->name != name || locale_->languages != languages) {
        auto identifier = identifierWithWords(*locale, languages);
        locale_ = Locale{
            .name = std::move(name), .languages = std::move(languages), .identifier = std::move(identifier)};
    }
    return locale_->identifier;
}

std::vector<std::string> SystemAmbient::preferredLanguages() const {
    std::vector<std::string> tags;
    for (const auto& locale : localesIn(languageList())) tags.push_back(locale.languageTag());
    return tags;
}

void SystemAmbient::refreshZone() const {
    const auto time = std::chrono::steady_clock::now().time_since_epoch();
    if (time < nextZoneCheck_.load(std::memory_order_relaxed)) return;
    nextZoneCheck_.store(time + settings_.zoneCheckInterval, std::memory_order_relaxed);
    SystemZone::refresh();
}

}  // namespace platform
