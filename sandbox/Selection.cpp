// SPDX-License-Identifier: Apache-2.0

#include "sandbox/Selection.hpp"

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "sandbox/Error.hpp"

namespace sandbox {
namespace {

using boost::json::array;
using boost::json::object;
using boost::json::value;

/// What stands for a field that a scenario leaves out.
enum class Absence { null, emptyList, falsehood, emptyRecord, missing };

struct Field {
    std::string_view name;
    Absence absence = Absence::null;
    /// The selection of a record, or of each record of a list.
    std::string_view selection = {};
};

struct Selection {
    std::string_view name;
    std::string_view typeName;
    std::span<const Field> fields;
};

constexpr Field delivery[] = {
    {"id", Absence::missing},
    {"status", Absence::missing},
    {"state", Absence::missing},
    {"customName"},
    {"deliveryName"},
    {"sellerName"},
    {"deliveredAt"},
    {"deliveryFlags", Absence::emptyList},
    {"exceptions", Absence::emptyList, "exception"},
    {"currentEtaInfo", Absence::null, "deliveryEta"},
    {"tracker", Absence::null, "deliveryTracker"},
};
constexpr Field exception[] = {{"exceptionType"}};
constexpr Field deliveryEta[] = {
    {"formattedEtaDateAndTime"}, {"estimatedTimeOfDelivery"}, {"etaRange", Absence::null, "etaRange"}};
constexpr Field etaRange[] = {{"etaStart", Absence::missing}, {"etaEnd", Absence::missing}};
constexpr Field deliveryTracker[] = {{"carrierInfo", Absence::null, "carrier"}};
constexpr Field carrier[] = {
    {"id", Absence::missing}, {"name", Absence::missing}, {"imageUrl", Absence::missing}};

constexpr Field order[] = {
    {"id", Absence::missing},
    {"createdAt", Absence::missing},
    {"displayStatus", Absence::missing},
    {"deliveryStatus", Absence::missing},
    {"shippingMethod"},
    {"markedAsDeliveredAt"},
    {"etaInfo", Absence::null, "orderEta"},
    {"lineItems", Absence::emptyRecord, "lineItems"},
    {"shop", Absence::missing, "shop"},
    {"trackers", Absence::emptyRecord, "trackers"},
};
constexpr Field orderEta[] = {{"formattedEta"}, {"isFuture", Absence::falsehood}, {"formattedEtaTime"}};
constexpr Field lineItems[] = {{"nodes", Absence::emptyList, "lineItem"}};
constexpr Field lineItem[] = {{"image", Absence::null, "image"}};
constexpr Field image[] = {{"url", Absence::missing}};
constexpr Field shop[] = {{"name", Absence::missing}, {"visualTheme", Absence::null, "visualTheme"}};
constexpr Field visualTheme[] = {{"logoImage", Absence::null, "image"}};
constexpr Field trackers[] = {{"nodes", Absence::emptyList, "tracker"}};
constexpr Field tracker[] = {{"paginatedTrackingEvents", Absence::emptyRecord, "trackingEvents"}};
constexpr Field trackingEvents[] = {{"nodes", Absence::emptyList, "trackingEvent"}};
constexpr Field trackingEvent[] = {{"carrierLocationMessage"}, {"happenedAt", Absence::missing}};

constexpr Selection selections[] = {
    {"Delivery", "Delivery", delivery},
    {"exception", "DeliveryException", exception},
    {"deliveryEta", "Eta", deliveryEta},
    {"etaRange", "EtaRange", etaRange},
    {"deliveryTracker", "DeliveryTracker", deliveryTracker},
    {"carrier", "Carrier", carrier},
    {"Order", "Order", order},
    {"orderEta", "Eta", orderEta},
    {"lineItems", "OrderLineItemConnection", lineItems},
    {"lineItem", "LineItem", lineItem},
    {"image", "Image", image},
    {"shop", "Shop", shop},
    {"visualTheme", "VisualTheme", visualTheme},
    {"trackers", "TrackerConnection", trackers},
    {"tracker", "Tracker", tracker},
    {"trackingEvents", "TrackingEventConnection", trackingEvents},
    {"trackingEvent", "TrackingEvent", trackingEvent},
};

const Selection* selectionNamed(std::string_view name) {
    for (const Selection& selection : selections) {
        if (selection.name == name) return &selection;
    }
    return nullptr;
}

object completed(const object& record, const Selection& selection);

value completed(const value& given, std::string_view selectionName) {
    const Selection* selection = selectionNamed(selectionName);
    if (selection == nullptr || given.is_null()) return given;
    if (given.is_object()) return completed(given.get_object(), *selection);
    if (!given.is_array())
        throw Error("a " + std::string(selectionName) + " is neither an object nor a list");
    array completedItems;
    for (const value& item : given.get_array()) completedItems.push_back(completed(item, selectionName));
    return completedItems;
}

value standIn(const Field& field, const Selection& selection) {
    switch (field.absence) {
        case Absence::null: return nullptr;
        case Absence::emptyList: return array();
        case Absence::falsehood: return false;
        case Absence::emptyRecord: return completed(object(), *selectionNamed(field.selection));
        case Absence::missing: break;
    }
    throw Error("a " + std::string(selection.typeName) + " has no \"" + std::string(field.name) + "\"");
}

void refuseUnknownFields(const object& record, const Selection& selection) {
    for (const auto& member : record) {
        bool known = member.key() == "__typename";
        for (const Field& field : selection.fields)
            known = known || field.name == std::string_view(member.key());
        if (!known) {
            throw Error("a " + std::string(selection.typeName) + " has no field \"" +
                        std::string(member.key()) + "\"");
        }
    }
}

object completed(const object& record, const Selection& selection) {
    refuseUnknownFields(record, selection);
    object result;
    result["__typename"] = selection.typeName;
    for (const Field& field : selection.fields) {
        const value* given = record.if_contains(field.name);
        result[field.name] =
            given == nullptr ? standIn(field, selection) : completed(*given, field.selection);
    }
    return result;
}

}  // namespace

object selected(const object& item) {
    const value* typeName = item.if_contains("__typename");
    if (typeName == nullptr || !typeName->is_string()) throw Error("an item has no \"__typename\"");
    const Selection* selection = selectionNamed(std::string_view(typeName->get_string()));
    return selection == nullptr ? item : completed(item, *selection);
}

}  // namespace sandbox
