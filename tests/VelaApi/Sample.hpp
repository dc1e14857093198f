// SPDX-License-Identifier: Apache-2.0

#pragma once

// Whole answers of the account server, every key present, in the order of the schema.

#include <string_view>

namespace sample {

inline constexpr std::string_view trackingWidget = R"({
  "deliveriesOrdersList": {
    "nodes": [
      {
        "id": "D-1",
        "status": "IN_TRANSIT",
        "state": "CURRENT",
        "customName": "Winter boots",
        "deliveryName": "Parcel 7",
        "sellerName": "Nordwind",
        "deliveredAt": "2024-05-01T12:00:00+0000",
        "deliveryFlags": ["CAN_DELETE", "STALE"],
        "exceptions": [{"exceptionType": "DAMAGED", "__typename": "DeliveryException"}],
        "currentEtaInfo": {
          "formattedEtaDateAndTime": "Arriving Friday",
          "estimatedTimeOfDelivery": "2024-05-03T10:00:00+0000",
          "etaRange": {
            "etaStart": "2024-05-03T09:00:00+0000",
            "etaEnd": "2024-05-03T11:00:00+0000",
            "__typename": "EtaRange"
          },
          "__typename": "Eta"
        },
        "tracker": {
          "carrierInfo": {
            "id": "C-1",
            "name": "Swift Post",
            "imageUrl": "https://pictures.example/carrier.png",
            "__typename": "Carrier"
          },
          "__typename": "DeliveryTracker"
        },
        "__typename": "Delivery"
      },
      {
        "id": "O-1",
        "createdAt": "2024-04-28T08:00:00+0000",
        "displayStatus": "in_transit",
        "deliveryStatus": "out_for_delivery",
        "shippingMethod": "Express",
        "markedAsDeliveredAt": "2024-05-02T08:00:00+0000",
        "etaInfo": {
          "formattedEta": "Arriving Friday",
          "isFuture": true,
          "formattedEtaTime": "Between 2 and 4 PM",
          "__typename": "Eta"
        },
        "lineItems": {
          "nodes": [
            {
              "image": {"url": "https://pictures.example/kettle.jpg", "__typename": "Image"},
              "__typename": "LineItem"
            }
          ],
          "__typename": "OrderLineItemConnection"
        },
        "shop": {
          "name": "Kettle & Co",
          "visualTheme": {
            "logoImage": {"url": "https://pictures.example/logo.png", "__typename": "Image"},
            "__typename": "VisualTheme"
          },
          "__typename": "Shop"
        },
        "trackers": {
          "nodes": [
            {
              "paginatedTrackingEvents": {
                "nodes": [
                  {
                    "carrierLocationMessage": "Leipzig",
                    "happenedAt": "2024-05-01T06:00:00+0000",
                    "__typename": "TrackingEvent"
                  }
                ],
                "__typename": "TrackingEventConnection"
              },
              "__typename": "Tracker"
            }
          ],
          "__typename": "TrackerConnection"
        },
        "__typename": "Order"
      },
      {"id": "A-1", "__typename": "Article"}
    ],
    "__typename": "DeliveriesOrdersListConnection"
  },
  "__typename": "Query"
})";

inline constexpr std::string_view refreshAccessToken = R"({
  "accessTokenRefresh": {
    "authPayload": {"accessToken": "access", "refreshToken": "refresh", "__typename": "Auth"},
    "userErrors": [{"message": "invalid_refresh_token", "__typename": "UserError"}],
    "__typename": "AccessTokenRefreshPayload"
  },
  "__typename": "Mutation"
})";

}  // namespace sample
