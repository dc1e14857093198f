// SPDX-License-Identifier: Apache-2.0

#pragma once

// Events for tests.

#include "analytics/RelayboxEventable.hpp"

namespace analytics {

/// An event of any payload.
class PlainEvent final : public RelayboxEventable {
  public:
    explicit PlainEvent(Payload payload = {{"someKey", "value"}}) : payload_(std::move(payload)) {}
    std::string_view schemaId() const override { return "plain/1.0"; }
    Payload payload() const override { return payload_; }

  private:
    Payload payload_;
};

}  // namespace analytics
