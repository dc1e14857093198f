// SPDX-License-Identifier: Apache-2.0

#include "tests/support/FixedAmbient.hpp"

#include <stdexcept>
#include <utility>

namespace platform::testing {

FixedAmbient::FixedAmbient() : FixedAmbient(Settings{}) {}

FixedAmbient::FixedAmbient(Settings settings)
    : settings_(std::move(settings)), zone_(settings_.timeZone), now_(instant(settings_.now)) {}

void FixedAmbient::setNow(const std::string& internetDateTime) {
    now_ = instant(internetDateTime);
}

Date FixedAmbient::now() const {
    auto reading = now_.load();
    while (!now_.compare_exchange_weak(reading, reading.addingTimeInterval(tick_))) {
    }
    return reading;
}

Date instant(const std::string& internetDateTime) {
    const auto date = dateFromInternetDateTime(internetDateTime);
    if (!date) throw std::invalid_argument("not an RFC 3339 date: " + internetDateTime);
    return *date;
}

}  // namespace platform::testing
