// SPDX-License-Identifier: Apache-2.0

#include "platform/SystemEvents/SystemEvents.hpp"

namespace platform {

std::string_view name(SystemEvent event) {
    switch (event) {
        case SystemEvent::secretsChanged: return "secretsChanged";
        case SystemEvent::defaultsChanged: return "defaultsChanged";
        case SystemEvent::secretsKnown: return "secretsKnown";
        case SystemEvent::networkReturned: return "networkReturned";
        case SystemEvent::resumed: return "resumed";
        case SystemEvent::clockSet: return "clockSet";
        case SystemEvent::zoneChanged: return "zoneChanged";
    }
    return "unknown";
}

}  // namespace platform
