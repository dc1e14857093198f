# SPDX-License-Identifier: Apache-2.0

"""An independent reading of the rules: what a reply decodes to, and which packages it shows."""

import re
import struct
from datetime import datetime, timedelta, timezone
from urllib.parse import quote


class Undecodable(Exception):
    pass


# Decoding


def record(value):
    if not isinstance(value, dict):
        raise Undecodable("not an object")
    text(value.get("__typename"))
    return value


def text(value):
    if not isinstance(value, str):
        raise Undecodable("not a text")
    return value


def boolean(value):
    if not isinstance(value, bool):
        raise Undecodable("not a boolean")
    return value


def optional(decode, value):
    return None if value is None else decode(value)


def listing(decode, value):
    if not isinstance(value, list):
        raise Undecodable("not a list")
    return [decode(item) for item in value]


# What may stand in a URL as it is; anything else is percent-encoded.
URL_CHARACTERS = "!$&'()*+,;=:@/-._~%?#"


def encoded(url):
    return quote(url, safe=URL_CHARACTERS)


def url(value):
    value = text(value)
    parts = re.match(r"^([A-Za-z][A-Za-z0-9+.-]*):(?://([^/?#]*))?", value)
    if not parts:
        raise Undecodable("no URL")
    authority = parts.group(2)
    if authority is not None:
        host_and_port = authority.rpartition("@")[2]
        if not re.match(r"^(\[[0-9A-Fa-f:.]+\]|[^\[\]:]*)(:[0-9]*)?$", host_and_port):
            raise Undecodable("broken host or port")
    return encoded(value)


DATE = re.compile(r"^(\d{4})-(\d\d)-(\d\d)T(\d\d):(\d\d):(\d\d)([+-])(\d\d)(\d\d)$")


class Clock:
    """The device's zone, and the moment that "now" stands for."""

    def __init__(self, zone, now):
        self.zone = zone
        self.now = now

    def date(self, value):
        """The decoding rule: what parses is moved back by the zone's offset at that instant, what does not is now."""
        found = DATE.match(text(value))
        if not found:
            return self.now
        try:
            wall = datetime(*map(int, found.groups()[:6]), tzinfo=timezone.utc)
        except ValueError:
            return self.now
        sign = 1 if found.group(7) == "+" else -1
        parsed = wall - sign * timedelta(hours=int(found.group(8)), minutes=int(found.group(9)))
        return parsed - parsed.astimezone(self.zone).utcoffset()

    def local(self, instant):
        return instant.astimezone(self.zone)


def decode_delivery(item, clock):
    record(item)

    def exception(value):
        return optional(text, record(value).get("exceptionType"))

    def eta(value):
        record(value)
        optional(clock.date, value.get("estimatedTimeOfDelivery"))

        def eta_range(span):
            record(span)
            clock.date(span.get("etaStart"))
            clock.date(span.get("etaEnd"))

        optional(eta_range, value.get("etaRange"))
        return optional(text, value.get("formattedEtaDateAndTime"))

    def carrier(value):
        record(value)
        text(value.get("id"))
        return {"name": text(value.get("name")), "image": url(value.get("imageUrl"))}

    def tracker(value):
        return optional(carrier, record(value).get("carrierInfo"))

    text(item.get("state"))
    listing(text, item.get("deliveryFlags"))
    return {
        "id": text(item.get("id")),
        "status": text(item.get("status")),
        "customName": optional(text, item.get("customName")),
        "deliveryName": optional(text, item.get("deliveryName")),
        "sellerName": optional(text, item.get("sellerName")),
        "deliveredAt": optional(clock.date, item.get("deliveredAt")),
        "exceptions": listing(exception, item.get("exceptions")),
        "eta": optional(eta, item.get("currentEtaInfo")),
        "carrier": optional(tracker, item.get("tracker")),
    }


def decode_order(item, clock):
    record(item)

    def eta(value):
        record(value)
        return {
            "eta": optional(text, value.get("formattedEta")),
            "isFuture": boolean(value.get("isFuture")),
            "time": optional(text, value.get("formattedEtaTime")),
        }

    def image(value):
        return url(record(value).get("url"))

    def line_item(value):
        return optional(image, record(value).get("image"))

    def theme(value):
        return optional(image, record(value).get("logoImage"))

    def event(value):
        record(value)
        return optional(text, value.get("carrierLocationMessage")), clock.date(value.get("happenedAt"))

    def nodes(decode):
        return lambda value: listing(decode, record(value).get("nodes"))

    def tracker(value):
        return nodes(event)(record(value).get("paginatedTrackingEvents"))

    clock.date(item.get("createdAt"))
    shop = record(item.get("shop"))
    return {
        "id": text(item.get("id")),
        "displayStatus": text(item.get("displayStatus")),
        "deliveryStatus": text(item.get("deliveryStatus")),
        "shippingMethod": optional(text, item.get("shippingMethod")),
        "markedAsDeliveredAt": optional(clock.date, item.get("markedAsDeliveredAt")),
        "etaInfo": optional(eta, item.get("etaInfo")),
        "lineItems": nodes(line_item)(item.get("lineItems")),
        "shopName": text(shop.get("name")),
        "logo": optional(theme, shop.get("visualTheme")),
        "trackers": nodes(tracker)(item.get("trackers")),
    }


