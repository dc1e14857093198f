# SPDX-License-Identifier: Apache-2.0

"""What goes over the wire: the operations' texts, the values of the enumerations, and a source of random replies."""

import random
import string
from datetime import datetime, timedelta, timezone

QUERY = (
    "query TrackingWidget($maxImageSize: Int!) { __typename deliveriesOrdersList(first: 10) { __typename nodes {"
    " __typename id ... on Order { __typename createdAt displayStatus deliveryStatus shippingMethod"
    " markedAsDeliveredAt etaInfo { __typename formattedEta isFuture formattedEtaTime } lineItems { __typename"
    " nodes { __typename image { __typename url(maxWidth: $maxImageSize, maxHeight: $maxImageSize) } } } shop {"
    " __typename name visualTheme { __typename logoImage { __typename url(maxWidth: $maxImageSize, maxHeight:"
    " $maxImageSize) } } } trackers { __typename nodes { __typename paginatedTrackingEvents(last: 1) { __typename"
    " nodes { __typename carrierLocationMessage happenedAt } } } } }... on Delivery { __typename id status state"
    " customName deliveryName: name sellerName deliveredAt deliveryFlags exceptions { __typename exceptionType }"
    " currentEtaInfo { __typename formattedEtaDateAndTime estimatedTimeOfDelivery etaRange { __typename etaStart"
    " etaEnd } } tracker { __typename carrierInfo { __typename id name imageUrl } } } } } }"
)
MUTATION = (
    "mutation RefreshAccessToken($refreshToken: String!) { __typename accessTokenRefresh(refreshToken:"
    " $refreshToken) { __typename authPayload { __typename accessToken refreshToken } userErrors { __typename"
    " message } } }"
)
assert len(QUERY) == 1031 and len(MUTATION) == 215

EXCEPTION_TYPES = """ADDRESS_UPDATED ATTEMPTED_DELIVERY BUYER_INFORMATION_REQUIRED CUSTOMS_PAYABLE DAMAGED DELAYED
DELIVERED PARCEL_AT_PICKUP_POINT PARCEL_REROUTED PAYMENT_CHARGES_REQUIRED UNDELIVERED_AND_DISPOSED_OF
UNDELIVERED_AND_RETURNED_TO_SENDER""".split()
DELIVERY_FLAGS = """CAN_BE_ARCHIVED CAN_BE_MARKED_AS_DELIVERED CAN_DELETE CAN_UNDO_MARK_AS_DELIVERED
CAN_UPDATE_TRACKING_DETAILS STALE TRACKING_DETAILS_MANUALLY_ENTERED""".split()
DELIVERY_STATES = "ARCHIVED CURRENT PAST".split()
DELIVERY_STATUSES = """ATTEMPTED_DELIVERY CARRIER_NOT_SUPPORTED DELIVERED DELIVERY_NOT_COMPLETED IN_TRANSIT
INVALID_TRACKING_NUMBER LABEL_CREATED OUT_FOR_DELIVERY PICKED_UP PREPARING READY_FOR_PICK_UP RETURNED_TO_SENDER
UNKNOWN""".split()
ORDER_DELIVERY_STATUSES = """attempted_delivery buyer_action_required cancelled delayed delivered
delivered_partially expired failure fulfilled fulfilled_partially in_transit out_for_delivery pending picked_up
ready_for_pickup returned unknown""".split()
ORDER_DISPLAY_STATUSES = ORDER_DELIVERY_STATUSES + """paid paid_partially partially_refunded_in_store
purchased_in_store refunded refunded_in_store refunded_partially""".split()

TEXTS = [
    "", " ", "Fathom & Co.", "柚子商店", "みなと文具店", "한옥 도자기", "سوق الفوانيس", "שוק הספרים",
    "ตลาดต้นไม้", "Северный свет", "Ελαιώνας", "👩‍👩‍👧‍👦 gifts 🎁", "Line\nbreak", "Tab\tand \"quotes\" \\ / <b>",
    "e\u0301clair", "\u0000nul", "\u202eright to left\u202c", "long " * 200, "\ufeffmark", "𝒳 astral",
]
ETA_TEXTS = ["Arriving Friday", "Arriving today ", "\tSoon", "", " ", "Ankunft morgen", "明日到着", "\n"]
ETA_TIMES = [
    "Between 2 and 4 PM", "By noon", "", " ", "ÉVENING", "E\u0301vening", "Σήμερα", "ΑΒΓ", "İstanbul time", "ǅ",
    "午後", "🎁 Surprise", "\tTab first", "PM ", "ß", "Ⅷ o'clock", "4 PM\n",
]
UNREADABLE_DATES = [
    "", "yesterday", "2024-05-01", "2024-13-01T00:00:00+0000", "2024-02-31T12:00:00+0000",
    "2024-05-01T25:00:00+0000", "2024-05-01T12:61:00+0000", "2024-05-01T12:00:00+0000 and more",
    "2024-05-01T12:00:00", "T12:00:00+0000", "2024/05/01T12:00:00+0000", "2024-05-01 12:00:00+0000",
]
ID_CHARACTERS = string.ascii_letters + string.digits + "-_.~" + " \"'\n\t<>{}|\\^`é柚🎁:@!$&()*+,;=/"


