// SPDX-License-Identifier: Apache-2.0

#include "analytics/RelayboxEvent.hpp"

#include "analytics/PayloadCoding.hpp"
#include "analytics/SnakeCase.hpp"
#include "platform/JSON/JSONSerialization.hpp"

namespace analytics {

namespace {

namespace codingKeys {
constexpr const char* schemaId = "schema_id";
constexpr const char* payload = "payload";
constexpr const char* createdAt = "created_at";
}  // namespace codingKeys

Payload withSnakeCaseNames(const Payload& payload) {
    Payload result;
    for (const auto& [name, value] : payload) result.insert_or_assign(snakeCased(name), value);
    return result;
}

}  // namespace

RelayboxEvent RelayboxEvent::enveloping(const RelayboxEventable& event) {
    return {.schemaId = std::string(event.schemaId()),
            .payload = withSnakeCaseNames(event.payload()),
            .createdAt = platform::Date::now()};
}

std::string RelayboxEvent::encoded() const {
    boost::json::object envelope;
    envelope[codingKeys::schemaId] = schemaId;
    envelope[codingKeys::createdAt] = createdAt.timeIntervalSinceReferenceDate();
    const platform::CodingPath top;
    envelope[codingKeys::payload] = encodedPayload(payload, {top, codingKeys::payload});
    return platform::JSONSerialization::dataWithJSONObject(envelope, platform::JSONKeyOrder::ascendingBytes);
}

}  // namespace analytics
