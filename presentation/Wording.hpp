// SPDX-License-Identifier: Apache-2.0

#pragma once

// The widget's own words, each said once. They are English literals and stay exactly as they stand; what else
// a person reads comes from the server. Constants.

#include <string_view>

namespace presentation {

struct Wording {
    // How a host presents the widget.
    static constexpr std::string_view widgetName = "Tracking Widget";
    static constexpr std::string_view widgetDescription =
        "Keep track of your packages with real-time updates.";

    // What became of a parcel or an order.
    static constexpr std::string_view attemptedDelivery = "Attempted delivery";
    static constexpr std::string_view cancelled = "Cancelled";
    static constexpr std::string_view customsPaymentDue = "Customs payment due";
    static constexpr std::string_view delivered = "Delivered";
    static constexpr std::string_view deliveryDelayed = "Delivery delayed";
    static constexpr std::string_view failure = "Failure";
    static constexpr std::string_view inStorePurchase = "In-store purchase";
    static constexpr std::string_view inTransit = "In transit";
    static constexpr std::string_view noRecentActivity = "No recent activity";
    static constexpr std::string_view orderPlaced = "Order placed";
    static constexpr std::string_view outForDelivery = "Out for delivery";
    static constexpr std::string_view partiallyDelivered = "Partially delivered";
    static constexpr std::string_view partiallyReadyToShip = "Partially ready to ship";
    static constexpr std::string_view partiallyRefunded = "Partially refunded";
    static constexpr std::string_view pickedUp = "Picked up";
    static constexpr std::string_view readyForPickup = "Ready for pickup";
    static constexpr std::string_view readyToShip = "Ready to ship";
    static constexpr std::string_view refunded = "Refunded";
    static constexpr std::string_view returned = "Returned";
    static constexpr std::string_view unknown = "Unknown";
    static constexpr std::string_view waitingForDetails = "Waiting for details";

    // When it was delivered.
    static constexpr std::string_view deliveredToday = "Delivered today";
    static constexpr std::string_view deliveredYesterday = "Delivered yesterday";
    /// A day follows.
    static constexpr std::string_view deliveredOn = "Delivered on ";

    // To who is not signed in.
    static constexpr std::string_view invitation = "Track your orders in a glance.";
    static constexpr std::string_view whySignIn = "Sign in to track your orders in a glance";
    static constexpr std::string_view signInToTheApp = "Sign in to Vela";
    static constexpr std::string_view signIn = "Sign In";

    // To who has nothing to track.
    static constexpr std::string_view nothingToTrack = "You have no new orders to track";
    static constexpr std::string_view addOrder = "Add order to track";

    // The sample that stands in while nothing is known.
    static constexpr std::string_view sampleShopName = "Shop Name";
    static constexpr std::string_view samplePrimary = "primary";
    static constexpr std::string_view sampleSecondary = "secondary";
    /// Said of it, and of whatever is redacted.
    static constexpr std::string_view notYetKnown = "Not yet known";
};

}  // namespace presentation
