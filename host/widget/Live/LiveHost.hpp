// SPDX-License-Identifier: Apache-2.0

#pragma once

// What a person's surfaces show, kept current for weeks: asks the extension when it is due, listens to the
// machine in between, and decides what a failure means. Belongs to one executor; its members may be called
// from that executor's thread only, and it has to outlive `run` and what was asked of it.

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/awaitable.hpp>
#include <boost/asio/steady_timer.hpp>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/protocol/LiveState.hpp"
#include "host/widget/Live/LiveExtension.hpp"
#include "host/widget/Live/ReloadPolicy.hpp"
#include "platform/SystemEvents/SystemEvents.hpp"
#include "platform/SystemEvents/WallClock.hpp"

namespace host {

class LiveHost {
  public:
    /// What became of what was shown before.
    enum class Change {
        replaced,
        /// It was somebody's who has signed out, or gives way to another: nothing of it may stay anywhere.
        forgotten,
    };
    using Observer = std::function<void(const LiveState& state, Change change)>;

    struct Good {
        widget::SimpleEntry entry;
        platform::Date date;
        widget::CredentialReport owner;
    };
    /// What a host goes on with that takes the place of another.
    struct Remembered {
        LiveState state;
        std::optional<Good> good = std::nullopt;
    };

    struct Surroundings {
        platform::WallClock& clock;
        platform::SystemEvents& events;
        LiveExtension& extension;
        ReloadPolicy::Random random;
        /// Whose timeline is asked for, on behalf of all surfaces.
        platform::WidgetFamily family = platform::WidgetFamily::systemMedium;
        /// Shown from the beginning; that it is still this person's is looked at first.
        std::optional<Remembered> remembered = std::nullopt;
    };

    /// Seconds after which a last good entry that was not followed by another is marked as old.
    static constexpr double oldAfter = 2 * 3600;

    LiveHost(const boost::asio::any_io_executor& executor, Surroundings surroundings);

    Remembered remembered() const { return {.state = state_, .good = good_}; }
    /// Something was asked of the extension that has not been answered.
    bool isAsking() const { return fetchesBegun_ != fetchesEnded_ || isChecking_; }

    /// Keeps the state current until `stop`. Called once.
    boost::asio::awaitable<void> run();
    /// Also ends what was asked of the extension.
    void stop();

    const LiveState& state() const { return state_; }
    /// Another number for another state.
    std::uint64_t version() const { return version_; }
    /// Called at every change from now on, for as long as what this gives is kept.
    using Observation = std::shared_ptr<const Observer>;
    [[nodiscard]] Observation observe(Observer observer);

    /// Has the server asked at once.
    void askNow();
    /// The same, and gives what came of it.
    boost::asio::awaitable<LiveState> reload();

    const std::optional<platform::Date>& lastFetch() const { return lastFetch_; }
    platform::Date nextFetch();

  private:
    void goOnFrom(Remembered remembered);
    void take(platform::SystemEvent event);
    void startCheck();
    bool isWhoseItIsKnown() const;
    boost::asio::awaitable<void> check();
    boost::asio::awaitable<std::optional<widget::CredentialReport>> storedCredentials();
    void takeSilence();
    void takeUnreadable(const widget::CredentialReport& report);
    void forgetShown(LiveTrouble trouble);
    void takeCredentials(const widget::CredentialReport& report);
    void takeOtherTokens(const widget::CredentialReport& report, const widget::CredentialReport& before);
    bool mayBeRenewed(const widget::CredentialReport& report, const widget::CredentialReport& before) const;
    void awaitSettlement();
    void forgetForAnother();

    boost::asio::awaitable<void> fetch();
    void takeAnswer(std::optional<LiveExtension::Answer> answer, LiveTrouble whyNone);
    void takeEntry(LiveExtension::Answer answer);
    void takeFailure(const LiveExtension::Answer& answer);
    bool isOf(const widget::CredentialReport& owner, const widget::FetchOutcome& outcome) const;
    bool isOfAnother(const widget::FetchOutcome& outcome) const;

    void grow(platform::Date now);
    void moveAlong(platform::Date now);
    void showAnew();
    platform::Date nextTurn(platform::Date now);
    void keepThrough(LiveTrouble trouble);
    void forget(LiveState successor);
    LiveState placeholder() const;
    LiveState signedOut(std::optional<LiveTrouble> trouble) const;
    void show(LiveState state, Change change = Change::replaced);
    void tell(Change change);
    void leaveExtension();
    void wake();

    boost::asio::any_io_executor executor_;
    Surroundings surroundings_;
    ReloadPolicy policy_;
    LiveState state_;
    /// The version of the keychain when it was last looked at.
    std::string keychain_;
    std::vector<std::weak_ptr<const Observer>> observers_;
    std::optional<Good> good_;
    /// What was stored when it was last looked at.
    std::optional<widget::CredentialReport> known_;
    /// Tokens that came while a fetch was under way, which may itself have brought them or may have begun
    /// with others.
    std::optional<widget::CredentialReport> unsettled_;
    boost::asio::steady_timer settlement_;
    std::optional<platform::Date> lastFetch_;
    platform::Date midnight_;
    /// When it last looked at the clock.
    platform::Date latest_;
    std::uint64_t version_ = 0;
    /// Another number once the extension was left: what it still answers is nobody's.
    std::uint64_t conversation_ = 0;
    std::uint64_t fetchesBegun_ = 0;
    std::uint64_t fetchesEnded_ = 0;
    boost::asio::steady_timer fetched_;
    bool isChecking_ = false;
    bool isCheckDue_ = false;
    /// The keychain changed, and nobody has said yet what it holds.
    bool areTokensInDoubt_ = false;
    bool isStopped_ = false;
};

}  // namespace host
