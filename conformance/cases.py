# SPDX-License-Identifier: Apache-2.0

"""Cases told one by one: requests, refusals, the refresh, the migration, the event, and broken replies."""

import json

import wire
from program import complaints_about_timeline, parsed_with_sorted_keys
from server import Answer, Case, json_answer

EMPTY = {"data": {"__typename": "Query", "deliveriesOrdersList": None}}
ONE = {
    "data": {
        "__typename": "Query",
        "deliveriesOrdersList": {
            "__typename": "DeliveriesOrdersListConnection",
            "nodes": [
                {
                    "__typename": "Delivery", "id": "D-1", "status": "PREPARING", "state": "CURRENT", "customName": "A",
                    "deliveryFlags": [], "exceptions": [],
                }
            ],
        },
    }
}
ONE_PACKAGE = {
    "shopName": "A", "deepLinkingUrl": "velaapp://delivery/D-1?referral=ios_widget", "shopImage": None,
    "productImage": None, "progress": 0.2, "statusText": {"primary": "Waiting for details", "secondary": None},
}
SIGNED_OUT = [("notLoggedIn", None)]
NOTHING = [("noPackages", None)]
SHOWN = [("loggedIn", [ONE_PACKAGE])]


def refreshed(payload=None, *messages):
    if payload is not None:
        payload = {"__typename": "Auth", "accessToken": payload[0], "refreshToken": payload[1]}
    errors = [{"__typename": "UserError", "message": message} for message in messages]
    refresh = {"__typename": "AccessTokenRefreshPayload", "authPayload": payload, "userErrors": errors}
    return {"data": {"__typename": "Mutation", "accessTokenRefresh": refresh}}


def script(query, refresh=None):
    """Answers the query with the one and the mutation with the other."""

    def answer(received):
        return query if received.operation == "TrackingWidget" else refresh

    return answer


# What HTTP itself needs, and the decompression that the session offers.
OF_HTTP_ITSELF = {"host", "content-length", "connection", "accept-encoding"}


def own_headers(received):
    return [(name, value) for name, value in received.headers if name.lower() not in OF_HTTP_ITSELF]


def query_headers(credential=None):
    return [("Content-type", "application/json"), ("Accept", "application/json")] + ([credential] if credential else [])


def bearer(token):
    return "authorization", f"Bearer {token}"


def complaints_about_request(received, operation, headers, variables):
    complaints = []
    if sorted(own_headers(received)) != sorted(headers):
        complaints.append(f"headers {own_headers(received)}, expected {headers}")
    text = {"TrackingWidget": wire.QUERY, "RefreshAccessToken": wire.MUTATION}[operation]
    if received.json() != {"query": text, "variables": variables}:
        complaints.append(f"body {received.body[:300]}")
    return complaints


def expect_query(received, credential=None):
    return complaints_about_request(received, "TrackingWidget", query_headers(credential), {"maxImageSize": 192})


def expect_refresh(received, token):
    return complaints_about_request(received, "RefreshAccessToken", query_headers(), {"refreshToken": token})


class Bench:
    """Runs one named case for a person, and gathers what is wrong."""

    def __init__(self, server, report):
        self.server = server
        self.report = report

    def play(self, name, person, answer, outcomes, requests=None, lines=None, family="systemMedium"):
        """`requests` are functions from a received request to complaints, `lines` the keychain's lines in order."""
        case = self.server.cases[name] = Case(answer)
        run = person.timeline(self.server, name, family)
        complaints = complaints_about_timeline(run, outcomes)
        if requests is not None:
            if len(case.requests) != len(requests):
                complaints.append(f"{len(case.requests)} requests, expected {len(requests)}")
            for check, received in zip(requests, case.requests):
                complaints += check(received)
        if lines is not None and run.keychain_lines != lines:
            complaints.append(f"keychain lines {run.keychain_lines}, expected {lines}")
        self.report(name, complaints)
        return case, run


def missing(key):
    return f"Failed to fetch item {key} with reason itemNotFound"


