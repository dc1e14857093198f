// SPDX-License-Identifier: Apache-2.0

#pragma once

// Answers the host's requests for entries: decides the widget's state, the dates and the rhythm of reloads,
// and reports each timeline build to analytics. A plain value, made anew whenever the declaration is
// evaluated; one provider serves any number of requests at once on one executor and must outlive them.

#include <boost/asio/awaitable.hpp>
#include <functional>
#include <memory>

#include "analytics/Relaybox.hpp"
#include "platform/Device/Device.hpp"
#include "platform/WidgetKit/Timeline.hpp"
#include "server/PackageFetch.hpp"
#include "server/SharedDefaults.hpp"
#include "widget/ConfigurationAppIntent.hpp"
#include "widget/Diagnosis.hpp"
#include "widget/EventThrottle.hpp"
#include "widget/FetchOutcome.hpp"
#include "widget/SimpleEntry.hpp"

namespace widget {

/// A timeline, and how the fetch for it went.
struct TimelineReport {
    platform::Timeline<SimpleEntry> timeline;
    FetchOutcome outcome;
};

/// Where a provider gets packages and settings from. Asked on each request and not before, so that a
/// placeholder costs no input or output.
struct ProviderSources {
    std::function<std::shared_ptr<server::PackageFetching>()> packageFetch = server::PackageFetch::shared;
    std::function<const server::SharedDefaults&()> sharedDefaults = server::SharedDefaults::shared;
    std::function<const platform::Device&()> device = platform::Device::current;
    EventThrottle& throttle = EventThrottle::processWide();
};

class Provider {
  public:
    using Entry = SimpleEntry;
    using Intent = ConfigurationAppIntent;
    using Context = platform::TimelineProviderContext;

    Provider(std::shared_ptr<const analytics::Relaybox> relaybox, double minimumTimeBetweenEvents,
             ProviderSources sources = {});

    const std::shared_ptr<const analytics::Relaybox>& relaybox() const { return relaybox_; }
    /// Seconds.
    double minimumTimeBetweenEvents() const { return minimumTimeBetweenEvents_; }

    /// Three sample packages, whatever the sign-in. Returns at once.
    SimpleEntry placeholder(Context context) const;

    /// Real packages; no event.
    boost::asio::awaitable<SimpleEntry> snapshot(ConfigurationAppIntent intent, Context context) const;

    /// Real packages in one entry, to be asked for again an hour after this request began. Always ends in a
    /// timeline: a fetch that fails shows the signed-out state until then.
    boost::asio::awaitable<platform::Timeline<SimpleEntry>> timeline(ConfigurationAppIntent intent,
                                                                     Context context) const;
    boost::asio::awaitable<TimelineReport> timelineReport(ConfigurationAppIntent intent,
                                                          Context context) const;

    /// What is stored of a sign-in, at this moment; nothing is fetched.
    CredentialReport credentials() const;
    /// How all stands that it needs; the server is asked whether it is there, without credentials.
    boost::asio::awaitable<Diagnosis> diagnosis() const;
    bool wantsNotifications() const;

  private:
    void sendWidgetInteractionEvent(platform::WidgetFamily family, const WidgetState& state) const;

    std::shared_ptr<const analytics::Relaybox> relaybox_;
    double minimumTimeBetweenEvents_;
    ProviderSources sources_;
};

}  // namespace widget
