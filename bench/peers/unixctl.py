"""Commands to a daemon over its control socket: JSON-RPC, as many under way as the daemon takes.

The daemon handles ten requests of a connection, then goes round its main loop; with many connections it
makes as many fewer rounds.
"""

import json
import selectors
import socket

kConnections = 32
# Requests that wait in a connection: enough that the daemon always finds ten.
kAhead = 40


class Replies:
    """Takes replies apart that come in pieces; counts them, and raises RuntimeError at one that is an
    error."""

    def __init__(self):
        self.decoder = json.JSONDecoder()
        self.text = ""
        self.count = 0

    def feed(self, piece):
        self.text += piece.decode()
        at = 0
        while at < len(self.text):
            try:
                reply, at = self.decoder.raw_decode(self.text, at)
            except json.JSONDecodeError:
                break
            if reply["error"] is not None:
                raise RuntimeError(str(reply["error"]).strip())
            self.count += 1
        self.text = self.text[at:].lstrip()


class Connection:
    def __init__(self, path):
        self.socket = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        self.socket.connect(path)
        self.socket.setblocking(False)
        self.replies = Replies()
        self.sent = 0
        self.unsent = b""

    def fill(self, commands):
        """Takes further commands up to kAhead; says whether it is still waiting for a reply."""
        while self.sent - self.replies.count < kAhead:
            command = next(commands, None)
            if command is None:
                break
            method, *words = command
            request = {"id": self.sent, "method": method, "params": words}
            self.unsent += json.dumps(request).encode()
            self.sent += 1
        return self.sent > self.replies.count

    def send(self):
        try:
            self.unsent = self.unsent[self.socket.send(self.unsent):]
        except BlockingIOError:
            pass

    def receive(self):
        piece = self.socket.recv(1 << 16)
        if not piece:
            raise RuntimeError("the daemon hung up")
        self.replies.feed(piece)


def sendAll(path, commands, patience):
    """Carries out commands, each a tuple of words, in no particular order. Raises RuntimeError when one
    is refused, and TimeoutError when nothing is answered for `patience` seconds."""
    commands = iter(commands)
    connections = [Connection(path) for _ in range(kConnections)]
    try:
        with selectors.DefaultSelector() as selector:
            def wait(connection, change):
                if connection.fill(commands):
                    wanted = selectors.EVENT_READ | (selectors.EVENT_WRITE if connection.unsent else 0)
                    change(connection.socket, wanted, connection)
                    return
                if change == selector.modify:
                    selector.unregister(connection.socket)

            for connection in connections:
                wait(connection, selector.register)
            while selector.get_map():
                ready = selector.select(patience)
                if not ready:
                    raise TimeoutError(f"no answer within {patience} s")
                for key, events in ready:
                    if events & selectors.EVENT_READ:
                        key.data.receive()
                    if events & selectors.EVENT_WRITE:
                        key.data.send()
                    wait(key.data, selector.modify)
    finally:
        for connection in connections:
            connection.socket.close()
