#pragma once

// What a host may ask of the extension, as both sides put it into words. docs/protocol.md describes each. A
// plain value.

#include <boost/json/value.hpp>
#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Image/ColorScheme.hpp"
#include "platform/SwiftUI/Geometry.hpp"
#include "platform/WidgetKit/WidgetFamily.hpp"

namespace host {

enum class DrawingFormat { png, svg, tree };
std::string_view name(DrawingFormat format);
std::string_view name(platform::ColorScheme colorScheme);

/// Whether a drawing may read the pictures that its entry names, or shows a placeholder for each.
enum class PictureReading { allowed, placeholdersOnly };

/// How an entry is to be drawn.
struct DrawingRequest {
    /// Points a side, and pixels in all: what one drawing may cost.
    static constexpr double longestSide = 4096;
    static constexpr double mostPixels = 16e6;
    /// Whether a drawing of that size at that scale stays within the bounds.
    static bool isWithinBounds(platform::Size size, double scale);

    /// As `entryObject` writes it.
    boost::json::object entry;
    platform::ColorScheme colorScheme = platform::ColorScheme::light;
    /// In points; absent is the family's own size.
    std::optional<platform::Size> size = std::nullopt;
    /// Pixels to a point, 1 to 4.
    double scale = 3;
    DrawingFormat format = DrawingFormat::png;
    /// "#RRGGBB"; the one colour of a lock screen.
    std::optional<std::string> tint = std::nullopt;
    PictureReading pictures = PictureReading::allowed;
};

struct ExtensionRequest {
    enum class Kind { declaration, placeholder, snapshot, timeline, render, finishUploads };

    /// No transfer takes longer, so no wait for one needs to.
    static constexpr std::chrono::milliseconds longestLimit = std::chrono::seconds(120);

    Kind kind;
    platform::WidgetFamily family = platform::WidgetFamily::systemMedium;
    /// finishUploads: how long the extension may wait for uploads in flight, 0 to `longestLimit`; what is
    /// read beyond is taken for the nearest.
    std::chrono::milliseconds limit = std::chrono::milliseconds(2000);
    /// render: what is to be drawn.
    std::optional<DrawingRequest> drawing = std::nullopt;

    boost::json::object object() const;
    /// Throws ProtocolError.
    static ExtensionRequest fromObject(const boost::json::object& object);
};

}  // namespace host
