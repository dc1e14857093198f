// SPDX-License-Identifier: Apache-2.0

#pragma once

// When a live host asks for the next timeline. Told what happens, and when; keeps no clock of its own. One
// whose clock was set back moves all that it remembers along. Belongs to one thread.

#include <array>
#include <cstddef>
#include <deque>
#include <functional>
#include <optional>

#include "platform/Date/Date.hpp"

namespace host {

/// Why a host asks earlier than the extension had it.
enum class ReloadCause { defaults, network, resume, clock, zone, midnight };
inline constexpr std::array allReloadCauses = {
    ReloadCause::defaults, ReloadCause::network, ReloadCause::resume,
    ReloadCause::clock,    ReloadCause::zone,    ReloadCause::midnight,
};

class ReloadPolicy {
  public:
    using Date = platform::Date;
    /// A number from 0 to 1, any as likely as another.
    using Random = std::function<double()>;

    /// Seconds between early requests that keep failing, from the first failure on; the last stands for all
    /// further ones.
    static constexpr std::array<double, 5> pauses = {2, 10, 60, 300, 900};
    /// The longest of these pauses once the machine woke or has a network again: what failed may work now,
    /// but a network that comes and goes is no reason to ask all the time.
    static constexpr double pauseAfterReturn = 60;
    /// The most that a request is put off, so that a million hosts do not ask together; in seconds.
    static constexpr double longestJitter = 60;
    /// What happens within this many seconds is answered by one request.
    static constexpr double coalescing = 0.25;
    /// Those that the person asked for are not counted, and a sign-in asks for one.
    static constexpr std::size_t mostADay = 70;
    /// Of these, so many are kept for the extension's own dates, an hour apart.
    static constexpr std::size_t keptForDates = 25;
    /// So many more for the request that follows a renewal, without which tokens that last an hour would be
    /// renewed all day and never used.
    static constexpr std::size_t keptForRenewals = 15;
    /// And so many more for what happens: a network may come back after half a day in which what failed was
    /// repeated.
    static constexpr std::size_t keptForCauses = 10;

    /// The first request is due at once.
    ReloadPolicy(Random random, Date now);

    /// A request goes out.
    void began(Date now);
    /// It was answered; the extension wants to be asked again at `after`, which is believed within bounds: a
    /// minute to a day from now.
    void answered(Date now, Date after);
    /// It failed, and with it the tokens were renewed: asked again at once, but only once in a row.
    void renewed(Date now, Date after);
    /// It failed. Without a date of the extension's, that is an hour from now.
    void failed(Date now, std::optional<Date> after);

    void noted(ReloadCause cause, Date now);
    /// Other credentials are stored, or some that could not be read: whatever failed before says nothing of
    /// them.
    void credentialsChanged(Date now);
    /// The same, by the person's own hand.
    void signedIn(Date now);
    /// The person asked: at once, whatever the day has seen.
    void asked(Date now);

    /// When the next request is due; in the past where it is overdue.
    Date next(Date now);

  private:
    /// In the order in which they give way to each other, the last first.
    enum class Kind { dated, renewed, caused, repeated };
    struct Request {
        Date begun;
        Kind kind;
    };

    void observe(Date now);
    void dueBy(Date date);
    Kind kindOf(Date now) const;
    void plan(Date now, std::optional<Date> after);
    Date endOfPause() const;
    static std::size_t mostOf(Kind kind);
    Date withinBudget(Date due, Kind kind) const;

    Random random_;
    Date latest_;
    Date planned_;
    /// Something happened.
    std::optional<Date> early_;
    /// The latest request renewed the tokens.
    bool isRenewalDue_ = false;
    /// The latest request failed, and nothing else happened.
    bool isRepetitionDue_ = false;
    bool isCauseGone_ = false;
    bool isAsked_ = false;
    bool hasRenewed_ = false;
    std::size_t failuresInARow_ = 0;
    Date lastFailure_;
    /// Of the last day, in order, but for those that the person asked for.
    std::deque<Request> requests_;
};

}  // namespace host
