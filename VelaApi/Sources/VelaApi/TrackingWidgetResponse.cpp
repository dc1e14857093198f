// SPDX-License-Identifier: Apache-2.0

#include "VelaApi/Sources/VelaApi/TrackingWidgetResponse.hpp"

#include "VelaApi/Sources/VelaApi/Module.hpp"

namespace VelaApi {

static_assert(GraphApiResponse<TrackingWidgetResponse>);

using Nodes = TrackingWidgetResponse::DeliveriesOrdersList::Nodes;

Nodes::Nodes(std::string typeName, Realized concrete, GraphID id)
    : Nodes(std::move(typeName), std::move(concrete),
            BaseDeliveriesOrdersListItemInterface{.id = std::move(id)}) {}

Nodes::Nodes(std::string typeName, Realized concrete, BaseDeliveriesOrdersListItemInterface shared)
    : realized(std::move(concrete)), common(std::move(shared)), typename_(std::move(typeName)) {}

Nodes Nodes::decode(const platform::Decoder& decoder) {
    auto typeName = decoder.container().decode<std::string>("__typename");
    auto concrete = [&]() -> Realized {
        if (typeName == "Delivery") return decoder.decode<Delivery>();
        if (typeName == "Order") return decoder.decode<Order>();
        return decoder.decode<BaseDeliveriesOrdersListItemInterface>();
    }();
    return Nodes(std::move(typeName), std::move(concrete),
                 decoder.decode<BaseDeliveriesOrdersListItemInterface>());
}

void Nodes::encode(platform::Encoder& encoder) const {
    std::visit([&](const auto& concrete) { encoder.encode(concrete); }, realized);
    encoder.encode(common);
    encoder.container().encode("__typename", typename_);
}

const platform::JSONDecoder& TrackingWidgetResponse::customDecoder() {
    static const platform::JSONDecoder decoder = Module::customDecoder();
    return decoder;
}

const platform::JSONEncoder& TrackingWidgetResponse::customEncoder() {
    static const platform::JSONEncoder encoder = Module::customEncoder();
    return encoder;
}

template TrackingWidgetResponse responseFrom<TrackingWidgetResponse>(boost::json::object data,
                                                                     platform::BoundedMemory* memory);
template boost::json::object fields<TrackingWidgetResponse>(const TrackingWidgetResponse& response,
                                                            FragmentCollapsing collapsing);

}  // namespace VelaApi
