// SPDX-License-Identifier: Apache-2.0

#pragma once

// What stands well with an installation and what does not, each in a sentence that says what to do. Pure;
// safe from any thread.

#include <boost/json/value.hpp>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/protocol/LiveCoding.hpp"
#include "widget/Diagnosis.hpp"

namespace host {

/// All that was looked at.
struct Evidence {
    /// What the extension says; nothing where it says nothing, for `extensionFault`.
    std::optional<widget::Diagnosis> extension = std::nullopt;
    std::string extensionFault = {};
    /// Why the shared defaults cannot be used, and where they lie; empty where they can.
    std::string settingsFault = {};
    std::string settingsFile = {};
    /// Why nothing can be stored where they and the embedded keychain lie; empty where it can.
    std::string storageFault = {};
    /// Why the extension that answers cannot draw; empty where it can.
    std::string drawingFault = {};
    /// Packages of fonts that are not there.
    std::vector<std::string> missingFonts = {};
    /// The file that the zone is read from, where there is one, and whether it is a zone file.
    std::optional<std::string> zoneFile = std::nullopt;
    bool isZoneReadable = false;
    bool hasCompanion = false;
    bool hasPageOpener = false;
    /// As the service manager has it ("enabled", "disabled" …); empty where there is none, or no such unit.
    std::string socketUnit = {};
    bool hasServiceManager = false;
    std::optional<LiveHostStatus> liveHost = std::nullopt;
    /// Why there is none to be had, or does not serve; empty where simply none runs.
    std::string liveHostFault = {};
    /// The process that keeps its place and does not serve; 0 where that is not known.
    int silentHost = 0;
};

enum class Verdict { good, advice, problem };
std::string_view name(Verdict verdict);

struct Finding {
    std::string check;
    Verdict verdict = Verdict::good;
    std::string sentence;
    bool operator==(const Finding&) const = default;
};

/// In the order in which they are to be mended.
std::vector<Finding> findings(const Evidence& evidence);

/// {"findings": [{"check", "sentence", "verdict"}]}.
boost::json::object findingsObject(const std::vector<Finding>& findings);
/// A line each, for a person.
std::string findingsText(const std::vector<Finding>& findings);

}  // namespace host
