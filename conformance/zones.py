# SPDX-License-Identifier: Apache-2.0

"""The machine's own answer about a zone: any value of TZ, read by the C library."""

import os
import threading
import time
from datetime import datetime, timedelta, timezone, tzinfo

# Steady ones, then some whose rules changed lately, then rules.
VALUES = [
    "UTC", "America/New_York", "Asia/Kolkata", "Pacific/Auckland",
    "America/Mexico_City", "America/Ciudad_Juarez", "Africa/Cairo", "Asia/Almaty", "America/Nuuk", "America/Asuncion",
    ":America/Coyhaique", "/usr/share/zoneinfo/Pacific/Fiji",
    "CST6", "GMT-2", "<-03>3", "CET-1CEST", "EST5EDT,M3.2.0,M11.1.0", "<+1245>-12:45<+1345>,M9.5.0/2:45,M4.1.0/3:45",
]


def where_it_is(hour, now):
    """A rule for a zone in which it is half past `hour` by now. A wrong offset shows at midnight, whatever the time here."""
    west = now.hour * 60 + now.minute - (hour * 60 + 30)
    west -= 1440 * round(west / 1440)
    return f"<here>{'-' if west < 0 else ''}{abs(west) // 60}:{abs(west) % 60:02}"


def values(now):
    return VALUES + [where_it_is(0, now), where_it_is(23, now)]


EPOCH = datetime(1970, 1, 1, tzinfo=timezone.utc)


class MachineZone(tzinfo):
    """Instants only: `astimezone` gives the wall time with the offset then in force."""

    # The C library has one zone at a time.
    lock = threading.Lock()

    def __init__(self, value):
        self.value = value

    def fromutc(self, instant):
        seconds = (instant.replace(tzinfo=timezone.utc) - EPOCH) // timedelta(seconds=1)
        with self.lock:
            os.environ["TZ"] = self.value
            time.tzset()
            offset = time.localtime(seconds).tm_gmtoff
        return instant.replace(tzinfo=timezone.utc).astimezone(timezone(timedelta(seconds=offset)))
