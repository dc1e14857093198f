// SPDX-License-Identifier: Apache-2.0

#pragma once

// What a live host needs of an extension. A seam: tests have one of their own. Belongs to one executor, and
// has to outlive what was asked of it.

#include <boost/asio/awaitable.hpp>
#include <string>

#include "host/widget/ExtensionSession.hpp"
#include "platform/WidgetKit/Timeline.hpp"
#include "widget/DrawingRequest.hpp"
#include "widget/FetchOutcome.hpp"
#include "widget/SimpleEntry.hpp"

namespace host {

class LiveExtension {
  public:
    struct Answer {
        platform::Timeline<widget::SimpleEntry> timeline;
        widget::FetchOutcome outcome;
    };

    virtual ~LiveExtension() = default;

    /// Each throws ExtensionError, and the timeline ServerTimeout where it is the server that takes too long.
    virtual boost::asio::awaitable<Answer> timeline(platform::WidgetFamily family) = 0;
    virtual boost::asio::awaitable<widget::CredentialReport> credentials() = 0;
    virtual boost::asio::awaitable<std::string> draw(widget::DrawingRequest drawing) = 0;

    /// Ends it at once, with all that it remembers; what was asked fails, and what is asked next is asked of
    /// another.
    virtual void leave() = 0;
};

/// An extension that is there when it is needed: what is not asked for a while is ended, and started again
/// for the next question.
class SessionExtension final : public LiveExtension {
  public:
    SessionExtension(const boost::asio::any_io_executor& executor, ExtensionSession::Options options,
                     std::chrono::milliseconds rest);
    ~SessionExtension() override;

    boost::asio::awaitable<Answer> timeline(platform::WidgetFamily family) override;
    boost::asio::awaitable<widget::CredentialReport> credentials() override;
    boost::asio::awaitable<std::string> draw(widget::DrawingRequest drawing) override;
    void leave() override;

    /// Whether the person wants to be told what happens. Throws ExtensionError.
    boost::asio::awaitable<bool> wantsNotifications();

    /// Ends it once its uploads are through, for two seconds at most.
    boost::asio::awaitable<void> end();

  private:
    class Use;

    boost::asio::awaitable<void> endAfterRest();

    ExtensionSession session_;
    std::chrono::milliseconds rest_;
    boost::asio::steady_timer idle_;
    /// What a question that outlives this finds of it.
    std::shared_ptr<SessionExtension*> self_;
    int uses_ = 0;
};

}  // namespace host
