"""Many requests to one agent at once, each read by a reader with a habit, all in one thread.

A pause is a turn that a reader leaves out while others have theirs, never a time. Readers that are
made while an agent is held (`with held(agent)`) are all in progress before the first of them can
have ended, if each needs more slices than there are turns in which the agent takes them in.
"""

import collections
import contextlib
import random
import select
import threading

from korvo import *

kPiece = 1 << 18


def fast(chance):
    while True:
        yield kPiece


def slow(chance):
    for _ in range(40):
        yield chance.randint(1, 64)
        yield 0
    while True:
        yield chance.randint(1, 16384)
        yield 0


def byteByByte(chance):
    for _ in range(1500):
        yield 1
    yield from fast(chance)


def aWhile(chance):
    """Reads some of the answer and no more."""
    yield 1
    for _ in range(chance.randrange(4)):
        yield chance.randint(1, kPiece)


class Reader:
    """A request, whoever reads its answer, and what came of it.

    `then` says what the reader does when its habit ends: "stops" leaves everything open and reads on
    when the agent has given up; "closes answer", "closes control" and "closes both" leave.
    """

    def __init__(self, agent, line, habit=fast, then="stops", withDescriptor=False, halfCloses=False,
                 chance=random):
        self.line = line
        self.habit = habit
        self.then = then
        self.steps = habit(chance)
        self.pieces = []
        self.said = b""
        self.stopped = False  # reads nothing any more, unless the agent gives up
        self.left = False
        self.control = None
        if withDescriptor:
            self.control, self.answer = agent.send(line + "\n")
        else:
            self.answer = agent.connect()
            self.answer.sendall(line.encode() + b"\n")
        if halfCloses:
            for connection in self.open():
                connection.shutdown(socket.SHUT_WR)

    def open(self):
        return [each for each in (self.answer, self.control) if each is not None]

    @property
    def received(self):
        return b"".join(self.pieces)

    @property
    def events(self):
        return [json.loads(line) for line in self.said.splitlines()]

    @property
    def done(self):
        """The last event, if it is the one that ends a request."""
        last = self.events[-1:]
        return last[0] if last and last[0]["event"] == "done" else None

    def answerReady(self, load):
        amount = next(self.steps, None)
        if amount is None:
            self.habitEnds(load)
        elif amount > 0:
            piece = receive(self.answer, amount)
            self.pieces.append(piece)
            if not piece:
                self.close(load, "answer")

    def controlReady(self, load):
        piece = receive(self.control, kPiece)
        self.said += piece
        if not piece:
            self.close(load, "control")

    def habitEnds(self, load):
        if self.then == "stops":
            self.stopped = True
            self.steps = fast(None)  # for what is left when the agent has given up
            load.awaitHangup(self.answer)
            return
        self.left = True
        self.steps = fast(None)
        for name in ("answer", "control"):
            if self.then in (f"closes {name}", "closes both"):
                self.close(load, name)

    def close(self, load, name):
        connection = getattr(self, name)
        if connection is not None:
            load.forget(connection)
            setattr(self, name, None)
            connection.close()


def receive(connection, amount):
    try:
        return connection.recv(amount)
    except ConnectionResetError:
        return b""


class Load:
    """Readers that take turns: `with Load(readers) as load: for reader in load.ended(): ...`."""

    def __init__(self, readers):
        self.readers = readers

    def __enter__(self):
        self.poller = select.epoll()
        self.ready = {}
        for reader in self.readers:
            self.watch(reader.answer, reader, reader.answerReady)
            if reader.control is not None:
                self.watch(reader.control, reader, reader.controlReady)
        return self

    def __exit__(self, *failure):
        self.poller.close()
        for reader in self.readers:
            for connection in reader.open():
                connection.close()

    def watch(self, connection, reader, ready):
        self.poller.register(connection, select.EPOLLIN)
        self.ready[connection.fileno()] = (reader, ready)

    def awaitHangup(self, connection):
        self.poller.modify(connection, 0)

    def forget(self, connection):
        self.poller.unregister(connection)
        del self.ready[connection.fileno()]

    def turn(self):
        """Lets everybody read for whom something has come; gives back those who have ended."""
        ended = []
        happened = self.poller.poll(kPatience)
        if not happened:
            waiting = {reader.line for reader, _ in self.ready.values()}
            raise AssertionError(f"nothing comes any more for {waiting}")
        for number, _ in happened:
            if number in self.ready:
                reader, ready = self.ready[number]
                ready(self)
                if not reader.open():
                    ended.append(reader)
        return ended

    def ended(self):
        """Every reader, when both its connections are closed. One a turn, for the others are to
        have theirs while the caller looks at it."""
        ended = collections.deque()
        while self.ready:
            ended.extend(self.turn())
            if ended:
                yield ended.popleft()
        yield from ended

    def untilAllHaveStopped(self):
        while not all(reader.stopped for reader in self.readers):
            if self.turn():
                raise AssertionError("an answer has come to its end")


@contextlib.contextmanager
def held(agent):
    """While nothing of the agent runs: what is sent to it lies in the kernel."""
    agent.process.send_signal(signal.SIGSTOP)
    os.waitpid(agent.process.pid, os.WUNTRACED)
    try:
        yield
    finally:
        agent.process.send_signal(signal.SIGCONT)


class Pinger(threading.Thread):
    """Asks short commands over and over, and compares each answer with that before the load."""

    kLines = ["plain text NOPE\n", "sync json VXLAN_VLAN_SUMMARY\n", "plain text VlanVfiMap\n",
              "plain text MCAST_ALL\n", "agent json chips\n"]

    def __init__(self, agent):
        super().__init__()
        self.agent = agent
        self.expected = {line: agent.ask(line) for line in self.kLines}
        self.enough = threading.Event()
        self.numRight = 0
        self.problem = None

    def __enter__(self):
        self.start()
        return self

    def __exit__(self, *failure):
        self.enough.set()
        self.join()
        if failure[0] is None and self.problem is not None:
            raise AssertionError(f"a short command went wrong: {self.problem}")

    def run(self):
        try:
            while not self.enough.is_set():
                for line, expected in self.expected.items():
                    answer = self.agent.ask(line)
                    if answer != expected:
                        raise AssertionError(f"{line!r} was answered with {answer!r}")
                    self.numRight += 1
        except Exception as e:
            self.problem = repr(e)


def numThreads(agent):
    """The agent's threads; the allocator's, which only gives memory back, is not one of them."""
    tasks = pathlib.Path(f"/proc/{agent.process.pid}/task")
    return sum((task / "comm").read_text() != "jemalloc_bg_thd\n" for task in tasks.iterdir())


def openDescriptors(agent):
    folder = pathlib.Path(f"/proc/{agent.process.pid}/fd")
    return sorted(int(entry.name) for entry in folder.iterdir())


def liveObjects(agent):
    """What is there of each tracked class, the request that asks included."""
    live = agent.askJson("agent json status\n")["liveInstances"]
    return {name: number for name, number in live.items() if number != 0}
