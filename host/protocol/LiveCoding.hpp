// SPDX-License-Identifier: Apache-2.0

#pragma once

// What a live host and its readers say to each other, as JSON; docs/live-host.md describes it. Pure
// functions, safe from any thread.

#include <boost/json/value.hpp>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/protocol/LiveState.hpp"
#include "host/protocol/PictureFile.hpp"
#include "platform/Date/Date.hpp"

namespace host {

/// How a live host is.
struct LiveHostStatus {
    long pid = 0;
    std::string version;
    platform::Date started;
    /// When the latest answer came; nothing before the first.
    std::optional<platform::Date> lastFetch = std::nullopt;
    /// When it asks next, unless something happens before.
    std::optional<platform::Date> nextFetch = std::nullopt;
    std::size_t readers = 0;
};

/// What a reader asks for.
enum class LiveRequest { follow, draw, reload, status, pictures };
std::string_view name(LiveRequest request);
/// Throws ProtocolError for an object that asks for none of them.
LiveRequest liveRequestIn(const boost::json::object& object);

/// Null for an empty text.
boost::json::value textOrNull(const std::string& text);

/// {"asOf", "entry", "isPlaceholder", "keychain", "trouble"}, absent values as null.
boost::json::object liveStateObject(const LiveState& state);
/// Throws EntryCodingError and ProtocolError.
LiveState liveStateFromValue(const boost::json::value& value);

/// {"lastFetch", "nextFetch", "pid", "readers", "started", "version"}.
boost::json::object liveHostStatusObject(const LiveHostStatus& status);
/// Throws ProtocolError.
LiveHostStatus liveHostStatusFromValue(const boost::json::value& value);

/// [{"colorScheme", "contrast", "family", "scale", "textScaling"}].
boost::json::array pictureFileArray(const std::vector<PictureFile>& files);
/// Throws ProtocolError: also for more than anybody shows, and for what the widget does not draw.
std::vector<PictureFile> pictureFilesFromValue(const boost::json::value& value);

}  // namespace host
