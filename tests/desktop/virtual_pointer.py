# SPDX-License-Identifier: Apache-2.0

"""A pointer for a compositor that has no devices: the few messages of wlr-virtual-pointer that a test needs."""

import socket
import struct
from pathlib import Path

LEFT_BUTTON = 0x110
DISPLAY, REGISTRY, CALLBACK, MANAGER, POINTER = 1, 2, 3, 4, 5
MANAGER_NAME = b"zwlr_virtual_pointer_manager_v1"


def text(value):
    data = value + b"\0"
    return struct.pack("=I", len(data)) + data + b"\0" * (-len(data) % 4)


class VirtualPointer:
    def __init__(self, environment, size):
        self.size = size
        self.connection = socket.socket(socket.AF_UNIX)
        self.connection.connect(str(Path(environment["XDG_RUNTIME_DIR"]) / environment["WAYLAND_DISPLAY"]))
        self.send(DISPLAY, 1, struct.pack("=I", REGISTRY))
        self.send(DISPLAY, 0, struct.pack("=I", CALLBACK))
        name = self.find_manager()
        self.send(REGISTRY, 0, struct.pack("=I", name) + text(MANAGER_NAME) + struct.pack("=II", 1, MANAGER))
        self.send(MANAGER, 0, struct.pack("=II", 0, POINTER))

    def close(self):
        self.connection.close()

    def send(self, target, opcode, arguments=b""):
        self.connection.sendall(struct.pack("=II", target, (8 + len(arguments)) << 16 | opcode) + arguments)

    def receive(self, length):
        data = b""
        while len(data) < length:
            part = self.connection.recv(length - len(data))
            if not part:
                raise AssertionError("the compositor has hung up")
            data += part
        return data

    def find_manager(self):
        found = None
        while True:
            sender, word = struct.unpack("=II", self.receive(8))
            body = self.receive((word >> 16) - 8)
            if sender == REGISTRY and word & 0xFFFF == 0:
                name, length = struct.unpack_from("=II", body)
                if body[8:8 + length - 1] == MANAGER_NAME:
                    found = name
            if sender == CALLBACK:
                assert found is not None, "the compositor takes no virtual pointers"
                return found

    def move(self, x, y):
        self.send(POINTER, 1, struct.pack("=IIIII", 0, int(x), int(y), *self.size))
        self.send(POINTER, 4)

    def press(self):
        self._button(1)

    def release(self):
        self._button(0)

    def _button(self, state):
        self.send(POINTER, 2, struct.pack("=III", 0, LEFT_BUTTON, state))
        self.send(POINTER, 4)
