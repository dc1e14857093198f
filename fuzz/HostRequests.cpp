// SPDX-License-Identifier: Apache-2.0

// What a host sends, as the extension reads it, and a reader, as a live host does: frames and requests.

#include "fuzz/Conversation.hpp"
#include "fuzz/Require.hpp"
#include "host/protocol/ExtensionRequest.hpp"
#include "host/protocol/LiveCoding.hpp"

namespace {

void readLiveRequest(const boost::json::object& object) {
    try {
        host::liveRequestIn(object);
        const auto* pictures = object.if_contains("pictures");
        const auto files = host::pictureFilesFromValue(pictures ? *pictures : boost::json::value());
        require(host::pictureFilesFromValue(host::pictureFileArray(files)) == files,
                "pictures read back as they were written");
        for (const auto& file : files)
            require(file.name().find('/') == std::string::npos, "a picture stays in its folder");
    } catch (const host::ProtocolError&) {
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t size) {
    using host::ExtensionRequest;
    for (const host::Message& message : messagesIn(text(input, size))) {
        readLiveRequest(message.body);
        try {
            const auto request = ExtensionRequest::fromObject(message.body);
            const auto object = request.object();
            require(ExtensionRequest::fromObject(object).object() == object,
                    "a request reads back as it was written");
            require(request.drawing.has_value() == (request.kind == ExtensionRequest::Kind::render),
                    "a drawing alone is drawn");
            require(request.limit.count() >= 0 && request.limit <= ExtensionRequest::longestLimit,
                    "a wait is within its bounds");
            if (!request.drawing) continue;
            const auto& drawing = *request.drawing;
            require(drawing.scale >= 1 && drawing.scale <= 4, "a scale is within its bounds");
            require(!drawing.size || widget::DrawingRequest::isWithinBounds(*drawing.size, drawing.scale),
                    "a size is within its bounds");
        } catch (const host::ProtocolError&) {
        }
    }
    return 0;
}
