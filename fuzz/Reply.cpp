// SPDX-License-Identifier: Apache-2.0

// The road of a reply: its JSON, the records in its "data", and the six values of every package.

#include <boost/json/value.hpp>

#include "VelaApi/Sources/VelaApi/RefreshAccessTokenResponse.hpp"
#include "VelaApi/Sources/VelaApi/TrackingWidgetResponse.hpp"
#include "fuzz/Require.hpp"
#include "platform/JSON/Coding.hpp"
#include "presentation/DeliveryPackage.hpp"
#include "presentation/OrderPackage.hpp"

namespace {

using VelaApi::FragmentCollapsing;
using Nodes = VelaApi::TrackingWidgetResponse::DeliveriesOrdersList::Nodes;

void read(const presentation::Package& package) {
    require(presentation::showsTheSame(package, package), "a package shows the same twice");
    require(package.progress() >= 0 && package.progress() <= 1, "progress is a fraction");
    require(!package.deepLinkingUrl().absoluteString().empty(), "a package has a link");
}

void present(const VelaApi::TrackingWidgetResponse& response) {
    if (!response.deliveriesOrdersList) return;
    for (const Nodes& node : response.deliveriesOrdersList->nodes) {
        if (const auto* delivery = std::get_if<Nodes::Delivery>(&node.realized)) {
            read(presentation::DeliveryPackage(*delivery));
        } else if (const auto* order = std::get_if<Nodes::Order>(&node.realized)) {
            read(presentation::OrderPackage(*order));
        }
    }
}

template <class Response>
bool decodes(const std::string& data) {
    try {
        Response::customDecoder().template decode<Response>(data);
        return true;
    } catch (const platform::DecodingError&) {
        return false;
    }
}

template <class Response>
void decode(const boost::json::object& data, void (*use)(const Response&)) {
    const bool expected = decodes<Response>(platform::JSONSerialization::dataWithJSONObject(data));
    try {
        const auto response = VelaApi::responseFrom<Response>(data);
        require(expected, "a dictionary decodes where its text does");
        const boost::json::object fields = VelaApi::fields(response, FragmentCollapsing::keepFragments);
        require(!fields.empty(), "a response has fields");
        require(fields == VelaApi::fields(response, FragmentCollapsing::collapseFragments),
                "a response has no fragments");
        VelaApi::responseFrom<Response>(fields);
        use(response);
    } catch (const platform::DecodingError&) {
        require(!expected, "a dictionary decodes where its text does");
    }
}

/// The same with some limit on memory, which may be too low at any step: what does not fit leaves nothing
/// behind.
void decodeWithin(std::string_view reply) {
    constexpr std::size_t memoryForEachByte = 24;
    const std::size_t limit = std::hash<std::string_view>()(reply) % (memoryForEachByte * reply.size());
    platform::BoundedMemory tree(limit);
    platform::BoundedMemory records(limit);
    try {
        auto envelope = platform::JSONSerialization::JSONObjectWithData(reply, &tree);
        auto& data = envelope.get_object().at("data").get_object();
        VelaApi::responseFrom<VelaApi::TrackingWidgetResponse>(std::move(data), &records);
    } catch (const platform::MemoryLimitExceeded&) {
    } catch (const platform::DecodingError&) {
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t size) {
    boost::json::value reply;
    try {
        reply = platform::JSONSerialization::JSONObjectWithData(text(input, size));
    } catch (const platform::JSONError&) {
        return 0;
    }
    const boost::json::object* envelope = reply.if_object();
    if (!envelope) return 0;
    const boost::json::value* data = envelope->if_contains("data");
    if (!data || !data->is_object()) return 0;
    decode<VelaApi::TrackingWidgetResponse>(data->get_object(), present);
    decode<VelaApi::RefreshAccessTokenResponse>(data->get_object(),
                                                [](const VelaApi::RefreshAccessTokenResponse&) {});
    decodeWithin(text(input, size));
    return 0;
}
