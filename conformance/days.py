# SPDX-License-Identifier: Apache-2.0

"""Parcels delivered about each of the last midnights, in every zone."""

import re
from datetime import datetime, timedelta, timezone

import cases
import reading
import wire
import zones
from server import json_answer


def about_midnights(now):
    """Wall times; the wire gives them as if they were Greenwich's."""
    midnight = now.replace(hour=0, minute=0, second=0, microsecond=0, tzinfo=timezone.utc)
    return [midnight + timedelta(days=days, seconds=seconds) for days in range(-2, 2) for seconds in (-1, 0)]


def reply_about_midnights(now):
    def delivery(number, time):
        return {
            "__typename": "Delivery", "id": f"D-{number}", "status": "DELIVERED", "state": "PAST",
            "deliveredAt": wire.wire_date(time), "deliveryFlags": [], "exceptions": [],
        }

    nodes = [delivery(number, time) for number, time in enumerate(about_midnights(now))]
    return {"data": {"__typename": "Query", "deliveriesOrdersList": {"__typename": "Connection", "nodes": nodes}}}


def play(bench, people):
    now = datetime.now(timezone.utc)
    for number, value in enumerate(zones.values(now)):
        zone = zones.MachineZone(value)
        reply = reply_about_midnights(now.astimezone(zone))
        # A midnight may fall into the run.
        moments = now, now + timedelta(minutes=5)
        expected = [reading.outcome_of(200, reply, reading.Clock(zone, moment)) for moment in moments]
        # A name that a path may have.
        name = f"days-{number}-" + re.sub("[^A-Za-z0-9]+", "-", value)
        person = people(name, value)
        person.sign_in("a1", "r1")
        bench.play(name, person, cases.script(json_answer(reply)), expected)
