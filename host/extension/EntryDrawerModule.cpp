// SPDX-License-Identifier: Apache-2.0

// The module behind EntryDrawer.

#include "host/extension/EntryDrawer.hpp"
#include "host/protocol/DrawingRequestCoding.hpp"
#include "platform/JSON/JSONSerialization.hpp"
#include "widget/EntryDrawing.hpp"

extern "C" __attribute__((visibility("default"))) void velaDrawEntry(const char* request, std::size_t length,
                                                                     const platform::ModuleOutput* output) {
    try {
        const auto body = platform::JSONSerialization::JSONObjectWithData({request, length});
        output->result(widget::draw(host::drawingRequestFromObject(body.as_object())));
    } catch (const std::exception& error) {
        output->problem(error.what());
    }
}
