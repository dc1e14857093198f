// SPDX-License-Identifier: Apache-2.0

#pragma once

// Messages as the library holds them, to and from our values.

#include <memory>

#include "platform/MessageBus/BusLibrary.hpp"
#include "platform/MessageBus/BusMessage.hpp"

namespace platform {

struct UnreferenceBusMessage {
    void operator()(sd_bus_message* message) const { BusLibrary::shared()->sd_bus_message_unref(message); }
};
using OwnedBusMessage = std::unique_ptr<sd_bus_message, UnreferenceBusMessage>;

/// Nothing where the call has a name or a text that the bus does not take.
OwnedBusMessage encoded(sd_bus* bus, const BusCall& call);
BusMessage decoded(sd_bus_message* message);

}  // namespace platform
