// SPDX-License-Identifier: Apache-2.0

#pragma once

// The answer to TrackingWidgetQuery: the user's recent deliveries and orders. Each record mirrors one
// selection set of the query, field for field; its member `typename_` is "__typename" on the wire and, where
// none is given, the name of the type in the schema. Plain values.

#include <optional>
#include <string>
#include <tuple>
#include <variant>
#include <vector>

#include "VelaApi/Sources/VelaApi/DeliveryExceptionType.hpp"
#include "VelaApi/Sources/VelaApi/DeliveryFlag.hpp"
#include "VelaApi/Sources/VelaApi/DeliveryState.hpp"
#include "VelaApi/Sources/VelaApi/DeliveryStatus.hpp"
#include "VelaApi/Sources/VelaApi/DorvoSupport/GraphApi.hpp"
#include "VelaApi/Sources/VelaApi/DorvoSupport/GraphID.hpp"
#include "VelaApi/Sources/VelaApi/OrderDeliveryStatus.hpp"
#include "VelaApi/Sources/VelaApi/OrderDisplayStatus.hpp"
#include "platform/Date/Date.hpp"
#include "platform/JSON/Coding.hpp"
#include "platform/URL/URL.hpp"

namespace VelaApi {

using platform::field;

struct TrackingWidgetResponse {
    struct DeliveriesOrdersList {
        /// One item: what all items have in common, and its concrete reading.
        class Nodes {
          public:
            /// What every item has, whatever its type.
            struct BaseDeliveriesOrdersListItemInterface {
                GraphID id;
                std::string typename_ = "DeliveriesOrdersListItemInterface";

                static constexpr auto fields() {
                    return std::tuple(field("id", &BaseDeliveriesOrdersListItemInterface::id),
                                      field("__typename", &BaseDeliveriesOrdersListItemInterface::typename_));
                }

                bool operator==(const BaseDeliveriesOrdersListItemInterface&) const = default;
            };

            /// A parcel that the user tracks by carrier and tracking number.
            struct Delivery {
                struct Exceptions {
                    std::optional<DeliveryExceptionType> exceptionType = std::nullopt;
                    std::string typename_ = "DeliveryException";

                    static constexpr auto fields() {
                        return std::tuple(field("exceptionType", &Exceptions::exceptionType),
                                          field("__typename", &Exceptions::typename_));
                    }

                    bool operator==(const Exceptions&) const = default;
                };

                struct CurrentEtaInfo {
                    struct EtaRange {
                        platform::Date etaStart;
                        platform::Date etaEnd;
                        std::string typename_ = "EtaRange";

                        static constexpr auto fields() {
                            return std::tuple(field("etaStart", &EtaRange::etaStart),
                                              field("etaEnd", &EtaRange::etaEnd),
                                              field("__typename", &EtaRange::typename_));
                        }

                        bool operator==(const EtaRange&) const = default;
                    };

                    std::optional<std::string> formattedEtaDateAndTime = std::nullopt;
                    std::optional<platform::Date> estimatedTimeOfDelivery = std::nullopt;
                    std::optional<EtaRange> etaRange = std::nullopt;
                    std::string typename_ = "Eta";

                    static constexpr auto fields() {
                        return std::tuple(
                            field("formattedEtaDateAndTime", &CurrentEtaInfo::formattedEtaDateAndTime),
                            field("estimatedTimeOfDelivery", &CurrentEtaInfo::estimatedTimeOfDelivery),
                            field("etaRange", &CurrentEtaInfo::etaRange),
                            field("__typename", &CurrentEtaInfo::typename_));
                    }

                    bool operator==(const CurrentEtaInfo&) const = default;
                };

                struct Tracker {
                    struct CarrierInfo {
                        GraphID id;
                        std::string name;
                        platform::URL imageUrl;
                        std::string typename_ = "Carrier";

                        static constexpr auto fields() {
                            return std::tuple(field("id", &CarrierInfo::id),
                                              field("name", &CarrierInfo::name),
                                              field("imageUrl", &CarrierInfo::imageUrl),
                                              field("__typename", &CarrierInfo::typename_));
                        }

                        bool operator==(const CarrierInfo&) const = default;
                    };

                    std::optional<CarrierInfo> carrierInfo = std::nullopt;
                    std::string typename_ = "DeliveryTracker";

                    static constexpr auto fields() {
                        return std::tuple(field("carrierInfo", &Tracker::carrierInfo),
                                          field("__typename", &Tracker::typename_));
                    }

