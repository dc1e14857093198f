// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Live/LiveHost.hpp"

#include <algorithm>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <exception>
#include <string>
#include <utility>

#include "host/protocol/LiveCoding.hpp"
#include "host/widget/Live/Midnight.hpp"
#include "platform/Asio/Coroutines.hpp"
#include "platform/Asio/Pause.hpp"
#include "platform/Date/SystemZone.hpp"
#include "presentation/Wording.hpp"

namespace host {

namespace asio = boost::asio;
using platform::Date;
using platform::SystemEvent;
using widget::CredentialReport;
using widget::CredentialState;
using widget::ServerContact;

namespace {

/// A sign-in changes several files; all of them are one change.
constexpr std::chrono::milliseconds settling(50);
/// A fetch that renewed the tokens ends right after that.
constexpr std::chrono::milliseconds patienceWithRenewal(500);

/// The same tokens are one person's, and so are renewed ones of one account. Without a user id to go by,
/// other tokens are taken for another's: what is shown must not be somebody else's.
bool isSamePerson(const CredentialReport& one, const CredentialReport& other) {
    return one.tokens == other.tokens || (one.account && one.account == other.account);
}

/// Whether those tokens are what the fetch itself renewed.
bool hasBrought(const CredentialReport& tokens, const widget::FetchOutcome& outcome) {
    return outcome.hasRenewed && outcome.credentials.tokens == tokens.tokens;
}

bool isGood(const widget::SimpleEntry& entry) {
    return !std::holds_alternative<widget::NotLoggedIn>(entry.widgetState);
}

}  // namespace

LiveHost::LiveHost(const asio::any_io_executor& executor, Surroundings surroundings)
    : executor_(executor),
      surroundings_(std::move(surroundings)),
      policy_(surroundings_.random, surroundings_.clock.now()),
      state_(placeholder()),
      keychain_(surroundings_.events.keychainVersion()),
      settlement_(executor),
      midnight_(midnightAfter(surroundings_.clock.now())),
      latest_(surroundings_.clock.now()),
      fetched_(executor, asio::steady_timer::time_point::max()) {
    state_.keychain = keychain_;
    if (surroundings_.remembered) goOnFrom(*std::exchange(surroundings_.remembered, std::nullopt));
}

void LiveHost::goOnFrom(Remembered remembered) {
    good_ = std::move(remembered.good);
    if (good_) known_ = good_->owner;
    state_ = std::move(remembered.state);
    keychain_ = state_.keychain;
    // She may have signed out while nobody listened.
    startCheck();
}

asio::awaitable<void> LiveHost::run() {
    midnight_ = midnightAfter(surroundings_.clock.now());
    surroundings_.events.listen([this](SystemEvent event) { take(event); });
    while (!isStopped_) {
        const auto now = surroundings_.clock.now();
        grow(now);
        if (policy_.next(now) <= now)
            co_await fetch();
        else
            co_await surroundings_.clock.waitUntil(nextTurn(now));
    }
}

void LiveHost::stop() {
    isStopped_ = true;
    settlement_.cancel();
    surroundings_.extension.leave();
    wake();
}

void LiveHost::leaveExtension() {
    ++conversation_;
    surroundings_.extension.leave();
}

void LiveHost::wake() {
    surroundings_.clock.interrupt();
}

/// What time alone does.
void LiveHost::grow(Date now) {
    moveAlong(now);
    if (now >= midnight_) {
        midnight_ = midnightAfter(now);
        policy_.noted(ReloadCause::midnight, now);
        showAnew();
    }
    if (!good_) return;
    if (now >= good_->date.addingTimeInterval(LiveState::longestKept)) {
        good_.reset();
        auto successor = placeholder();
        successor.trouble = state_.trouble;
        show(std::move(successor));
    } else if (now >= good_->date.addingTimeInterval(oldAfter) && !state_.asOf) {
        auto aged = state_;
        aged.asOf = good_->date;
        show(std::move(aged));
    }
}

/// By a clock that was set back what is kept would be of a time to come, and kept for longer.
void LiveHost::moveAlong(Date now) {
    const double jump = now.timeIntervalSinceReferenceDate() - latest_.timeIntervalSinceReferenceDate();
    latest_ = now;
    if (jump >= 0 || !good_) return;
    good_->date = good_->date.addingTimeInterval(jump);
    if (!state_.asOf) return;
    auto moved = state_;
    moved.asOf = good_->date;
    show(std::move(moved));
}

/// The time that it is of is said in other words on another day, and in another zone.
void LiveHost::showAnew() {
    if (state_.asOf) tell(Change::replaced);
}

Date LiveHost::nextTurn(Date now) {
    auto turn = std::min(policy_.next(now), midnight_);
    if (!good_) return turn;
    const double age = state_.asOf ? LiveState::longestKept : oldAfter;
    return std::min(turn, good_->date.addingTimeInterval(age));
}

Date LiveHost::nextFetch() {
    return policy_.next(surroundings_.clock.now());
}

void LiveHost::take(SystemEvent event) {
    const auto now = surroundings_.clock.now();
    switch (event) {
        case SystemEvent::secretsChanged:
            areTokensInDoubt_ = true;
            startCheck();
            break;
        case SystemEvent::defaultsChanged:
            startCheck();
            policy_.noted(ReloadCause::defaults, now);
            break;
        case SystemEvent::secretsKnown:
            if (isSomebodys(state_)) {
                startCheck();
            } else {
                // What is nobody's is so by any version.
                keychain_ = surroundings_.events.keychainVersion();
                show(state_);
            }
            break;
        case SystemEvent::networkReturned: policy_.noted(ReloadCause::network, now); break;
        case SystemEvent::resumed: policy_.noted(ReloadCause::resume, now); break;
        case SystemEvent::clockSet:
            midnight_ = midnightAfter(now);
            policy_.noted(ReloadCause::clock, now);
            break;
        case SystemEvent::zoneChanged:
            platform::SystemZone::refresh();
            midnight_ = midnightAfter(now);
            showAnew();
            // One that runs would notice within a minute.
            leaveExtension();
            policy_.noted(ReloadCause::zone, now);
            break;
    }
    wake();
}

void LiveHost::startCheck() {
    isCheckDue_ = true;
    if (std::exchange(isChecking_, true)) return;
    platform::spawn(executor_, check(), [this](const std::exception_ptr&) { isChecking_ = false; });
}

asio::awaitable<void> LiveHost::check() {
    while (isCheckDue_ && !isStopped_) {
        co_await platform::pause(settling);
        isCheckDue_ = false;
        const auto keychain = surroundings_.events.keychainVersion();
        const auto report = co_await storedCredentials();
        // One that changed meanwhile is told of, and looked at next.
        if (keychain == surroundings_.events.keychainVersion()) keychain_ = keychain;
        if (report)
            takeCredentials(*report);
        else if (!isStopped_)
            takeSilence();
        show(state_);
        wake();
    }
    isChecking_ = false;
}

bool LiveHost::isWhoseItIsKnown() const {
    return !unsettled_ || !isSomebodys(state_);
}

/// Where one extension ends or hangs, another may know. Nothing where two do not say.
asio::awaitable<std::optional<CredentialReport>> LiveHost::storedCredentials() {
    for (int attempt = 0; attempt < 2 && !isStopped_; ++attempt) {
        try {
            co_return co_await surroundings_.extension.credentials();
        } catch (const std::exception&) {
        }
    }
    co_return std::nullopt;
}

/// Whether somebody signed out is found out by the next timeline, whenever that comes.
void LiveHost::takeSilence() {
    policy_.noted(ReloadCause::defaults, surroundings_.clock.now());
    if (areTokensInDoubt_) forgetShown(LiveTrouble::extensionFailed);
}

/// The tokens may be what they were, unless the account that stood beside them went as well: a sign-out takes
/// both, and a keyring that is locked right after it does not tell that it holds nothing.
void LiveHost::takeUnreadable(const CredentialReport& report) {
    if (!known_ || !known_->account || known_->account == report.account) return;
    known_.reset();
    forgetShown(troubleIn({.credentials = report}));
}

void LiveHost::forgetShown(LiveTrouble trouble) {
    if (!isSomebodys(state_)) return;
    auto successor = placeholder();
    successor.trouble = trouble;
    forget(std::move(successor));
}

void LiveHost::takeCredentials(const CredentialReport& report) {
    areTokensInDoubt_ = false;
    if (report.state != CredentialState::none && report.state != CredentialState::stored)
        return takeUnreadable(report);
    const auto before = std::exchange(known_, report);
    if (report.state == CredentialState::none) {
        const bool isShown = isGood(state_.entry) || state_.trouble;
        if (isShown) forget(signedOut(std::nullopt));
    } else if (!before || before->state != report.state) {
        // Whose the first answer will be is not known: the fetch may have begun before that sign-in.
        if (fetchesBegun_ != fetchesEnded_) unsettled_ = report;
        policy_.signedIn(surroundings_.clock.now());
    } else if (before->tokens != report.tokens) {
        takeOtherTokens(report, *before);
    } else if (state_.trouble == LiveTrouble::keychainLocked ||
               state_.trouble == LiveTrouble::keychainUnreadable) {
        policy_.credentialsChanged(surroundings_.clock.now());
    }
}

void LiveHost::takeOtherTokens(const CredentialReport& report, const CredentialReport& before) {
    if (isSamePerson(report, before)) {
        policy_.credentialsChanged(surroundings_.clock.now());
        if (good_) good_->owner = report;
    } else if (fetchesBegun_ != fetchesEnded_ && mayBeRenewed(report, before)) {
        unsettled_ = report;
        awaitSettlement();
    } else {
        // Somebody else is named: no renewal does that.
        if (report.account) policy_.signedIn(surroundings_.clock.now());
        forgetForAnother();
    }
}

/// Where somebody is named, or was, a renewal leaves that as it is.
bool LiveHost::mayBeRenewed(const CredentialReport& report, const CredentialReport& before) const {
    return !report.account && !before.account && !(good_ && good_->owner.account);
}

/// Whose they are the fetch says at its end, unless it still waits for a server.
void LiveHost::awaitSettlement() {
    settlement_.expires_after(patienceWithRenewal);
    settlement_.async_wait([this](const boost::system::error_code& error) {
        if (error || !unsettled_) return;
        forgetForAnother();
        wake();
    });
}

void LiveHost::forgetForAnother() {
    policy_.credentialsChanged(surroundings_.clock.now());
    forget(placeholder());
}

asio::awaitable<void> LiveHost::fetch() {
    policy_.began(surroundings_.clock.now());
    ++fetchesBegun_;
    const auto conversation = conversation_;
    std::optional<LiveExtension::Answer> answer;
    auto trouble = LiveTrouble::extensionFailed;
    try {
        answer = co_await surroundings_.extension.timeline(surroundings_.family);
    } catch (const ServerTimeout&) {
        trouble = LiveTrouble::serverFailing;
    } catch (const std::exception&) {
        // Whatever kept it from answering, nothing that is shown is less true by it.
    }
    ++fetchesEnded_;
    // A zone that changed is in force within a minute.
    const auto now = surroundings_.clock.now();
    if (now < midnight_) midnight_ = midnightAfter(now);
    if (conversation == conversation_ && !isStopped_) takeAnswer(std::move(answer), trouble);
    fetched_.cancel();
}

/// Nothing where it did not come, for that reason.
void LiveHost::takeAnswer(std::optional<LiveExtension::Answer> answer, LiveTrouble whyNone) {
    const auto now = surroundings_.clock.now();
    if (answer) lastFetch_ = now;
    const auto unsettled = std::exchange(unsettled_, std::nullopt);
    if (unsettled && !(answer && isOf(*unsettled, answer->outcome))) return forgetForAnother();
    if (!answer) {
        policy_.failed(now, std::nullopt);
        return keepThrough(whyNone);
    }
    if (isOfAnother(answer->outcome)) return forgetForAnother();
    if (isGood(answer->timeline.entries.front()))
        takeEntry(*std::move(answer));
    else
        takeFailure(*answer);
}

/// Whether an answer is theirs who own those tokens, which were found while the fetch was under way.
bool LiveHost::isOf(const CredentialReport& owner, const widget::FetchOutcome& outcome) const {
    return good_ ? hasBrought(owner, outcome) : isSamePerson(owner, outcome.credentials);
}

/// Whether the tokens became somebody else's since the last good entry.
bool LiveHost::isOfAnother(const widget::FetchOutcome& outcome) const {
    const auto& report = outcome.credentials;
    if (outcome.server == ServerContact::answered || outcome.hasRenewed || !good_) return false;
    return report.state == CredentialState::stored && !isSamePerson(report, good_->owner);
}

void LiveHost::takeEntry(LiveExtension::Answer answer) {
    const auto now = surroundings_.clock.now();
    auto& entry = answer.timeline.entries.front();
    auto owner = answer.outcome.credentials;
    // A sign-in stores it after the tokens, which may have been on their way by then.
    if (!owner.account && known_ && known_->tokens == owner.tokens) owner.account = known_->account;
    known_ = owner;
    good_ = {.entry = entry, .date = now, .owner = owner};
    policy_.answered(now, answer.timeline.policy.after);
    show({.entry = std::move(entry)});
}

void LiveHost::takeFailure(const LiveExtension::Answer& answer) {
    const auto now = surroundings_.clock.now();
    const auto& outcome = answer.outcome;
    const auto after = answer.timeline.policy.after;
    const auto state = outcome.credentials.state;
    if (state == CredentialState::none || state == CredentialState::stored) known_ = outcome.credentials;
    if (state == CredentialState::none || state == CredentialState::expired) {
        policy_.answered(now, after);
        const bool isOver = state == CredentialState::expired;
        auto successor = signedOut(isOver ? std::optional(LiveTrouble::signInExpired) : std::nullopt);
        if (isGood(state_.entry) || successor.trouble != state_.trouble) return forget(std::move(successor));
        return show(std::move(successor));
    }
    if (!outcome.hasRenewed) {
        policy_.failed(now, after);
        return keepThrough(troubleIn(outcome));
    }
    // Nothing is wrong yet: the next answer is a moment away.
    if (good_) good_->owner = outcome.credentials;
    policy_.renewed(now, after);
    if (policy_.next(now) > now) keepThrough(LiveTrouble::serverFailing);
}

void LiveHost::keepThrough(LiveTrouble trouble) {
    auto state = good_ ? LiveState{.entry = good_->entry} : placeholder();
    // A placeholder from before stays as it is.
    if (!good_ && state_.isPlaceholder) state.entry = state_.entry;
    if (good_) state.asOf = good_->date;
    state.trouble = trouble;
    show(std::move(state));
}

void LiveHost::forget(LiveState successor) {
    good_.reset();
    unsettled_.reset();
    // It remembers pictures, and what it is doing is for one who is gone.
    leaveExtension();
    show(std::move(successor), Change::forgotten);
}

LiveState LiveHost::placeholder() const {
    return {.entry = widget::placeholderEntry(surroundings_.clock.now(),
                                              std::string(presentation::Wording::sampleShopName)),
            .isPlaceholder = true};
}

LiveState LiveHost::signedOut(std::optional<LiveTrouble> trouble) const {
    return {.entry = {.date = surroundings_.clock.now(), .widgetState = widget::NotLoggedIn()},
            .trouble = trouble};
}

void LiveHost::show(LiveState state, Change change) {
    state.keychain = isWhoseItIsKnown() ? keychain_ : state_.keychain;
    if (change == Change::replaced && liveStateObject(state) == liveStateObject(state_)) return;
    state_ = std::move(state);
    ++version_;
    tell(change);
}

void LiveHost::tell(Change change) {
    std::erase_if(observers_, [](const auto& observer) { return observer.expired(); });
    const auto observers = observers_;
    for (const auto& each : observers)
        if (const auto observer = each.lock()) (*observer)(state_, change);
}

LiveHost::Observation LiveHost::observe(Observer observer) {
    const auto observation = std::make_shared<const Observer>(std::move(observer));
    observers_.push_back(observation);
    return observation;
}

void LiveHost::askNow() {
    policy_.asked(surroundings_.clock.now());
    wake();
}

asio::awaitable<LiveState> LiveHost::reload() {
    askNow();
    const auto awaited = fetchesBegun_ + 1;
    boost::system::error_code ignored;
    while (fetchesEnded_ < awaited && !isStopped_)
        co_await fetched_.async_wait(asio::redirect_error(asio::use_awaitable, ignored));
    co_return state_;
}

}  // namespace host
