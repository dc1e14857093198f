// The module behind EntryDrawer.

#include "host/extension/EntryDrawer.hpp"
#include "host/protocol/EntryCoding.hpp"
#include "host/protocol/ExtensionRequest.hpp"
#include "host/protocol/MessageChannel.hpp"
#include "platform/JSON/JSONSerialization.hpp"
#include "widget/EntryDrawing.hpp"

namespace {

using host::DrawingRequest;
using host::ExtensionRequest;
using host::PictureReading;

/// Every picture is its placeholder.
class NoPictures final : public platform::PictureLoader {
  public:
    std::optional<std::string> read(const platform::URL&) override { return std::nullopt; }
};

widget::DrawingFormat format(host::DrawingFormat requested) {
    switch (requested) {
        case host::DrawingFormat::png: return widget::DrawingFormat::png;
        case host::DrawingFormat::svg: return widget::DrawingFormat::svg;
        case host::DrawingFormat::tree: return widget::DrawingFormat::tree;
    }
    return widget::DrawingFormat::png;
}

std::string drawn(const ExtensionRequest& request) {
    const DrawingRequest& requested = request.drawing.value();
    const widget::EntryDrawing drawing = {
        .entry = host::entryFromValue(requested.entry),
        .family = request.family,
        .colorScheme = requested.colorScheme,
        .size = requested.size,
        .scale = requested.scale,
        .format = format(requested.format),
        .tint = requested.tint,
    };
    if (requested.pictures == PictureReading::allowed) return widget::draw(drawing);
    NoPictures none;
    return widget::draw(drawing, none);
}

}  // namespace

extern "C" __attribute__((visibility("default"))) void velaDrawEntry(const char* request, std::size_t length,
                                                                     const platform::ModuleOutput* output) {
    try {
        const auto body = platform::JSONSerialization::JSONObjectWithData({request, length});
        output->result(drawn(ExtensionRequest::fromObject(body.as_object())));
    } catch (const std::exception& error) {
        output->problem(error.what());
    }
}