# Wording


def delivered_date_text(date, clock):
    day, today = clock.local(date).date(), clock.local(clock.now).date()
    if day == today:
        return "Delivered today"
    if day == today - timedelta(days=1):
        return "Delivered yesterday"
    month = "Jan Feb Mar Apr May Jun Jul Aug Sep Oct Nov Dec".split()[day.month - 1]
    return f"Delivered on {month} {day.day}" + ("" if day.year == today.year else f", {day.year:04}")


def single(number):
    """The shortest decimal that reads back to the same single-precision number."""
    exact = struct.unpack("f", struct.pack("f", number))[0]
    for digits in range(1, 10):
        short = float(f"{exact:.{digits}g}")
        if struct.unpack("f", struct.pack("f", short))[0] == exact:
            return short
    raise AssertionError


def first_present(*choices):
    return next((choice for choice in choices if choice is not None), None)


DELIVERY_PROGRESS = {
    "ATTEMPTED_DELIVERY": 0.8, "DELIVERED": 1.0, "IN_TRANSIT": 0.6, "LABEL_CREATED": 0.4, "OUT_FOR_DELIVERY": 0.8,
    "PREPARING": 0.2, "READY_FOR_PICK_UP": 0.8,
}


def delivery_status(delivery, clock):
    carrier = delivery["carrier"]["name"] if delivery["carrier"] else None
    eta = delivery["eta"]
    if "DELAYED" in delivery["exceptions"]:
        return "Delivery delayed", first_present(eta, carrier)
    status = delivery["status"]
    if status == "ATTEMPTED_DELIVERY":
        return "Attempted delivery", None
    if status == "DELIVERED":
        delivered = delivery["deliveredAt"]
        return "Delivered", None if delivered is None else delivered_date_text(delivered, clock)
    if status == "IN_TRANSIT":
        return first_present(eta, "In transit"), None
    if status == "OUT_FOR_DELIVERY":
        return first_present(eta, "Out for delivery"), None
    if status == "PREPARING":
        return "Waiting for details", None
    if status == "READY_FOR_PICK_UP":
        return "Ready for pickup", None
    return "Unknown", carrier


def package(name, link, shop_image, product_image, progress, status):
    return {
        "shopName": name, "deepLinkingUrl": link, "shopImage": shop_image, "productImage": product_image,
        "progress": single(progress), "statusText": {"primary": status[0], "secondary": status[1]},
    }


def delivery_package(delivery, clock):
    carrier = delivery["carrier"]
    return package(
        first_present(
            delivery["customName"], delivery["sellerName"], delivery["deliveryName"], carrier and carrier["name"], "Unknown"
        ),
        encoded(f"velaapp://delivery/{delivery['id']}?referral=ios_widget"),
        carrier["image"] if carrier else None,
        None,
        DELIVERY_PROGRESS.get(delivery["status"], 0.0),
        delivery_status(delivery, clock),
    )


DISPLAY_WORDING = {
    "attempted_delivery": "Attempted delivery", "buyer_action_required": "Customs payment due",
    "cancelled": "Cancelled", "delayed": "Delivery delayed", "delivered": "Delivered",
    "delivered_partially": "Partially delivered", "expired": "No recent activity", "failure": "Failure",
    "fulfilled": "Ready to ship", "fulfilled_partially": "Partially ready to ship", "in_transit": "In transit",
    "out_for_delivery": "Out for delivery", "paid": "Order placed", "paid_partially": "Order placed",
    "partially_refunded_in_store": "Partially refunded", "pending": "Waiting for details", "picked_up": "Picked up",
    "purchased_in_store": "In-store purchase", "ready_for_pickup": "Ready for pickup", "refunded": "Refunded",
    "refunded_in_store": "Refunded", "refunded_partially": "Partially refunded", "returned": "Returned",
}
DELIVERY_WORDING = {
    "attempted_delivery": "Attempted delivery", "buyer_action_required": "Customs payment due",
    "cancelled": "Cancelled", "delayed": "Delivery delayed", "delivered": "Delivered",
    "delivered_partially": "Partially delivered", "expired": "No recent activity", "failure": "Failure",
    "fulfilled": "Ready to ship", "fulfilled_partially": "Partially ready to ship", "in_transit": "In transit",
    "out_for_delivery": "Out for delivery", "pending": "Waiting for details", "picked_up": "Picked up",
    "ready_for_pickup": "Ready for pickup", "returned": "Returned",
}
ORDER_PROGRESS = {
    "attempted_delivery": 0.8, "buyer_action_required": 0.6, "delivered_partially": 0.8, "fulfilled": 0.4,
    "fulfilled_partially": 0.4, "in_transit": 0.6, "out_for_delivery": 0.8, "paid": 0.2, "paid_partially": 0.2,
    "ready_for_pickup": 0.8,
}


