// SPDX-License-Identifier: Apache-2.0

#pragma once

// What a host may ask of the extension, as both sides put it into words. docs/protocol.md describes each. A
// plain value.

#include <boost/json/value.hpp>
#include <chrono>
#include <optional>

#include "platform/WidgetKit/WidgetFamily.hpp"
#include "widget/DrawingRequest.hpp"

namespace host {

struct ExtensionRequest {
    enum class Kind {
        declaration,
        placeholder,
        snapshot,
        timeline,
        credentials,
        settings,
        diagnosis,
        render,
        finishUploads
    };

    /// No transfer takes longer, so no wait for one needs to.
    static constexpr std::chrono::milliseconds longestLimit = std::chrono::seconds(120);

    Kind kind;
    platform::WidgetFamily family = platform::WidgetFamily::systemMedium;
    /// finishUploads: how long the extension may wait for uploads in flight, 0 to `longestLimit`; what is
    /// read beyond is taken for the nearest.
    std::chrono::milliseconds limit = std::chrono::milliseconds(2000);
    /// render: what is to be drawn, of `family`.
    std::optional<widget::DrawingRequest> drawing = std::nullopt;

    static ExtensionRequest rendering(widget::DrawingRequest drawing);

    boost::json::object object() const;
    /// What is asked for; the rest is unread. Throws ProtocolError.
    static Kind kindIn(const boost::json::object& object);
    /// Throws ProtocolError, and EntryCodingError for the entry to be drawn.
    static ExtensionRequest fromObject(const boost::json::object& object);
};

}  // namespace host
