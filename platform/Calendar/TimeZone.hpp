// SPDX-License-Identifier: Apache-2.0

#pragma once

// A time zone: the one that the process is in, or Greenwich. A plain value; safe from any thread.

#include "platform/Date/Date.hpp"

namespace platform {

class TimeZone {
  public:
    /// The ambient zone, whichever that is at the time of each question.
    static constexpr TimeZone current() { return TimeZone(Place::here); }
    static constexpr TimeZone gmt() { return TimeZone(Place::greenwich); }

    /// The offset from GMT in force at `date`, in seconds, positive east of Greenwich.
    int secondsFromGMT(Date date) const;

    bool operator==(const TimeZone&) const = default;

  private:
    enum class Place { here, greenwich };
    explicit constexpr TimeZone(Place place) : place_(place) {}
    Place place_;
};

}  // namespace platform
