"""usage: activation_token.py SOCKET

Asks the Wayland compositor at SOCKET for an activation token, as a program does that starts another one for its user, and
prints it. Speaks the wire protocol itself: an object, then size and operation in one number, then the arguments.
"""
import socket
import struct
import sys

DISPLAY, REGISTRY, GLOBALS_KNOWN, ACTIVATION, TOKEN = 1, 2, 3, 4, 5
GET_REGISTRY, SYNC, BIND = 1, 0, 0
GET_TOKEN, COMMIT = 1, 3
GLOBAL, DONE = 0, 0


def number(value):
    return struct.pack("=I", value)


def text(value):
    raw = value.encode() + b"\0"
    return number(len(raw)) + raw + b"\0" * (-len(raw) % 4)


def read_text(body, at=0):
    length, = struct.unpack_from("=I", body, at)
    return body[at + 4:at + 4 + length - 1].decode(), at + 4 + length + -length % 4


class Compositor:
    def __init__(self, path):
        self._socket = socket.socket(socket.AF_UNIX)
        self._socket.settimeout(60)
        self._socket.connect(path)
        self._bytes = b""

    def request(self, target, operation, *arguments):
        body = b"".join(arguments)
        self._socket.sendall(struct.pack("=II", target, (8 + len(body)) << 16 | operation) + body)

    def _take(self, size):
        while len(self._bytes) < size:
            received = self._socket.recv(4096)
            if not received:
                sys.exit("the compositor has closed the connection")
            self._bytes += received
        taken, self._bytes = self._bytes[:size], self._bytes[size:]
        return taken

    def event(self):
        """(object, operation, arguments)"""
        sender, head = struct.unpack("=II", self._take(8))
        return sender, head & 0xffff, self._take((head >> 16) - 8)


def bind_activation(compositor):
    compositor.request(DISPLAY, GET_REGISTRY, number(REGISTRY))
    compositor.request(DISPLAY, SYNC, number(GLOBALS_KNOWN))
    while True:
        sender, operation, body = compositor.event()
        if sender == GLOBALS_KNOWN:
            sys.exit("the compositor has no xdg_activation_v1")
        if sender != REGISTRY or operation != GLOBAL:
            continue
        interface, _ = read_text(body, 4)
        if interface == "xdg_activation_v1":
            return compositor.request(REGISTRY, BIND, body[:4], text(interface), number(1), number(ACTIVATION))


def main():
    compositor = Compositor(sys.argv[1])
    bind_activation(compositor)
    compositor.request(ACTIVATION, GET_TOKEN, number(TOKEN))
    compositor.request(TOKEN, COMMIT)
    while True:
        sender, operation, body = compositor.event()
        if sender == DISPLAY and operation == 0:
            sys.exit(f"the compositor complains: {body!r}")
        if sender == TOKEN and operation == DONE:
            print(read_text(body)[0])
            # Its tokens live as long as it does, in some compositors.
            sys.stdout.flush()
            return sys.stdin.read()


if __name__ == "__main__":
    main()
