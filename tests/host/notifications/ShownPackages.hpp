// SPDX-License-Identifier: Apache-2.0

#pragma once

// States of a live host that shows packages.

#include <boost/json/value.hpp>
#include <string>
#include <vector>

#include "host/protocol/EntryCoding.hpp"
#include "host/protocol/LiveState.hpp"

namespace host {

struct ShownPackage {
    std::string name;
    float progress = 0;
    std::string primary = "On its way";
};

inline LiveState showing(const std::vector<ShownPackage>& shown) {
    boost::json::array packages;
    for (const ShownPackage& package : shown)
        packages.push_back({{"deepLinkingUrl", "velaapp://delivery/" + package.name},
                            {"productImage", nullptr},
                            {"progress", package.progress},
                            {"shopImage", nullptr},
                            {"shopName", package.name},
                            {"statusText", {{"primary", package.primary}, {"secondary", "by noon"}}}});
    return {.entry = entryFromValue({{"date", "2026-01-31T10:00:00.000Z"},
                                     {"state", "loggedIn"},
                                     {"packages", std::move(packages)}})};
}

}  // namespace host