                    bool operator==(const Tracker&) const = default;
                };

                GraphID id;
                DeliveryStatus status;
                DeliveryState state;
                std::optional<std::string> customName = std::nullopt;
                std::optional<std::string> deliveryName = std::nullopt;
                std::optional<std::string> sellerName = std::nullopt;
                std::optional<platform::Date> deliveredAt = std::nullopt;
                std::vector<DeliveryFlag> deliveryFlags;
                std::vector<Exceptions> exceptions;
                std::optional<CurrentEtaInfo> currentEtaInfo = std::nullopt;
                std::optional<Tracker> tracker = std::nullopt;
                std::string typename_ = "Delivery";

                static constexpr auto fields() {
                    return std::tuple(
                        field("id", &Delivery::id), field("status", &Delivery::status),
                        field("state", &Delivery::state), field("customName", &Delivery::customName),
                        field("deliveryName", &Delivery::deliveryName),
                        field("sellerName", &Delivery::sellerName),
                        field("deliveredAt", &Delivery::deliveredAt),
                        field("deliveryFlags", &Delivery::deliveryFlags),
                        field("exceptions", &Delivery::exceptions),
                        field("currentEtaInfo", &Delivery::currentEtaInfo),
                        field("tracker", &Delivery::tracker), field("__typename", &Delivery::typename_));
                }

                bool operator==(const Delivery&) const = default;
            };

            /// A purchase that the user made with a merchant.
            struct Order {
                struct EtaInfo {
                    std::optional<std::string> formattedEta = std::nullopt;
                    bool isFuture;
                    std::optional<std::string> formattedEtaTime = std::nullopt;
                    std::string typename_ = "Eta";

                    static constexpr auto fields() {
                        return std::tuple(field("formattedEta", &EtaInfo::formattedEta),
                                          field("isFuture", &EtaInfo::isFuture),
                                          field("formattedEtaTime", &EtaInfo::formattedEtaTime),
                                          field("__typename", &EtaInfo::typename_));
                    }

                    bool operator==(const EtaInfo&) const = default;
                };

                struct LineItems {
                    struct Nodes {
                        struct Image {
                            platform::URL url;
                            std::string typename_ = "Image";

                            static constexpr auto fields() {
                                return std::tuple(field("url", &Image::url),
                                                  field("__typename", &Image::typename_));
                            }

                            bool operator==(const Image&) const = default;
                        };

                        std::optional<Image> image = std::nullopt;
                        std::string typename_ = "LineItem";

                        static constexpr auto fields() {
                            return std::tuple(field("image", &Nodes::image),
                                              field("__typename", &Nodes::typename_));
                        }

                        bool operator==(const Nodes&) const = default;
                    };

                    std::vector<Nodes> nodes;
                    std::string typename_ = "OrderLineItemConnection";

                    static constexpr auto fields() {
                        return std::tuple(field("nodes", &LineItems::nodes),
                                          field("__typename", &LineItems::typename_));
                    }

                    bool operator==(const LineItems&) const = default;
                };

                struct Shop {
                    struct VisualTheme {
                        struct LogoImage {
                            platform::URL url;
                            std::string typename_ = "Image";

                            static constexpr auto fields() {
                                return std::tuple(field("url", &LogoImage::url),
                                                  field("__typename", &LogoImage::typename_));
                            }

                            bool operator==(const LogoImage&) const = default;
                        };

                        std::optional<LogoImage> logoImage = std::nullopt;
                        std::string typename_ = "VisualTheme";

                        static constexpr auto fields() {
                            return std::tuple(field("logoImage", &VisualTheme::logoImage),
                                              field("__typename", &VisualTheme::typename_));
                        }

                        bool operator==(const VisualTheme&) const = default;
                    };

                    std::string name;
                    std::optional<VisualTheme> visualTheme = std::nullopt;
                    std::string typename_ = "Shop";

                    static constexpr auto fields() {
                        return std::tuple(field("name", &Shop::name),
                                          field("visualTheme", &Shop::visualTheme),
                                          field("__typename", &Shop::typename_));
                    }

                    bool operator==(const Shop&) const = default;
                };

                struct Trackers {
                    struct Nodes {
                        struct PaginatedTrackingEvents {
                            struct Nodes {
                                std::optional<std::string> carrierLocationMessage = std::nullopt;
                                platform::Date happenedAt;
                                std::string typename_ = "TrackingEvent";

                                static constexpr auto fields() {
                                    return std::tuple(
                                        field("carrierLocationMessage", &Nodes::carrierLocationMessage),
                                        field("happenedAt", &Nodes::happenedAt),
                                        field("__typename", &Nodes::typename_));
                                }

