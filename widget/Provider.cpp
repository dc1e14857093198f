// SPDX-License-Identifier: Apache-2.0

#include "widget/Provider.hpp"

#include "analytics/WidgetInteractionEvent.hpp"
#include "platform/Calendar/Calendar.hpp"
#include "platform/Log/Logger.hpp"
#include "presentation/Wording.hpp"
#include "widget/TrackingWidget.hpp"
#include "widget/WidgetIdentifier.hpp"

namespace widget {

namespace {

platform::Date oneHourAfter(platform::Date date) {
    const auto reload =
        platform::Calendar::current().dateByAdding(platform::CalendarComponent::hour, 1, date);
    if (!reload) platform::fatalError("The calendar cannot tell what is an hour from now.");
    return *reload;
}

}  // namespace

Provider::Provider(std::shared_ptr<const analytics::Relaybox> relaybox, double minimumTimeBetweenEvents,
                   ProviderSources sources)
    : relaybox_(std::move(relaybox)),
      minimumTimeBetweenEvents_(minimumTimeBetweenEvents),
      sources_(std::move(sources)) {}

SimpleEntry Provider::placeholder(Context) const {
    return placeholderEntry(platform::Date::now(), std::string(presentation::Wording::sampleShopName));
}

boost::asio::awaitable<SimpleEntry> Provider::snapshot(ConfigurationAppIntent, Context) const {
    auto state = co_await fetchedState();
    co_return SimpleEntry{platform::Date::now(), std::move(state)};
}

boost::asio::awaitable<platform::Timeline<SimpleEntry>> Provider::timeline(ConfigurationAppIntent,
                                                                           Context context) const {
    const auto requested = platform::Date::now();
    const auto reload = oneHourAfter(requested);
    auto state = co_await fetchedState();
    const auto date = platform::Date::now();
    sendWidgetInteractionEvent(context.family, state);
    platform::Timeline<SimpleEntry> timeline = {.entries = {}, .policy = {.after = reload}};
    timeline.entries.push_back(SimpleEntry{date, std::move(state)});
    co_return timeline;
}

boost::asio::awaitable<WidgetState> Provider::fetchedState() const {
    try {
        auto packages = co_await sources_.packageFetch()->fetchPackages();
        if (!packages || packages->empty()) co_return NoPackages{};
        co_return LoggedIn{std::move(*packages)};
    } catch (...) {
        co_return NotLoggedIn{};
    }
}

void Provider::sendWidgetInteractionEvent(platform::WidgetFamily family, const WidgetState& state) const {
    if (!sources_.throttle.admitsEvent(platform::Date::now(), minimumTimeBetweenEvents_)) return;
    const WidgetIdentifier identifier = {.family = family, .widgetKind = TrackingWidget::kind};
    const analytics::WidgetInteraction interaction = {
        .widgetId = identifier.description(),
        .widgetSize = std::string(analyticsName(family)),
        .widgetType = TrackingWidget::kind,
        .widgetState = std::string(analyticsName(state)),
        .userId = sources_.sharedDefaults().store().stringForKey(server::SharedDefaultsKey::userId),
    };
    const analytics::WidgetInteractionEvent event(
        interaction, {.device = sources_.device, .defaults = sources_.sharedDefaults});
    relaybox_->send(event);
}

}  // namespace widget
