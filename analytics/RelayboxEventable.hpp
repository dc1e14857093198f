// SPDX-License-Identifier: Apache-2.0

#pragma once

// What can become an analytics event.

#include <string_view>

#include "analytics/PayloadValue.hpp"

namespace analytics {

class RelayboxEventable {
  public:
    virtual ~RelayboxEventable() = default;

    /// The schema of this kind of event; the same for every event of one type.
    virtual std::string_view schemaId() const = 0;
    /// The event's values under camelCase names, built afresh on each call.
    virtual Payload payload() const = 0;
};

}  // namespace analytics
