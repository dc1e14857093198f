// SPDX-License-Identifier: Apache-2.0

#include "host/protocol/EntryCoding.hpp"

#include <charconv>
#include <cmath>

#include "presentation/StoredPackage.hpp"

namespace host {

namespace json = boost::json;
using presentation::Package;
using presentation::PackageList;
using presentation::StoredPackage;

namespace {

/// The double whose shortest decimal is that of the single-precision value: 0.6, not 0.6000000238418579.
double shortestDouble(float value) {
    char text[32];
    const auto written = std::to_chars(text, text + sizeof text, value);
    double result = 0;
    std::from_chars(text, written.ptr, result);
    return result;
}

json::value textOrNull(const std::optional<std::string>& text) {
    return text ? json::value(*text) : json::value(nullptr);
}

json::value textOrNull(const std::optional<platform::URL>& url) {
    return url ? json::value(url->absoluteString()) : json::value(nullptr);
}

json::object packageObject(const Package& package) {
    const auto status = package.statusText();
    return {
        {"deepLinkingUrl", package.deepLinkingUrl().absoluteString()},
        {"productImage", textOrNull(package.productImage())},
        {"progress", shortestDouble(package.progress())},
        {"shopImage", textOrNull(package.shopImage())},
        {"shopName", package.shopName()},
        {"statusText", {{"primary", status.primary}, {"secondary", textOrNull(status.secondary)}}},
    };
}

/// A place in the value that is being read, for messages.
class Place {
  public:
    Place(const json::value& value, std::string path) : value_(value), path_(std::move(path)) {}

    [[noreturn]] void reject(const char* expectation) const {
        throw EntryCodingError(path_ + " must be " + expectation);
    }

    Place member(const char* key) const {
        static const json::value missing = nullptr;
        if (!value_.is_object()) reject("an object");
        const auto* found = value_.get_object().if_contains(key);
        return Place(found ? *found : missing, path_ + "." + key);
    }

    std::vector<Place> elements() const {
        if (!value_.is_array()) reject("a list");
        std::vector<Place> places;
        for (const auto& element : value_.get_array())
            places.emplace_back(element, path_ + "[" + std::to_string(places.size()) + "]");
        return places;
    }

    std::string text() const {
        if (!value_.is_string()) reject("a text");
        return std::string(value_.get_string());
    }

    platform::URL url() const {
        const auto parsed = platform::URL::parse(text());
        if (!parsed) reject("an absolute URL");
        return *parsed;
    }

    platform::Date date() const {
        const auto parsed = platform::dateFromInternetDateTime(text());
        if (!parsed) reject("a date such as 2026-01-31T10:00:00.123Z");
        return *parsed;
    }

    float fraction() const {
        const double number = value_.is_number() ? value_.to_number<double>() : -1;
        if (!(number >= 0 && number <= 1)) reject("a number from 0 to 1");
        return static_cast<float>(number);
    }

    bool isNull() const { return value_.is_null(); }

    template <typename Read>
    auto optional(Read read) const -> std::optional<decltype(read(*this))> {
        if (isNull()) return std::nullopt;
        return read(*this);
    }

  private:
    const json::value& value_;
    std::string path_;
};

std::shared_ptr<const Package> package(const Place& place) {
    const auto url = [](const Place& there) { return there.url(); };
    const auto text = [](const Place& there) { return there.text(); };
    const auto status = place.member("statusText");
    return std::make_shared<StoredPackage>(StoredPackage::Values{
        .shopName = place.member("shopName").text(),
        .deepLinkingUrl = place.member("deepLinkingUrl").url(),
        .progress = place.member("progress").fraction(),
        .shopImage = place.member("shopImage").optional(url),
        .productImage = place.member("productImage").optional(url),
        .statusText = {.primary = status.member("primary").text(),
                       .secondary = status.member("secondary").optional(text)},
    });
}

widget::WidgetState state(const Place& entry) {
    const auto place = entry.member("state");
    const auto name = place.text();
    if (name == "notLoggedIn") return widget::NotLoggedIn{};
    if (name == "noPackages") return widget::NoPackages{};
    if (name != "loggedIn") place.reject("loggedIn, notLoggedIn or noPackages");
    PackageList packages;
    for (const auto& element : entry.member("packages").elements()) packages.push_back(package(element));
    return widget::LoggedIn{std::move(packages)};
}

widget::SimpleEntry entry(const Place& place) {
    return {place.member("date").date(), state(place)};
}

}  // namespace

json::object entryObject(const widget::SimpleEntry& entry) {
    json::object object = {
        {"date", platform::internetDateTime(entry.date)},
        {"state", widget::analyticsName(entry.widgetState)},
    };
    if (const auto* loggedIn = std::get_if<widget::LoggedIn>(&entry.widgetState)) {
        json::array packages;
        for (const auto& each : loggedIn->packages) packages.push_back(packageObject(*each));
        object["packages"] = std::move(packages);
    }
    return object;
}

json::object timelineObject(const platform::Timeline<widget::SimpleEntry>& timeline) {
    json::array entries;
    for (const auto& each : timeline.entries) entries.push_back(entryObject(each));
    return {
        {"entries", std::move(entries)},
        {"policy", {{"after", platform::internetDateTime(timeline.policy.after)}}},
    };
}

widget::SimpleEntry entryFromValue(const json::value& value) {
    return entry(Place(value, "entry"));
}

platform::Timeline<widget::SimpleEntry> timelineFromValue(const json::value& value) {
    const Place place(value, "timeline");
    platform::Timeline<widget::SimpleEntry> timeline = {
        .entries = {}, .policy = {.after = place.member("policy").member("after").date()}};
    for (const auto& element : place.member("entries").elements()) timeline.entries.push_back(entry(element));
    return timeline;
}

json::object declarationObject(const Declaration& declaration) {
    json::array families;
    for (const auto& family : declaration.supportedFamilies) families.emplace_back(family);
    return {
        {"kind", declaration.kind},
        {"displayName", declaration.displayName},
        {"description", declaration.description},
        {"supportedFamilies", std::move(families)},
    };
}

Declaration declarationFromValue(const json::value& value) {
    const Place place(value, "declaration");
    Declaration declaration = {.kind = place.member("kind").text(),
                               .displayName = place.member("displayName").text(),
                               .description = place.member("description").text(),
                               .supportedFamilies = {}};
    for (const auto& family : place.member("supportedFamilies").elements())
        declaration.supportedFamilies.push_back(family.text());
    return declaration;
}

}  // namespace host
