// SPDX-License-Identifier: Apache-2.0

#include "tests/support/ZoneInForce.hpp"

#include <cstdlib>
#include <ctime>

namespace platform::testing {

ZoneInForce::ZoneInForce(const std::optional<std::string>& value) {
    if (const char* variable = std::getenv("TZ")) previous_ = variable;
    change(value);
}

ZoneInForce::~ZoneInForce() {
    change(previous_);
}

void ZoneInForce::change(const std::optional<std::string>& value) {
    value ? setenv("TZ", value->c_str(), 1) : unsetenv("TZ");
    tzset();
}

}  // namespace platform::testing
