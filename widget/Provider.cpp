// SPDX-License-Identifier: Apache-2.0

#include "widget/Provider.hpp"

#include <fstream>

#include "analytics/WidgetInteractionEvent.hpp"
#include "drawing/Image/AssetCatalogue.hpp"
#include "platform/Bundle/Bundle.hpp"
#include "platform/Calendar/Calendar.hpp"
#include "platform/Log/Logger.hpp"
#include "presentation/Wording.hpp"
#include "server/StoredCredentials.hpp"
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

boost::asio::awaitable<server::FetchReport> fetched(ProviderSources sources) {
    try {
        co_return co_await sources.packageFetch()->fetch();
    } catch (...) {
        co_return server::FetchReport{.failure = std::current_exception()};
    }
}

WidgetState stateOf(server::FetchReport report) {
    if (report.failure) return NotLoggedIn{};
    if (!report.packages || report.packages->empty()) return NoPackages{};
    return LoggedIn{std::move(*report.packages)};
}

/// Without them nothing of the widget has its colours.
bool hasAssets(const platform::Bundle& bundle) {
    const auto file = bundle.resourceFolder() / drawing::AssetCatalogue::fileName;
    return std::ifstream(file).peek() != std::ifstream::traits_type::eof();
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
    auto report = co_await fetched(sources_);
    co_return SimpleEntry{platform::Date::now(), stateOf(std::move(report))};
}

boost::asio::awaitable<platform::Timeline<SimpleEntry>> Provider::timeline(ConfigurationAppIntent intent,
                                                                           Context context) const {
    auto report = co_await timelineReport(intent, context);
    co_return std::move(report.timeline);
}

boost::asio::awaitable<TimelineReport> Provider::timelineReport(ConfigurationAppIntent,
                                                                Context context) const {
    const auto requested = platform::Date::now();
    const auto reload = oneHourAfter(requested);
    auto fetch = co_await fetched(sources_);
    const auto outcome = fetch.outcome;
    auto state = stateOf(std::move(fetch));
    const auto date = platform::Date::now();
    sendWidgetInteractionEvent(context.family, state);
    TimelineReport report = {.timeline = {.entries = {}, .policy = {.after = reload}}, .outcome = outcome};
    report.timeline.entries.push_back(SimpleEntry{date, std::move(state)});
    co_return report;
}

CredentialReport Provider::credentials() const {
    return server::storedCredentials(sources_.sharedDefaults());
}

boost::asio::awaitable<Diagnosis> Provider::diagnosis() const {
    auto diagnosis = co_await server::diagnosis(
        sources_.sharedDefaults(),
        platform::URLSession::session(platform::URLSessionConfiguration::defaultSessionConfiguration()));
    diagnosis.isBundleWhole = diagnosis.isBundleWhole && hasAssets(platform::Bundle::main());
    co_return diagnosis;
}

bool Provider::wantsNotifications() const {
    return server::wantsNotifications(sources_.sharedDefaults());
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
