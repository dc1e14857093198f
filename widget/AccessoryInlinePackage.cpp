#include "widget/AccessoryInlinePackage.hpp"

namespace widget {

using namespace platform;

View AccessoryInlinePackage::body() const {
    return horizontalStack({.spacing = 5},
                           {
                               image("VelaIcon").frame({.width = 12, .height = 12}),
                               text(package.statusText().primary).font(TextStyle::subheadline).lineLimit(1),
                           })
        .widgetURL(package.deepLinkingUrl());
}

}  // namespace widget
