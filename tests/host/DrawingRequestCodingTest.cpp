// SPDX-License-Identifier: Apache-2.0

#include "host/protocol/DrawingRequestCoding.hpp"

#include <gtest/gtest.h>

#include <boost/json/object.hpp>
#include <string>

#include "host/protocol/MessageChannel.hpp"

namespace {

using drawing::Appearance;
using widget::DrawingRequest;

DrawingRequest anyRequest() {
    return {.entry = {.date = platform::Date::since1970(0), .widgetState = widget::NoPackages{}},
            .family = platform::WidgetFamily::systemMedium};
}

Appearance received(const Appearance& sent) {
    DrawingRequest request = anyRequest();
    request.appearance = sent;
    return host::drawingRequestFromObject(host::drawingRequestObject(request)).appearance;
}

TEST(DrawingRequestCoding, CarriesEachTextSize) {
    for (const auto size : drawing::allTextSizes)
        EXPECT_EQ(received({.textSize = size}).textSize, size) << name(size);
}

TEST(DrawingRequestCoding, CarriesContrastTransparencyAndRedaction) {
    for (const auto contrast : drawing::allContrasts)
        EXPECT_EQ(received({.contrast = contrast}).contrast, contrast) << name(contrast);
    for (const auto transparency : drawing::allTransparencies)
        EXPECT_EQ(received({.transparency = transparency}).transparency, transparency) << name(transparency);
    for (const auto redaction : drawing::allRedactions)
        EXPECT_EQ(received({.redaction = redaction}).redaction, redaction) << name(redaction);
}

TEST(DrawingRequestCoding, TakesTheUsualAppearanceWhereNoneIsNamed) {
    auto object = host::drawingRequestObject(anyRequest());
    for (const auto* member : {"textSize", "contrast", "transparency", "redaction"}) object.erase(member);
    const Appearance appearance = host::drawingRequestFromObject(object).appearance;
    EXPECT_EQ(appearance.textSize, drawing::TextSize::large);
    EXPECT_EQ(appearance.contrast, drawing::Contrast::standard);
    EXPECT_EQ(appearance.transparency, drawing::Transparency::standard);
    EXPECT_EQ(appearance.redaction, drawing::Redaction::none);
}

TEST(DrawingRequestCoding, RefusesAnAppearanceThatIsNotKnown) {
    for (const auto* member : {"textSize", "contrast", "transparency", "redaction"}) {
        auto object = host::drawingRequestObject(anyRequest());
        object[member] = "huge";
        EXPECT_THROW(host::drawingRequestFromObject(object), host::ProtocolError) << member;
    }
}

TEST(DrawingRequestCoding, RefusesAScaleThatNoScreenHas) {
    for (const double scale : {0.0, 0.99, 4.01, -1.0}) {
        auto object = host::drawingRequestObject(anyRequest());
        object["scale"] = scale;
        EXPECT_THROW(host::drawingRequestFromObject(object), host::ProtocolError) << scale;
    }
    for (const double scale : {1.0, 4.0}) {
        auto object = host::drawingRequestObject(anyRequest());
        object["scale"] = scale;
        EXPECT_EQ(host::drawingRequestFromObject(object).scale, scale);
    }
}

TEST(DrawingRequestCoding, RefusesASizeThatIsNone) {
    for (const boost::json::value& size :
         {boost::json::value("338x158"), boost::json::value(7), boost::json::value(boost::json::object()),
          boost::json::value({{"width", 338}, {"height", 1e9}})}) {
        auto object = host::drawingRequestObject(anyRequest());
        object["size"] = size;
        EXPECT_THROW(host::drawingRequestFromObject(object), host::ProtocolError) << size;
    }
}

TEST(DrawingRequestCoding, RefusesATintThatIsNoColour) {
    for (const auto* tint : {"", "red", "#12345", "#GGGGGG", "#1234567"}) {
        auto object = host::drawingRequestObject(anyRequest());
        object["tint"] = tint;
        EXPECT_THROW(host::drawingRequestFromObject(object), host::ProtocolError) << tint;
    }
}

}  // namespace
