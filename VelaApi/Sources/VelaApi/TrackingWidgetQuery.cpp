// SPDX-License-Identifier: Apache-2.0

#include "VelaApi/Sources/VelaApi/TrackingWidgetQuery.hpp"

#include "VelaApi/Sources/VelaApi/Module.hpp"

namespace VelaApi {
namespace {

constexpr std::string_view queryText =
    "query TrackingWidget($maxImageSize: Int!) { __typename deliveriesOrdersList(first: 10) { "
    "__typename nodes { __typename id ... on Order { __typename createdAt displayStatus "
    "deliveryStatus shippingMethod markedAsDeliveredAt etaInfo { __typename formattedEta isFuture "
    "formattedEtaTime } lineItems { __typename nodes { __typename image { __typename url(maxWidth: "
    "$maxImageSize, maxHeight: $maxImageSize) } } } shop { __typename name visualTheme { __typename "
    "logoImage { __typename url(maxWidth: $maxImageSize, maxHeight: $maxImageSize) } } } trackers { "
    "__typename nodes { __typename paginatedTrackingEvents(last: 1) { __typename nodes { __typename "
    "carrierLocationMessage happenedAt } } } } }... on Delivery { __typename id status state "
    "customName deliveryName: name sellerName deliveredAt deliveryFlags exceptions { __typename "
    "exceptionType } currentEtaInfo { __typename formattedEtaDateAndTime estimatedTimeOfDelivery "
    "etaRange { __typename etaStart etaEnd } } tracker { __typename carrierInfo { __typename id name "
    "imageUrl } } } } } }";
static_assert(queryText.size() == 1031);

}  // namespace

static_assert(GraphApiQuery<TrackingWidgetQuery> && ResponseAssociable<TrackingWidgetQuery>);

std::string_view TrackingWidgetQuery::queryString() {
    return queryText;
}

const platform::JSONEncoder& TrackingWidgetQuery::customEncoder() {
    static const platform::JSONEncoder encoder = Module::customEncoder();
    return encoder;
}

template boost::json::object variables<TrackingWidgetQuery>(const TrackingWidgetQuery& operation);

}  // namespace VelaApi
