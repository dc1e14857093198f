# SPDX-License-Identifier: Apache-2.0

"""An account server and event collector of our own on loopback. Each case has a path of its own: /CASE/graphql and
/CASE/v1/produce. What a case wants answered it says itself; what came in is kept in order."""

import json
import sys
import threading
from dataclasses import dataclass, field
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer


@dataclass
class Answer:
    body: bytes
    status: int = 200
    # A body cut short, with the connection closed under it.
    announced: int = None


def json_answer(value, status=200):
    return Answer(json.dumps(value).encode(), status)


@dataclass
class Received:
    path: str
    headers: list
    body: bytes

    def json(self):
        return json.loads(self.body)

    @property
    def operation(self):
        try:
            return self.json()["query"].split("(")[0].split()[-1]
        except (ValueError, KeyError, TypeError, IndexError, AttributeError):
            return None


@dataclass
class Case:
    # Called with the received request; gives an Answer, or None to close without one.
    answer: callable
    requests: list = field(default_factory=list)
    events: list = field(default_factory=list)


class QuietServer(ThreadingHTTPServer):
    daemon_threads = True
    request_queue_size = 128

    def handle_error(self, request, client_address):
        """A client that has read enough closes; that is its right."""
        if not isinstance(sys.exc_info()[1], ConnectionError):
            super().handle_error(request, client_address)


class Server:
    def __init__(self):
        cases = self.cases = {}

        class Handler(BaseHTTPRequestHandler):
            protocol_version = "HTTP/1.1"

            def do_POST(self):
                length = int(self.headers.get("Content-Length", 0))
                received = Received(self.path, self.headers.items(), self.rfile.read(length))
                _, name, rest = self.path.split("/", 2)
                case = cases[name]
                if rest == "v1/produce":
                    case.events.append(received)
                    self.reply(Answer(b"{}"))
                    return
                case.requests.append(received)
                answer = case.answer(received)
                if answer is None:
                    self.close_connection = True
                else:
                    self.reply(answer)

            def reply(self, answer):
                self.send_response(answer.status)
                self.send_header("Content-Type", "application/json")
                self.send_header("Content-Length", str(answer.announced or len(answer.body)))
                self.end_headers()
                self.wfile.write(answer.body)
                self.close_connection = self.close_connection or answer.announced is not None

            def log_message(self, *_):
                pass

        self.http = QuietServer(("127.0.0.1", 0), Handler)
        self.url = f"http://127.0.0.1:{self.http.server_port}"
        self.thread = threading.Thread(target=self.http.serve_forever, daemon=True)
        self.thread.start()

    def stop(self):
        self.http.shutdown()
        self.http.server_close()
