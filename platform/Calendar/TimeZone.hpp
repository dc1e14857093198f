#pragma once

// A time zone by its Olson identifier. A plain value; safe from any thread.

#include <string>

#include "platform/Date/Date.hpp"

namespace platform {

class TimeZone {
  public:
    static TimeZone current();
    static TimeZone gmt();
    static TimeZone named(std::string identifier);

    const std::string& identifier() const { return identifier_; }

    /// The offset from GMT in force at `date`, in seconds, positive east of Greenwich.
    int secondsFromGMT(Date date) const;

    bool operator==(const TimeZone&) const = default;

  private:
    explicit TimeZone(std::string identifier) : identifier_(std::move(identifier)) {}
    std::string identifier_;
};

}  // namespace platform
