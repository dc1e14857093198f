// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Live/ReloadPolicy.hpp"

#include <algorithm>
#include <utility>

namespace host {

using platform::Date;

namespace {

constexpr double minute = 60;
constexpr double hour = 60 * minute;
constexpr double day = 24 * hour;

double secondsBetween(Date from, Date to) {
    return to.timeIntervalSinceReferenceDate() - from.timeIntervalSinceReferenceDate();
}

}  // namespace

ReloadPolicy::ReloadPolicy(Random random, Date now)
    : random_(std::move(random)), latest_(now), planned_(now), lastFailure_(now) {}

/// By a clock that was set back all would wait for as long as it was set back by.
void ReloadPolicy::observe(Date now) {
    const double jump = secondsBetween(latest_, now);
    latest_ = now;
    if (jump >= 0) return;
    planned_ = planned_.addingTimeInterval(jump);
    lastFailure_ = lastFailure_.addingTimeInterval(jump);
    if (early_) early_ = early_->addingTimeInterval(jump);
    for (auto& request : requests_) request.begun = request.begun.addingTimeInterval(jump);
}

void ReloadPolicy::dueBy(Date date) {
    early_ = early_ ? std::min(*early_, date) : date;
}

ReloadPolicy::Kind ReloadPolicy::kindOf(Date now) const {
    if (now >= planned_) return Kind::dated;
    if (isRenewalDue_) return Kind::renewed;
    return early_ && *early_ <= now ? Kind::caused : Kind::repeated;
}

void ReloadPolicy::began(Date now) {
    observe(now);
    if (!isAsked_) requests_.push_back({.begun = now, .kind = kindOf(now)});
    while (!requests_.empty() && secondsBetween(requests_.front().begun, now) >= day) requests_.pop_front();
    early_.reset();
    isRenewalDue_ = false;
    isRepetitionDue_ = false;
    isAsked_ = false;
    isCauseGone_ = false;
    // What does not answer at all is not asked all the time.
    plan(now, std::nullopt);
}

void ReloadPolicy::plan(Date now, std::optional<Date> after) {
    const auto date = std::clamp(after.value_or(now.addingTimeInterval(hour)), now.addingTimeInterval(minute),
                                 now.addingTimeInterval(day));
    planned_ = date.addingTimeInterval(random_() * longestJitter);
}

void ReloadPolicy::answered(Date now, Date after) {
    observe(now);
    plan(now, after);
    failuresInARow_ = 0;
    hasRenewed_ = false;
}

void ReloadPolicy::renewed(Date now, Date after) {
    if (std::exchange(hasRenewed_, true)) return failed(now, after);
    observe(now);
    plan(now, after);
    failuresInARow_ = 0;
    isRenewalDue_ = true;
}

void ReloadPolicy::failed(Date now, std::optional<Date> after) {
    observe(now);
    plan(now, after);
    ++failuresInARow_;
    lastFailure_ = now;
    isRepetitionDue_ = true;
}

void ReloadPolicy::noted(ReloadCause cause, Date now) {
    observe(now);
    // Midnight comes to all of a zone at once.
    const double delay = cause == ReloadCause::midnight ? random_() * longestJitter : coalescing;
    dueBy(now.addingTimeInterval(delay));
    if (cause == ReloadCause::network || cause == ReloadCause::resume) isCauseGone_ = true;
}

void ReloadPolicy::credentialsChanged(Date now) {
    observe(now);
    failuresInARow_ = 0;
    hasRenewed_ = false;
    dueBy(now);
}

void ReloadPolicy::signedIn(Date now) {
    credentialsChanged(now);
    isAsked_ = true;
}

void ReloadPolicy::asked(Date now) {
    observe(now);
    isAsked_ = true;
}

Date ReloadPolicy::endOfPause() const {
    if (failuresInARow_ == 0) return lastFailure_;
    const double pause = pauses[std::min(failuresInARow_, pauses.size()) - 1];
    return lastFailure_.addingTimeInterval(isCauseGone_ ? std::min(pause, pauseAfterReturn) : pause);
}

/// How many requests of that kind, and of those that give way to it, a day has at most.
std::size_t ReloadPolicy::mostOf(Kind kind) {
    switch (kind) {
        case Kind::dated: return mostADay;
        case Kind::renewed: return mostOf(Kind::dated) - keptForDates;
        case Kind::caused: return mostOf(Kind::renewed) - keptForRenewals;
        case Kind::repeated: return mostOf(Kind::caused) - keptForCauses;
    }
    return 0;
}

/// `due`, or when the day before it has seen one request less than it may, for that kind and all that it
/// gives way to.
Date ReloadPolicy::withinBudget(Date due, Kind kind) const {
    for (const auto each : {Kind::dated, Kind::renewed, Kind::caused, Kind::repeated}) {
        if (each > kind) break;
        std::size_t counted = 0;
        const auto last = std::find_if(requests_.rbegin(), requests_.rend(), [&](const Request& request) {
            return request.kind >= each && ++counted == mostOf(each);
        });
        if (last != requests_.rend()) due = std::max(due, last->begun.addingTimeInterval(day));
    }
    return due;
}

Date ReloadPolicy::next(Date now) {
    observe(now);
    if (isAsked_) return now;
    auto due = withinBudget(planned_, Kind::dated);
    const auto early = [&](Date date, Kind kind) {
        due = std::min(due, withinBudget(std::max(date, endOfPause()), kind));
    };
    if (isRenewalDue_) early(now, Kind::renewed);
    if (early_) early(*early_, Kind::caused);
    if (isRepetitionDue_) early(endOfPause(), Kind::repeated);
    return due;
}

}  // namespace host
