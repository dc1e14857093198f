// SPDX-License-Identifier: Apache-2.0

#include "platform/Calendar/TimeZone.hpp"

#include "platform/Date/Ambient.hpp"

namespace platform {

int TimeZone::secondsFromGMT(Date date) const {
    return place_ == Place::here ? Ambient::current().secondsFromGMT(date) : 0;
}

}  // namespace platform
