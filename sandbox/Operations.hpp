// SPDX-License-Identifier: Apache-2.0

#pragma once

// The two operations that the account server answers, by name and by exact text.

#include <array>
#include <string_view>

namespace sandbox {

enum class OperationKind { trackingWidget, refreshAccessToken };

struct Operation {
    OperationKind kind;
    std::string_view name;
    std::string_view text;
    /// The one variable that the operation takes.
    std::string_view variable;
};

inline constexpr std::array<Operation, 2> operations = {{
    {OperationKind::trackingWidget, "TrackingWidget",
     "query TrackingWidget($maxImageSize: Int!) { __typename deliveriesOrdersList(first: 10) { __typename "
     "nodes "
     "{ __typename id ... on Order { __typename createdAt displayStatus deliveryStatus shippingMethod "
     "markedAsDeliveredAt etaInfo { __typename formattedEta isFuture formattedEtaTime } lineItems { "
     "__typename "
     "nodes { __typename image { __typename url(maxWidth: $maxImageSize, maxHeight: $maxImageSize) } } } "
     "shop { "
     "__typename name visualTheme { __typename logoImage { __typename url(maxWidth: $maxImageSize, "
     "maxHeight: "
     "$maxImageSize) } } } trackers { __typename nodes { __typename paginatedTrackingEvents(last: 1) { "
     "__typename nodes { __typename carrierLocationMessage happenedAt } } } } }... on Delivery { __typename "
     "id "
     "status state customName deliveryName: name sellerName deliveredAt deliveryFlags exceptions { "
     "__typename "
     "exceptionType } currentEtaInfo { __typename formattedEtaDateAndTime estimatedTimeOfDelivery etaRange { "
     "__typename etaStart etaEnd } } tracker { __typename carrierInfo { __typename id name imageUrl } } } } "
     "} }",
     "maxImageSize"},
    {OperationKind::refreshAccessToken, "RefreshAccessToken",
     "mutation RefreshAccessToken($refreshToken: String!) { __typename accessTokenRefresh(refreshToken: "
     "$refreshToken) { __typename authPayload { __typename accessToken refreshToken } userErrors { "
     "__typename "
     "message } } }",
     "refreshToken"},
}};

static_assert(operations[0].text.size() == 1031 && operations[1].text.size() == 215);

}  // namespace sandbox
