#pragma once

// What a host may ask of the extension, as both sides put it into words. docs/protocol.md describes each. A
// plain value.

#include <boost/json/value.hpp>
#include <chrono>
#include <optional>
#include <string_view>

#include "platform/WidgetKit/WidgetFamily.hpp"

namespace host {

struct ExtensionRequest {
    enum class Kind { declaration, placeholder, snapshot, timeline, finishUploads };

    Kind kind;
    platform::WidgetFamily family = platform::WidgetFamily::systemMedium;
    /// finishUploads: how long the extension may wait for uploads in flight.
    std::chrono::milliseconds limit = std::chrono::milliseconds(2000);

    boost::json::object object() const;
    /// Throws ProtocolError.
    static ExtensionRequest fromObject(const boost::json::object& object);
};

}  // namespace host
