#pragma once

// An entry as a picture: what a host asks for when it shows the widget.

#include <optional>
#include <string>

#include "platform/Image/ColorScheme.hpp"
#include "platform/SwiftUI/Color.hpp"
#include "platform/SwiftUI/Geometry.hpp"
#include "platform/SwiftUI/PictureLoader.hpp"
#include "platform/WidgetKit/WidgetFamily.hpp"
#include "widget/SimpleEntry.hpp"

namespace widget {

enum class DrawingFormat { png, svg, tree };

struct EntryDrawing {
    SimpleEntry entry;
    platform::WidgetFamily family;
    platform::ColorScheme colorScheme = platform::ColorScheme::light;
    /// In points; absent is the family's own size.
    std::optional<platform::Size> size = std::nullopt;
    /// Pixels to a point.
    double scale = 3;
    DrawingFormat format = DrawingFormat::png;
    /// "#RRGGBB", the one colour of a lock screen's widgets; absent is one that reads well in the colour
    /// scheme.
    std::optional<std::string> tint = std::nullopt;
};

/// In points, as the design has it.
platform::Size referenceSize(platform::WidgetFamily family);

/// The bytes of the picture, with pictures of the network's (http, https, file and data URLs). Blocks while
/// those are read. Safe from any thread.
std::string draw(const EntryDrawing& drawing);
std::string draw(const EntryDrawing& drawing, platform::PictureLoader& pictures);

}  // namespace widget
