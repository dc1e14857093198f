# SPDX-License-Identifier: Apache-2.0

"""An account server on loopback that gives each person a pair of tokens, takes only the latest, and knows them all: a
test can tell whether what a store holds is whole, and whether it still opens the account."""

import json
import threading
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer

MARK = "secret-"
REPLY = {
    "data": {
        "__typename": "Query",
        "deliveriesOrdersList": {
            "__typename": "DeliveriesOrdersListConnection",
            "nodes": [
                {
                    "__typename": "Delivery", "id": f"d-{number}", "status": "IN_TRANSIT", "state": "CURRENT",
                    "customName": f"Parcel {number}", "deliveryFlags": [], "exceptions": [],
                }
                for number in range(10)
            ],
        },
    }
}


def pair(index):
    return {"accessToken": f"{MARK}access-{index}", "refreshToken": f"{MARK}refresh-{index}"}


class Account:
    """One person's. `latest` is the index of the pair that was given out last."""

    def __init__(self):
        self.latest = 0
        self.is_expired = False
        self.lock = threading.Lock()

    def reply(self, authorization, request):
        with self.lock:
            if "RefreshAccessToken" in request["query"]:
                return 200, self.renewed(request["variables"]["refreshToken"])
            if self.is_expired or authorization != f"Bearer {pair(self.latest)['accessToken']}":
                return 401, {"errors": [{"message": "Unauthorized"}]}
            return 200, REPLY

    def renewed(self, refresh_token):
        given, errors = None, []
        if refresh_token == pair(self.latest)["refreshToken"]:
            self.latest += 1
            self.is_expired = False
            given = {"__typename": "AccessTokenAuthPayload", **pair(self.latest)}
        else:
            errors = [{"__typename": "UserError", "message": "invalid_refresh_token", "path": None}]
        refresh = {"__typename": "AccessTokenRefreshPayload", "authPayload": given, "userErrors": errors}
        return {"data": {"__typename": "Mutation", "accessTokenRefresh": refresh}}


class QuietServer(ThreadingHTTPServer):
    daemon_threads = True
    request_queue_size = 128

    def handle_error(self, request, client_address):
        """Clients of ours are made to fail; that is the point."""


class Accounts:
    """Each person's server is URL/NAME."""

    def __init__(self):
        people = self.people = {}

        class Handler(BaseHTTPRequestHandler):
            protocol_version = "HTTP/1.1"

            def do_POST(self):
                body = self.rfile.read(int(self.headers.get("Content-Length", 0)))
                name, rest = self.path.split("/", 2)[1:]
                status, value = 200, {}
                if rest == "graphql":
                    status, value = people[name].reply(self.headers.get("authorization"), json.loads(body))
                self.send_response(status)
                text = json.dumps(value).encode()
                self.send_header("Content-Type", "application/json")
                self.send_header("Content-Length", str(len(text)))
                self.end_headers()
                self.wfile.write(text)

            def log_message(self, *_):
                pass

        self.http = QuietServer(("127.0.0.1", 0), Handler)
        self.url = f"http://127.0.0.1:{self.http.server_port}"
        threading.Thread(target=self.http.serve_forever, daemon=True).start()

    def open(self, name):
        self.people[name] = Account()
        return self.people[name]

    def close(self, name):
        self.people.pop(name, None)

    def stop(self):
        self.http.shutdown()
        self.http.server_close()