                                bool operator==(const Nodes&) const = default;
                            };

                            std::vector<Nodes> nodes;
                            std::string typename_ = "TrackingEventConnection";

                            static constexpr auto fields() {
                                return std::tuple(field("nodes", &PaginatedTrackingEvents::nodes),
                                                  field("__typename", &PaginatedTrackingEvents::typename_));
                            }

                            bool operator==(const PaginatedTrackingEvents&) const = default;
                        };

                        PaginatedTrackingEvents paginatedTrackingEvents;
                        std::string typename_ = "Tracker";

                        static constexpr auto fields() {
                            return std::tuple(
                                field("paginatedTrackingEvents", &Nodes::paginatedTrackingEvents),
                                field("__typename", &Nodes::typename_));
                        }

                        bool operator==(const Nodes&) const = default;
                    };

                    std::vector<Nodes> nodes;
                    std::string typename_ = "TrackerConnection";

                    static constexpr auto fields() {
                        return std::tuple(field("nodes", &Trackers::nodes),
                                          field("__typename", &Trackers::typename_));
                    }

                    bool operator==(const Trackers&) const = default;
                };

                GraphID id;
                platform::Date createdAt;
                OrderDisplayStatus displayStatus;
                OrderDeliveryStatus deliveryStatus;
                std::optional<std::string> shippingMethod = std::nullopt;
                std::optional<platform::Date> markedAsDeliveredAt = std::nullopt;
                std::optional<EtaInfo> etaInfo = std::nullopt;
                LineItems lineItems;
                Shop shop;
                Trackers trackers;
                std::string typename_ = "Order";

                static constexpr auto fields() {
                    return std::tuple(field("id", &Order::id), field("createdAt", &Order::createdAt),
                                      field("displayStatus", &Order::displayStatus),
                                      field("deliveryStatus", &Order::deliveryStatus),
                                      field("shippingMethod", &Order::shippingMethod),
                                      field("markedAsDeliveredAt", &Order::markedAsDeliveredAt),
                                      field("etaInfo", &Order::etaInfo),
                                      field("lineItems", &Order::lineItems), field("shop", &Order::shop),
                                      field("trackers", &Order::trackers),
                                      field("__typename", &Order::typename_));
                }

                bool operator==(const Order&) const = default;
            };

            /// `base` stands for an item of any type that this client does not know.
            using Realized = std::variant<Delivery, Order, BaseDeliveriesOrdersListItemInterface>;

            Nodes(std::string typeName, Realized concrete, GraphID id);

            /// Only the exact type names "Delivery" and "Order" lead to those records; a record that does not
            /// decode fails the whole.
            static Nodes decode(const platform::Decoder& decoder);
            /// The keys of the concrete record and of `common`, in one object.
            void encode(platform::Encoder& encoder) const;

            Realized realized;
            BaseDeliveriesOrdersListItemInterface common;
            /// The item's concrete type as received.
            std::string typename_;

            bool operator==(const Nodes&) const = default;

          private:
            Nodes(std::string typeName, Realized concrete, BaseDeliveriesOrdersListItemInterface shared);
        };

        std::vector<Nodes> nodes;
        std::string typename_ = "DeliveriesOrdersListConnection";

        static constexpr auto fields() {
            return std::tuple(field("nodes", &DeliveriesOrdersList::nodes),
                              field("__typename", &DeliveriesOrdersList::typename_));
        }

        bool operator==(const DeliveriesOrdersList&) const = default;
    };

    std::optional<DeliveriesOrdersList> deliveriesOrdersList = std::nullopt;
    std::string typename_ = "Query";

    static constexpr auto fields() {
        return std::tuple(field("deliveriesOrdersList", &TrackingWidgetResponse::deliveriesOrdersList),
                          field("__typename", &TrackingWidgetResponse::typename_));
    }

    /// Made on first use, and then shared by all uses of this type.
    static const platform::JSONDecoder& customDecoder();
    static const platform::JSONEncoder& customEncoder();

    bool operator==(const TrackingWidgetResponse&) const = default;
};

extern template TrackingWidgetResponse responseFrom<TrackingWidgetResponse>(boost::json::object data,
                                                                            platform::BoundedMemory* memory);
extern template boost::json::object fields<TrackingWidgetResponse>(const TrackingWidgetResponse& response,
                                                                   FragmentCollapsing collapsing);

}  // namespace VelaApi
