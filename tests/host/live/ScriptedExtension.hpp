// SPDX-License-Identifier: Apache-2.0

#pragma once

// An extension that answers what a test tells it, and what a live host is told of it.

#include <algorithm>
#include <boost/asio/io_context.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "host/widget/Live/LiveExtension.hpp"
#include "presentation/StoredPackage.hpp"
#include "tests/support/SteppedWallClock.hpp"

namespace host {

inline widget::SimpleEntry entryOf(platform::Date date, const std::string& shopName,
                                   const std::optional<platform::URL>& picture = std::nullopt) {
    return {date, widget::LoggedIn{
                      {std::make_shared<presentation::StoredPackage>(presentation::StoredPackage::Values{
                          .shopName = shopName,
                          .deepLinkingUrl = *platform::URL::parse("velaapp://order/1"),
                          .progress = 0.5F,
                          .productImage = picture,
                          .statusText = {.primary = "In transit"},
                      })}}};
}

inline std::string shopNameIn(const widget::SimpleEntry& entry) {
    const auto* shown = std::get_if<widget::LoggedIn>(&entry.widgetState);
    if (!shown) return std::string(widget::analyticsName(entry.widgetState));
    return shown->packages.empty() ? "nobody" : shown->packages.front()->shopName();
}

class ScriptedExtension final : public LiveExtension {
  public:
    ScriptedExtension(boost::asio::io_context& context, platform::testing::SteppedWallClock& clock)
        : clock_(clock), released_(context, boost::asio::steady_timer::time_point::max()) {}

    boost::asio::awaitable<Answer> timeline(platform::WidgetFamily) override {
        ++timelines;
        auto answer = nextAnswer();
        co_await pass();
        if (isFailing) throw ExtensionEnded("the extension ended before it answered");
        if (isServerTooSlow) throw ServerTimeout(platform::Deadline(std::chrono::seconds(190)));
        co_return answer;
    }

    boost::asio::awaitable<widget::CredentialReport> credentials() override {
        ++checks;
        if (onCheck) onCheck();
        if (isFailing || std::exchange(isFailingOnce, false))
            throw ExtensionEnded("the extension ended before it answered");
        co_return stored;
    }

    boost::asio::awaitable<std::string> draw(widget::DrawingRequest drawing) override {
        ++drawings;
        const bool isRedacted = drawing.appearance.redaction == drawing::Redaction::placeholder;
        auto bytes = (isRedacted ? "bars of " : "picture of ") + shopNameIn(drawing.entry);
        if (pictureDelay) {
            const auto patience = drawing.pictureBudget.value_or(std::chrono::hours(1));
            bytes += patience < *pictureDelay ? " without" : " with";
            boost::asio::steady_timer wait(released_.get_executor(), std::min(patience, *pictureDelay));
            co_await wait.async_wait(boost::asio::use_awaitable);
        }
        if (isDrawingHeld) co_await pass();
        if (isFailing) throw ExtensionEnded("the extension ended while drawing");
        co_return bytes;
    }

    void leave() override {
        ++leaves;
        ++conversation_;
        released_.cancel();
    }

    /// Lets go what is held.
    void release() {
        isHeld = isDrawingHeld = false;
        released_.cancel();
    }

    void answerWith(widget::CredentialState state, widget::ServerContact server) {
        stored.state = state == widget::CredentialState::expired ? widget::CredentialState::stored : state;
        if (state == widget::CredentialState::none) stored = {};
        outcome = {.credentials = stored, .server = server};
        outcome.credentials.state = state;
    }

    void signIn(std::uint64_t tokens, std::optional<std::uint64_t> account, std::string shop) {
        stored = {.state = widget::CredentialState::stored, .tokens = tokens, .account = account};
        outcome = {.credentials = stored, .server = widget::ServerContact::answered};
        shopName = std::move(shop);
    }

    /// As the widget's rules have it, for what is told to happen.
    std::string shopName = "Ada's";
    widget::CredentialReport stored = {.state = widget::CredentialState::stored, .tokens = 1, .account = 11};
    widget::FetchOutcome outcome = {.credentials = stored, .server = widget::ServerContact::answered};
    bool isFailing = false;
    bool isServerTooSlow = false;
    /// How long a drawing waits for the package's picture; absent where it has none.
    std::optional<std::chrono::milliseconds> pictureDelay;
    /// At the next look at what is stored.
    bool isFailingOnce = false;
    /// What happens while it looks at what is stored.
    std::function<void()> onCheck;
    /// A timeline, a drawing, does not end before it is released or left.
    bool isHeld = false;
    bool isDrawingHeld = false;

    int timelines = 0;
    int checks = 0;
    int drawings = 0;
    int leaves = 0;

  private:
    Answer nextAnswer() {
        const auto now = clock_.now();
        const bool isGood = outcome.server == widget::ServerContact::answered;
        Answer answer = {.timeline = {.entries = {}, .policy = {.after = now.addingTimeInterval(3600)}},
                         .outcome = outcome};
        answer.timeline.entries.push_back(isGood ? entryOf(now, shopName, picture())
                                                 : widget::SimpleEntry{now, widget::NotLoggedIn()});
        // One pair is renewed once.
        if (std::exchange(outcome.hasRenewed, false) && isRenewalOfUse)
            outcome.server = widget::ServerContact::answered;
        return answer;
    }

    std::optional<platform::URL> picture() const {
        return pictureDelay ? platform::URL::parse("https://a.example/picture") : std::nullopt;
    }

    boost::asio::awaitable<void> pass() {
        const auto conversation = conversation_;
        boost::system::error_code ignored;
        while ((isHeld || isDrawingHeld) && conversation == conversation_)
            co_await released_.async_wait(boost::asio::redirect_error(boost::asio::use_awaitable, ignored));
        if (conversation != conversation_) throw ExtensionLeft();
    }

    platform::testing::SteppedWallClock& clock_;
    boost::asio::steady_timer released_;
    int conversation_ = 0;

  public:
    bool isRenewalOfUse = true;
};

}  // namespace host
