// SPDX-License-Identifier: Apache-2.0

#include "analytics/WidgetInteractionEvent.hpp"

#include <charconv>
#include <cstdint>

#include "analytics/DefaultsProvider.hpp"
#include "analytics/DeviceInfoProvider.hpp"

namespace analytics {

static_assert(DeviceInfoProvider<platform::Device>);
static_assert(DefaultsProvider<server::SharedDefaults>);

namespace {

constexpr const char* unknownDevice = "Unknown";
constexpr const char* platformName = "ios";

/// A signed 64-bit integer in base ten: a sign or none, then ASCII digits and nothing else.
std::optional<std::int64_t> integer(std::string_view text) {
    if (text.starts_with('+')) {
        text.remove_prefix(1);
        if (text.starts_with('-')) return std::nullopt;
    }
    std::int64_t value = 0;
    const auto end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stop != end) return std::nullopt;
    return value;
}

}  // namespace

Payload WidgetInteractionEvent::payload() const {
    const auto& device = sources_.device();
    const auto& store = sources_.defaults().store();
    Payload payload = {
        {"widgetId", interaction_.widgetId},
        {"widgetSize", interaction_.widgetSize},
        {"widgetType", interaction_.widgetType},
        {"widgetState", interaction_.widgetState},
        {"deviceModel", device.model()},
        {"platform", platformName},
        {"platformVersion", device.systemVersion()},
        {"deviceIdentifier",
         store.stringForKey(server::SharedDefaultsKey::installDeviceId).value_or(unknownDevice)},
    };
    if (interaction_.userId)
        if (const auto userId = integer(*interaction_.userId)) payload.emplace("userId", *userId);
    return payload;
}

}  // namespace analytics