def requests_and_refresh(bench, people):
    person = people("signed-in")
    person.sign_in("a1", "r1")
    first = lambda received: expect_query(received, bearer("a1"))
    bench.play("signed-in-empty", person, script(json_answer(EMPTY)), NOTHING, [first], [])
    bench.play("signed-in-one", person, script(json_answer(ONE)), SHOWN, [first], [])

    person = people("no-credential")
    nothing_stored = [missing("accessToken")] * 2 + [missing("session")]
    bench.play("no-credential-answered", person, script(json_answer(ONE)), SHOWN, [expect_query], nothing_stored)
    bench.play(
        "no-credential-refused", person, script(Answer(b"", 401)), SIGNED_OUT, [expect_query],
        nothing_stored + [missing("refreshToken")] * 2,
    )

    person = people("expired")
    person.sign_in("old-access", "old-refresh")
    expired = script(json_answer(ONE, 401), json_answer(refreshed(("new-access", "new-refresh"))))
    bench.play(
        "expired-is-refreshed", person, expired, SIGNED_OUT,
        [lambda r: expect_query(r, bearer("old-access")), lambda r: expect_refresh(r, "old-refresh")], [],
    )
    bench.play(
        "renewed-token-serves-the-next-reload", person, script(json_answer(ONE)), SHOWN,
        [lambda r: expect_query(r, bearer("new-access"))], [],
    )
    bench.play(
        "renewed-refresh-token-is-stored", person, script(Answer(b"", 401), json_answer(refreshed(None, "no"))), SIGNED_OUT,
        [lambda r: expect_query(r, bearer("new-access")), lambda r: expect_refresh(r, "new-refresh")], [],
    )


STORED_AFTER_REFRESH = {
    "invalid-refresh-token": (json_answer(refreshed(None, "invalid_refresh_token")), False),
    "user-error-wins-over-payload": (json_answer(refreshed(("a2", "r2"), "invalid_refresh_token")), False),
    "second-user-error-counts": (json_answer(refreshed(("a2", "r2"), "other", "invalid_refresh_token")), False),
    "another-user-error-stores": (json_answer(refreshed(("a2", "r2"), "invalid_refresh_token ")), True),
    "other-case-stores": (json_answer(refreshed(("a2", "r2"), "INVALID_REFRESH_TOKEN")), True),
    "no-payload": (json_answer(refreshed(None)), False),
    "mutation-status-401": (json_answer(refreshed(("a2", "r2")), 401), False),
    "mutation-status-500-is-read": (json_answer(refreshed(("a2", "r2")), 500), True),
    "mutation-unauthorized": (json_answer(refreshed(("a2", "r2")) | {"errors": [{"message": "Unauthorized: no"}]}), False),
    "mutation-other-error-is-ignored": (json_answer(refreshed(("a2", "r2")) | {"errors": [{"message": "Oh"}]}), True),
    "mutation-not-json": (Answer(b"<html>"), False),
    "mutation-without-refresh-token": (
        json_answer(wire.without(refreshed(("a2", "r2")), ("data", "accessTokenRefresh", "authPayload", "refreshToken"))),
        False,
    ),
    "mutation-without-user-errors": (
        json_answer(wire.without(refreshed(("a2", "r2")), ("data", "accessTokenRefresh", "userErrors"))), False,
    ),
    "mutation-closed": (None, False),
}


def refresh_outcomes(bench, people):
    for name, (answer, stores) in STORED_AFTER_REFRESH.items():
        person = people(name)
        person.sign_in("a1", "r1")
        bench.play(
            name, person, script(Answer(b"", 401), answer), SIGNED_OUT,
            [lambda r: expect_query(r, bearer("a1")), lambda r: expect_refresh(r, "r1")], [],
        )
        access, refresh = ("a2", "r2") if stores else ("a1", "r1")
        bench.play(
            name + "-next", person, script(Answer(b"", 401), json_answer(refreshed(None))), SIGNED_OUT,
            [lambda r: expect_query(r, bearer(access)), lambda r: expect_refresh(r, refresh)], [],
        )


def migration(bench, people):
    person = people("legacy")
    person.sign_in("a1", "r1", "--legacy")
    check = [lambda r: expect_query(r, bearer("a1"))]
    bench.play("legacy-is-migrated", person, script(json_answer(ONE)), SHOWN, check, [missing("accessToken")])
    bench.play("migrated-is-found", person, script(json_answer(ONE)), SHOWN, check, [])
    refused = script(Answer(b"", 401), json_answer(refreshed(None)))
    both = check + [lambda r: expect_refresh(r, "r1")]
    bench.play("legacy-refresh-token-is-migrated", person, refused, SIGNED_OUT, both, [missing("refreshToken")])
    bench.play("both-are-migrated", person, refused, SIGNED_OUT, both, [])


