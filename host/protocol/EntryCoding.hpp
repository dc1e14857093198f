// SPDX-License-Identifier: Apache-2.0

#pragma once

// Entries, timelines and declarations as JSON: what the extension tells its host, what the command line
// prints, and what a saved entry is read from. Pure functions, safe from any thread.

#include <boost/json/value.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/WidgetKit/Timeline.hpp"
#include "widget/SimpleEntry.hpp"

namespace host {

/// A JSON value that is no entry; `what()` names the place and what is wrong there.
class EntryCodingError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// What a widget tells its host about itself.
struct Declaration {
    std::string kind;
    std::string displayName;
    std::string description;
    std::vector<std::string> supportedFamilies;
};

/// {"date", "packages" (signed in only), "state"}.
boost::json::object entryObject(const widget::SimpleEntry& entry);
/// {"entries", "policy": {"after"}}.
boost::json::object timelineObject(const platform::Timeline<widget::SimpleEntry>& timeline);
boost::json::object declarationObject(const Declaration& declaration);

/// Reads what `entryObject` gives; members that it does not know are passed over. Throws EntryCodingError.
widget::SimpleEntry entryFromValue(const boost::json::value& value);
platform::Timeline<widget::SimpleEntry> timelineFromValue(const boost::json::value& value);
Declaration declarationFromValue(const boost::json::value& value);

}  // namespace host
