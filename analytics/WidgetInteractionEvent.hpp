// SPDX-License-Identifier: Apache-2.0

#pragma once

// A widget was brought up to date: which one, where, and what it shows. A plain value.

#include <functional>
#include <optional>
#include <string>

#include "analytics/RelayboxEventable.hpp"
#include "platform/Device/Device.hpp"
#include "server/SharedDefaults.hpp"

namespace analytics {

struct WidgetInteraction {
    /// Family and kind, "systemSmall.TrackingWidget".
    std::string widgetId;
    std::string widgetSize;
    std::string widgetType;
    /// "loggedIn", "notLoggedIn" or "noPackages".
    std::string widgetState;
    /// As stored; it is sent only where it is a number.
    std::optional<std::string> userId = {};
};

class WidgetInteractionEvent final : public RelayboxEventable {
  public:
    /// Where the facts come from that every payload carries; asked at each payload.
    struct Sources {
        std::function<const platform::Device&()> device = platform::Device::current;
        std::function<const server::SharedDefaults&()> defaults = server::SharedDefaults::shared;
    };

    explicit WidgetInteractionEvent(WidgetInteraction interaction)
        : WidgetInteractionEvent(std::move(interaction), Sources{}) {}
    WidgetInteractionEvent(WidgetInteraction interaction, Sources sources)
        : interaction_(std::move(interaction)), sources_(std::move(sources)) {}

    std::string_view schemaId() const override { return "vela_app_widget_interaction/1.0"; }
    Payload payload() const override;

  private:
    WidgetInteraction interaction_;
    Sources sources_;
};

}  // namespace analytics