ONE_TEXT = json.dumps(ONE)
FAILING_REPLIES = {
    "empty-body": Answer(b""),
    "not-json": Answer(b"<html>no</html>"),
    "cut-short": Answer(ONE_TEXT.encode()[:-5]),
    "closed-mid-body": Answer(ONE_TEXT.encode()[:50], announced=len(ONE_TEXT)),
    "closed-without-answer": None,
    "invalid-utf-8": Answer(ONE_TEXT.replace('"A"', '"\udcff"').encode("utf-8", "surrogateescape")),
    "bytes-behind": Answer(ONE_TEXT.encode() + b"x"),
    "list": json_answer([ONE]),
    "text": json_answer("data"),
    "null": json_answer(None),
    "empty-object": json_answer({}),
    "no-data": json_answer({"errors": []}),
    "data-null": json_answer({"data": None}),
    "data-list": json_answer({"data": [ONE["data"]]}),
    "data-text": json_answer({"data": "x"}),
    "data-without-typename": json_answer({"data": {"deliveriesOrdersList": None}}),
    "nodes-missing": json_answer({"data": {"__typename": "Query", "deliveriesOrdersList": {"__typename": "x"}}}),
    "status-401": json_answer(ONE, 401),
    "unauthorized-with-data": json_answer(ONE | {"errors": [{"message": "Unauthorized: expired"}]}),
    "unauthorized-alone": json_answer(ONE | {"errors": [{"message": "Unauthorized"}]}),
    "unauthorizedly": json_answer(ONE | {"errors": [{"message": "Unauthorizedly said"}]}),
    "unauthorized-second": json_answer(ONE | {"errors": [{"message": "x"}, {}, {"message": "Unauthorized"}]}),
    "nested-100000-deep": Answer(b'{"data":' + b"[" * 100_000 + b"]" * 100_000 + b"}"),
    "17-mib": Answer(ONE_TEXT.encode() + b" " * (17 << 20)),
}
SUCCEEDING_REPLIES = {
    "status-500-is-read": json_answer(ONE, 500),
    "status-403-is-read": json_answer(ONE, 403),
    "status-404-is-read": json_answer(ONE, 404),
    "status-201-is-read": json_answer(ONE, 201),
    "other-error": json_answer(ONE | {"errors": [{"message": "Not Unauthorized"}]}),
    "lower-case-error": json_answer(ONE | {"errors": [{"message": "unauthorized"}]}),
    "blank-before": json_answer(ONE | {"errors": [{"message": " Unauthorized"}]}),
    "message-not-text": json_answer(ONE | {"errors": [{"message": 7}, {"message": ["Unauthorized"]}]}),
    "errors-no-list": json_answer(ONE | {"errors": {"message": "Unauthorized"}}),
    "errors-not-all-objects": json_answer(ONE | {"errors": [{"message": "Unauthorized"}, "x"]}),
    "errors-null": json_answer(ONE | {"errors": None}),
    "blanks-around": Answer(b" \n" + ONE_TEXT.encode() + b"\r\n\t "),
    "huge-number-unread": Answer(ONE_TEXT.replace('"id"', '"weight": 123456789012345678901234567890, "id"').encode()),
    "escapes": Answer(ONE_TEXT.replace('"A"', '"\\u0041"').encode()),
}


def classification(bench, people):
    person = people("classified")
    person.sign_in("a1", "r1")
    for name, reply in FAILING_REPLIES.items():
        bench.play(
            "fails-" + name, person, script(reply, json_answer(refreshed(None, "invalid_refresh_token"))), SIGNED_OUT,
            [lambda r: expect_query(r, bearer("a1")), lambda r: expect_refresh(r, "r1")], [],
        )
    for name, reply in SUCCEEDING_REPLIES.items():
        bench.play("reads-" + name, person, script(reply), SHOWN, [lambda r: expect_query(r, bearer("a1"))], [])


# Which number a stored user id gives, if any.
USER_IDS = {
    "12345": 12345, "+7": 7, "-7": -7, "": None, "abc": None, " 1": None, "1 ": None, "+": None, "-": None, "--1": None,
    "007": 7, "9223372036854775807": 9223372036854775807, "9223372036854775808": None,
    "-9223372036854775808": -9223372036854775808, "1.0": None, "١٢": None, "0x10": None,
}
FAMILIES = [
    "systemSmall", "systemMedium", "systemLarge", "systemExtraLarge", "accessoryCircular", "accessoryRectangular",
    "accessoryInline",
]
EVENT_HEADERS = [
    "Content-Type", "X-Relaybox-Edge-Event-Created-At-Ms", "X-Relaybox-Edge-Event-Sent-At-Ms",
    "X-Relaybox-Edge-Content-Language",
]


