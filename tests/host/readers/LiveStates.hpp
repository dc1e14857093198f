// SPDX-License-Identifier: Apache-2.0

#pragma once

// States of a live host, for tests of what readers make of them.

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/protocol/LiveState.hpp"
#include "presentation/StoredPackage.hpp"

namespace host {

struct PackageWords {
    std::string name;
    std::string primary = "In transit";
    std::optional<std::string> secondary = std::nullopt;
    float progress = 0.6F;
    std::string link = "velaapp://order/1";
};

inline const platform::Date someNoon = platform::Date::sinceReferenceDate(721'742'400);

inline LiveState stateWith(const std::vector<PackageWords>& packages) {
    widget::LoggedIn state;
    for (const auto& words : packages)
        state.packages.push_back(
            std::make_shared<presentation::StoredPackage>(presentation::StoredPackage::Values{
                .shopName = words.name,
                .deepLinkingUrl = *platform::URL::parse(words.link),
                .progress = words.progress,
                .statusText = {.primary = words.primary, .secondary = words.secondary},
            }));
    return {.entry = {someNoon, std::move(state)}};
}

inline LiveState signedOutState() {
    return {.entry = {someNoon, widget::NotLoggedIn()}};
}
inline LiveState emptyState() {
    return {.entry = {someNoon, widget::NoPackages()}};
}
inline LiveState unknownState() {
    return {.entry = widget::placeholderEntry(someNoon, "Shop Name"), .isPlaceholder = true};
}

/// What a server, or whoever sells by it, might call a shop to do harm.
inline std::vector<std::string> hostileNames() {
    std::string enormous;
    while (enormous.size() < 10'000) enormous += "Enormous 名 ";
    return {
        R"(Quotes " ' \ ` $(touch x) ; |)",
        "<b>&amp;</b><txt>]]></txt><tool></tool><txtclick>rm</txtclick>",
        "%{A1:rm:}%{F#f00}100%",
        "%%{u}%{",
        "#[fg=red]#(touch x)##{pane_id}#",
        "line\nfeed\r\ttab\x1b[31m\x07\x01\x7f\xc2\x85",
        "\u202egnp.exe \u2066isolate",
        "\u2028\u2029",
        "שוק הספרים",
        "سوق الفوانيس",
        "👩‍👩‍👧‍👦🏳️‍🌈🇩🇪 e\u0301",
        "\xff\xfe broken \xc3 \xf0\x9f",
        std::string("nul\0byte", 8),
        "",
        " ",
        "{\"full_text\":1},[",
        enormous,
    };
}

}  // namespace host
