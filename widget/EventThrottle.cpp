// SPDX-License-Identifier: Apache-2.0

#include "widget/EventThrottle.hpp"

namespace widget {

EventThrottle& EventThrottle::processWide() {
    static EventThrottle throttle;
    return throttle;
}

bool EventThrottle::admitsEvent(platform::Date now, double minimumTimeBetweenEvents) {
    const double seconds = now.timeIntervalSinceReferenceDate();
    if (seconds - lastEventDate_.load() < minimumTimeBetweenEvents) return false;
    lastEventDate_.store(seconds);
    return true;
}

}  // namespace widget