def complaints_about_event(case, run, family, state, user_id):
    if len(case.events) != 1:
        return [f"{len(case.events)} events"]
    event = case.events[0]
    complaints = []
    headers = own_headers(event)
    if [name for name, _ in headers if name.lower() != "accept"] != EVENT_HEADERS:
        complaints.append(f"event headers {headers}")
        return complaints
    values = dict(headers)
    created, sent = int(values[EVENT_HEADERS[1]]), int(values[EVENT_HEADERS[2]])
    if values["Content-Type"] != "application/json" or values[EVENT_HEADERS[3]] != "en" or not created <= sent:
        complaints.append(f"values of the event's headers {headers}")
    body = parsed_with_sorted_keys(event.body.decode())
    if set(body) != {"created_at", "payload", "schema_id"} or body["schema_id"] != "vela_app_widget_interaction/1.0":
        complaints.append(f"event {body}")
    if abs((body["created_at"] + 978307200) * 1000 - created) > 1.01:
        complaints.append(f"created_at {body['created_at']} is not {created}")
    if not run.started.timestamp() * 1000 - 1 <= created <= run.ended.timestamp() * 1000 + 1:
        complaints.append(f"created at {created}, outside of the run")
    payload = dict(body["payload"])
    facts = {"device_model": payload.pop("device_model", None), "platform_version": payload.pop("platform_version", None)}
    if not all(isinstance(fact, str) and fact for fact in facts.values()):
        complaints.append(f"device facts {facts}")
    wanted = {
        "device_identifier": "Unknown", "platform": "ios", "widget_id": f"{family}.TrackingWidget", "widget_size": family,
        "widget_state": state, "widget_type": "TrackingWidget",
    } | ({} if user_id is None else {"user_id": user_id})
    if payload != wanted:
        complaints.append(f"payload {payload}, expected {wanted}")
    return complaints


def events(bench, people):
    person = people("events")
    person.sign_in("a1", "r1")
    for family in FAMILIES:
        name = "event-" + family
        case, run = bench.play(name, person, script(json_answer(ONE)), SHOWN, family=family)
        bench.report(name, complaints_about_event(case, run, family, "loggedIn", None))
    refusal = script(Answer(b"", 401), json_answer(refreshed(None)))
    for name, answer, outcome in [
        ("event-no-packages", script(json_answer(EMPTY)), NOTHING), ("event-signed-out", refusal, SIGNED_OUT),
    ]:
        case, run = bench.play(name, person, answer, outcome)
        bench.report(name, complaints_about_event(case, run, "systemMedium", outcome[0][0], None))
    for index, (text, number) in enumerate(USER_IDS.items()):
        name = f"event-user-id-{index}"
        person.companion("defaults", "write", "userId", "--", text)
        case, run = bench.play(name, person, script(json_answer(ONE)), SHOWN)
        bench.report(f"{name} ({text!r})", complaints_about_event(case, run, "systemMedium", "loggedIn", number))


def commands(bench, people):
    person = people("commands")
    run = person.run("vela-widget", "placeholder")
    complaints = []
    try:
        entry = parsed_with_sorted_keys(run.output)
        sample = {
            "shopName": "Shop Name", "deepLinkingUrl": "velaapp://home_orders", "shopImage": None, "productImage": None,
            "statusText": {"primary": "primary", "secondary": "secondary"},
        }
        packages = [sample | {"progress": progress} for progress in (0.4, 0.8, 0.4)]
        if entry.get("packages") != packages or entry.get("state") != "loggedIn":
            complaints.append(f"placeholder {entry}")
    except ValueError as error:
        complaints.append(f"{error}: {run.output[:300]}")
    bench.report("placeholder", complaints)
    for arguments, status in [(["timeline", "--family", "systemHuge"], 2), (["nonsense"], 2), (["--help"], 0)]:
        run = person.run("vela-widget", *arguments)
        wrong = [] if run.status == status else [f"exit status {run.status}, expected {status}"]
        bench.report("vela-widget " + " ".join(arguments), wrong)


ALL = [commands, requests_and_refresh, refresh_outcomes, migration, classification, events]