def location_of(trackers):
    latest = None
    for events in trackers:
        if not events or events[0][0] is None:
            continue
        if latest is None or events[0][1] > latest[1]:
            latest = events[0]
    return latest[0] if latest else None


def order_status(order, clock):
    display, delivery = order["displayStatus"], order["deliveryStatus"]
    if display == "refunded" and delivery == "pending":
        return "Refunded", None
    info = order["etaInfo"]
    is_future = info is not None and info["isFuture"] and info["eta"] is not None
    future_eta = info["eta"] if is_future else None
    future_time = info["time"] if is_future else None
    past_eta = info["eta"] if info is not None and not info["isFuture"] else None
    time = future_time or ""
    eta_line = ((future_eta or "") + " " + time[:1].lower() + time[1:]).strip(" \t") or None
    location = location_of(order["trackers"])
    delivered = order["markedAsDeliveredAt"]
    delivered_text = None if delivered is None else delivered_date_text(delivered, clock)
    shipping = order["shippingMethod"]
    wording = DISPLAY_WORDING.get(display, "Unknown")

    if display == "attempted_delivery":
        return "Attempted delivery", shipping
    if display in ("buyer_action_required", "delayed"):
        return wording, first_present(eta_line, location, shipping)
    if display == "delivered":
        return "Delivered", first_present(delivered_text, past_eta, shipping)
    if display == "delivered_partially":
        return "Partially delivered", first_present(past_eta, shipping)
    if display in ("fulfilled", "fulfilled_partially"):
        return first_present(future_eta, wording), first_present(future_time, shipping)
    if display == "in_transit":
        return first_present(future_eta, "In transit"), first_present(future_time, location, shipping)
    if display == "out_for_delivery":
        return first_present(future_eta, "Out for delivery"), first_present(future_time, shipping)
    if display == "pending":
        return "Waiting for details", shipping
    if display in ("picked_up", "cancelled", "failure", "returned"):
        return wording, None
    if display == "partially_refunded_in_store":
        return "In-store purchase", "Partially refunded"
    if display == "refunded_in_store":
        return "In-store purchase", "Refunded"
    if display in ("refunded", "refunded_partially"):
        return DELIVERY_WORDING.get(delivery, "Unknown"), wording
    return wording, shipping


def order_package(order, clock):
    items = order["lineItems"]
    return package(
        order["shopName"],
        encoded(f"velaapp://order/{order['id']}"),
        order["logo"],
        items[0] if items else None,
        ORDER_PROGRESS.get(order["displayStatus"], 0.0),
        order_status(order, clock),
    )


# A whole reply


def packages_of(data, clock):
    """The packages of a data object, in the server's order. Raises Undecodable."""
    connection = optional(record, record(data).get("deliveriesOrdersList"))
    if connection is None:
        return []
    nodes = connection.get("nodes")
    if not isinstance(nodes, list):
        raise Undecodable("nodes")
    packages = []
    for node in nodes:
        type_name = record(node)["__typename"]
        text(node.get("id"))
        if type_name == "Delivery":
            packages.append(delivery_package(decode_delivery(node, clock), clock))
        elif type_name == "Order":
            packages.append(order_package(decode_order(node, clock), clock))
    return packages


def outcome_of(status, reply, clock):
    """The state and the packages that a parsed reply leads to; a failed fetch is "notLoggedIn"."""
    failed = ("notLoggedIn", None)
    if status == 401 or not isinstance(reply, dict):
        return failed
    errors = reply.get("errors")
    if isinstance(errors, list) and all(isinstance(error, dict) for error in errors):
        for error in errors:
            message = error.get("message")
            if isinstance(message, str) and message.startswith("Unauthorized"):
                return failed
    data = reply.get("data")
    if not isinstance(data, dict):
        return failed
    try:
        packages = packages_of(data, clock)
    except Undecodable:
        return failed
    return ("loggedIn", packages) if packages else ("noPackages", None)
