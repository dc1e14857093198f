// SPDX-License-Identifier: Apache-2.0

#pragma once

// Surroundings that a test sets: in force from construction to destruction. Not to be changed while other
// threads read them, except for the clock. The zone is that of the whole process.

#include <atomic>
#include <string>
#include <vector>

#include "platform/Date/Ambient.hpp"
#include "platform/Date/SystemZone.hpp"
#include "tests/support/ZoneInForce.hpp"

namespace platform::testing {

class FixedAmbient final : public Ambient {
  public:
    struct Settings {
        std::string now = "2024-05-01T12:00:00Z";
        /// Any value of TZ.
        std::string timeZone = "UTC";
        std::string locale = "en_US";
        std::vector<std::string> languages = {"en-US"};
    };

    /// Settings as the defaults have them.
    FixedAmbient();
    explicit FixedAmbient(Settings settings);

    void setNow(Date date) { now_ = date; }
    /// An RFC 3339 date; a malformed one ends the test.
    void setNow(const std::string& internetDateTime);
    void advance(double seconds) { now_ = now_.load().addingTimeInterval(seconds); }
    void setTimeZone(const std::string& value) { zone_.change(value); }
    void setLocale(std::string identifier) { settings_.locale = std::move(identifier); }
    void setLanguages(std::vector<std::string> tags) { settings_.languages = std::move(tags); }

    /// What every reading of the clock moves it on by; nothing at first.
    void setTick(double seconds) { tick_ = seconds; }

    Date now() const override;
    int secondsFromGMT(Date date) const override { return SystemZone::secondsFromGMT(date); }
    std::string localeIdentifier() const override { return settings_.locale; }
    std::vector<std::string> preferredLanguages() const override { return settings_.languages; }

  private:
    Settings settings_;
    ZoneInForce zone_;
    mutable std::atomic<Date> now_;
    std::atomic<double> tick_ = 0;
    Ambient::Override override_{*this};
};

/// The instant of an RFC 3339 date; a malformed one ends the test.
Date instant(const std::string& internetDateTime);

}  // namespace platform::testing
