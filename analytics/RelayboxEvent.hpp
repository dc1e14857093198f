// SPDX-License-Identifier: Apache-2.0

#pragma once

// The envelope in which an event travels. A plain value.

#include <string>

#include "analytics/PayloadValue.hpp"
#include "analytics/RelayboxEventable.hpp"
#include "platform/Date/Date.hpp"

namespace analytics {

struct RelayboxEvent {
    std::string schemaId;
    Payload payload;
    platform::Date createdAt;

    /// The event in an envelope made now, its payload's names in snake_case. Of two names that become one,
    /// the later in the payload's order stays.
    static RelayboxEvent enveloping(const RelayboxEventable& event);

    /// The envelope as JSON, names in ascending order at every level, dates as seconds since 2001. Throws
    /// platform::EncodingError for a payload value of a kind that is not accepted, platform::JSONError for a
    /// text that is not UTF-8 and a number that is not finite.
    std::string encoded() const;
};

}  // namespace analytics