def wire_date(instant, offset_minutes=0):
    local = instant + timedelta(minutes=offset_minutes)
    sign = "-" if offset_minutes < 0 else "+"
    hours, minutes = divmod(abs(offset_minutes), 60)
    return f"{local:%Y-%m-%dT%H:%M:%S}".zfill(19) + f"{sign}{hours:02}{minutes:02}"


class RandomReplies:
    """Schema-conforming data objects, told from one seed."""

    def __init__(self, seed, zone, now):
        self.random = random.Random(seed)
        self.zone = zone
        self.now = now

    def maybe(self, make, share=0.6):
        return make() if self.random.random() < share else None

    def text(self):
        if self.random.random() < 0.6:
            return self.random.choice(TEXTS)
        letters = string.ascii_letters + "äöüßéΩЖ漢字かな한글عש🎁 .,'\"\\"
        return "".join(self.random.choices(letters, k=self.random.randint(1, 30)))

    def identifier(self):
        if self.random.random() < 0.5:
            return str(self.random.randint(1, 10**9))
        return "".join(self.random.choices(ID_CHARACTERS, k=self.random.randint(1, 20)))

    def url(self):
        path = self.random.choice(
            ["/a.png", "/pictures/logo?width=192&height=192", "/x/%20y#z", "", "/柚.png", "/with space", "/a|b^c.webp", "/é"]
        )
        host = self.random.choice(["https://cdn.example", "http://127.0.0.1:8080", "https://user@host.example"])
        return host + path

    def status(self, known):
        """Often one whose wording reads a date or a place."""
        telling = [value for value in known if value.lower() in ("delivered", "in_transit", "delayed")]
        if telling and self.random.random() < 0.3:
            return self.random.choice(telling)
        odd = ["", "SOMETHING_NEW", known[0].swapcase(), "READY_FOR_PICKUP", "PAID", " " + known[0]]
        return self.random.choice(known) if self.random.random() < 0.92 else self.random.choice(odd)

    def instant(self):
        """Mostly where the wording turns: about midnights, year ends and clock changes."""
        local_now = self.now.astimezone(self.zone)
        midnight = local_now.replace(hour=0, minute=0, second=0, microsecond=0, tzinfo=None)
        kind = self.random.randrange(8)
        if kind <= 2:
            local = midnight + timedelta(days=self.random.randint(-3, 2), seconds=self.random.choice([0, -1, 1, 43200]))
        elif kind == 3:
            local = datetime(local_now.year, 1, 1) + timedelta(seconds=self.random.choice([0, -1, 1]))
        elif kind == 4:
            changes = [(2024, 3, 10, 2), (2024, 11, 3, 1), (2025, 4, 6, 2), (2025, 9, 28, 2), (2024, 2, 29, 12)]
            year, month, day, hour = self.random.choice(changes)
            local = datetime(year, month, day, hour) + timedelta(minutes=self.random.randint(-180, 180))
        elif kind == 5:
            local = datetime(self.random.choice([1951, 1970, 1999, 2038, 2100, 9998]), 6, 15, 12)
        else:
            local = midnight + timedelta(seconds=self.random.randint(-400 * 86400, 40 * 86400))
        return local.replace(tzinfo=timezone.utc)

    def date(self, unreadable_share=0.08):
        if self.random.random() < unreadable_share:
            return self.random.choice(UNREADABLE_DATES)
        offset = self.random.choice([0, 0, 0, 0, 60, -300, 330, 825])
        return wire_date(self.instant(), offset)

    def delivery(self):
        return {
            "__typename": "Delivery",
            "id": self.identifier(),
            "status": self.status(DELIVERY_STATUSES),
            "state": self.status(DELIVERY_STATES),
            "customName": self.maybe(self.text, 0.3),
            "deliveryName": self.maybe(self.text, 0.4),
            "sellerName": self.maybe(self.text, 0.4),
            "deliveredAt": self.maybe(self.date, 0.8),
            "deliveryFlags": [self.status(DELIVERY_FLAGS) for _ in range(self.random.randint(0, 3))],
            "exceptions": [
                {"__typename": "DeliveryException", "exceptionType": self.maybe(lambda: self.status(EXCEPTION_TYPES), 0.8)}
                for _ in range(self.random.choice([0, 0, 0, 1, 2, 3]))
            ],
            "currentEtaInfo": self.maybe(self.delivery_eta),
            "tracker": self.maybe(self.delivery_tracker, 0.7),
        }

    def delivery_eta(self):
        return {
            "__typename": "Eta",
            "formattedEtaDateAndTime": self.maybe(lambda: self.random.choice(ETA_TEXTS)),
            "estimatedTimeOfDelivery": self.maybe(self.date),
            "etaRange": self.maybe(lambda: {"__typename": "EtaRange", "etaStart": self.date(), "etaEnd": self.date()}),
        }

    def delivery_tracker(self):
        def carrier():
            return {"__typename": "Carrier", "id": self.identifier(), "name": self.text(), "imageUrl": self.url()}

        return {"__typename": "DeliveryTracker", "carrierInfo": self.maybe(carrier, 0.8)}

    def order(self):
        return {
            "__typename": "Order",
            "id": self.identifier(),
            "createdAt": self.date(),
            "displayStatus": self.status(ORDER_DISPLAY_STATUSES),
            "deliveryStatus": self.status(ORDER_DELIVERY_STATUSES),
            "shippingMethod": self.maybe(self.text),
            "markedAsDeliveredAt": self.maybe(self.date),
            "etaInfo": self.maybe(self.order_eta, 0.7),
            "lineItems": {
                "__typename": "OrderLineItemConnection",
                "nodes": [
                    {"__typename": "LineItem", "image": self.maybe(self.image, 0.7)}
                    for _ in range(self.random.randint(0, 3))
                ],
            },
            "shop": {
                "__typename": "Shop",
                "name": self.text(),
                "visualTheme": self.maybe(
                    lambda: {"__typename": "VisualTheme", "logoImage": self.maybe(self.image, 0.8)}, 0.8
                ),
            },
            "trackers": {"__typename": "TrackerConnection", "nodes": self.order_trackers()},
        }

    def order_eta(self):
        return {
            "__typename": "Eta",
            "formattedEta": self.maybe(lambda: self.random.choice(ETA_TEXTS), 0.75),
            "isFuture": self.random.random() < 0.6,
            "formattedEtaTime": self.maybe(lambda: self.random.choice(ETA_TIMES), 0.7),
        }

    def order_trackers(self):
        """Two unreadable dates are two readings of the clock, whose order nothing fixes: at most one."""
        may_be_unreadable = True
        trackers = []
        for _ in range(self.random.choice([0, 0, 1, 2, 3, 4])):
            events = []
            for _ in range(self.random.choice([0, 1, 1, 2])):
                share = 0.1 if may_be_unreadable else 0
                date = self.date(share)
                may_be_unreadable = may_be_unreadable and date not in UNREADABLE_DATES
                events.append(
                    {"__typename": "TrackingEvent", "carrierLocationMessage": self.maybe(self.text, 0.8), "happenedAt": date}
                )
            if trackers and self.random.random() < 0.2 and may_be_unreadable:
                events = [dict(event) for event in trackers[-1]["paginatedTrackingEvents"]["nodes"]]
                for event in events:
                    event["carrierLocationMessage"] = self.text()
            trackers.append(
                {
                    "__typename": "Tracker",
                    "paginatedTrackingEvents": {"__typename": "TrackingEventConnection", "nodes": events},
                }
            )
        return trackers

    def image(self):
        return {"__typename": "Image", "url": self.url()}

    def other(self):
        return {
            "__typename": self.random.choice(["Article", "delivery", "ORDER", "", "Subscription"]),
            "id": self.identifier(),
            "status": 7,
        }

    def data(self):
        makers = [self.delivery, self.order, self.other]
        nodes = [self.random.choices(makers, [10, 10, 1])[0]() for _ in range(self.random.choice([0, 1, 1, 2, 3, 5, 10]))]
        connection = {"__typename": "DeliveriesOrdersListConnection", "nodes": nodes}
        if not nodes and self.random.random() < 0.3:
            connection = None
        return self.shaken({"__typename": "Query", "deliveriesOrdersList": connection})

    def shaken(self, value):
        """Leaves nulls out at times, adds members that no one asked for, and shuffles the rest."""
        if isinstance(value, list):
            return [self.shaken(item) for item in value]
        if not isinstance(value, dict):
            return value
        members = [(k, self.shaken(v)) for k, v in value.items() if v is not None or self.random.random() < 0.5]
        if self.random.random() < 0.05:
            members.append(("name", self.random.choice([None, 1, "unasked", {"a": [1.5e300]}, 12345678901234567890123])))
        if "name" in value:
            members = [member for member in members if member[0] != "name"] + [("name", value["name"])]
        self.random.shuffle(members)
        return dict(members)

    def broken(self, data):
        """One place of a conforming data object made wrong. Whether that matters, the reading decides."""
        places = [path for path in places_of(data) if path[-1] != "happenedAt"]
        path = self.random.choice(places)
        wrong = self.random.choice([None, 7, True, "text", "", [], {}, "no url", "http://[broken", ["text"], 1.5])
        if self.random.random() < 0.4:
            return without(data, path)
        return replaced(data, path, wrong)


def places_of(value, path=()):
    if path:
        yield path
    members = value.items() if isinstance(value, dict) else enumerate(value) if isinstance(value, list) else ()
    for key, member in members:
        yield from places_of(member, path + (key,))


def replaced(value, path, new):
    if not path:
        return new
    copy = dict(value) if isinstance(value, dict) else list(value)
    copy[path[0]] = replaced(copy[path[0]], path[1:], new)
    return copy


def without(value, path):
    copy = dict(value) if isinstance(value, dict) else list(value)
    if len(path) == 1:
        del copy[path[0]]
    else:
        copy[path[0]] = without(copy[path[0]], path[1:])
    return copy
