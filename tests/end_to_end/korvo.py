"""What the end-to-end tests share: a real agent, real sockets, the real client.

An agent runs on a socket in a folder of its own and is ended, and waited for, by the test. Waits are
for events (a line, the end of a file, a process's end), never for a time; kPatience only bounds a
test that has gone wrong.
"""

import array
import json
import os
import pathlib
import re
import shutil
import signal
import socket
import subprocess
import tempfile
import time
import unittest

kPatience = 60
kSource = pathlib.Path(__file__).resolve().parents[2]
kBuild = pathlib.Path(os.environ["KORVO_BUILD_DIR"])
kAgent = kBuild / "bin" / "korvo-l2-agent"
kClient = kBuild / "bin" / "korvoctl"
kSanitized = os.environ.get("KORVO_SANITIZED", "") != ""


class Agent:
    """A running korvo-l2-agent; `with Agent("--demo") as agent: ...`.

    `under` is a command that runs it, such as a memory checker with its options. The other named
    arguments are Popen's: `env`, `cwd`, `umask` and the like."""

    def __init__(self, *options, socketPath=None, under=(), **process):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="korvo-test-"))
        self.socket = str(socketPath or self.folder / "agent.sock")
        self.options = [str(option) for option in options]
        self.under = under
        self.endStatus = 0
        self.surroundings = process

    def __enter__(self):
        self.log = open(self.folder / "log", "wb+")
        self.process = subprocess.Popen(
            [*self.under, kAgent, "--socket", self.socket, *self.options],
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=self.log, text=True,
            **self.surroundings)
        ready = self.process.stdout.readline()
        if ready != f"ready {self.socket}\n":
            self.process.wait(kPatience)
            raise AssertionError(f"the agent said {ready!r} and:\n{self.messages()}")
        return self

    def __exit__(self, *failure):
        if self.process.poll() is None:
            self.process.terminate()
        status = self.process.wait(kPatience)
        self.process.stdout.close()
        messages = self.messages()
        self.log.close()
        shutil.rmtree(self.folder, ignore_errors=True)
        if failure[0] is None and status != self.endStatus:
            raise AssertionError(f"the agent ended with status {status}:\n{messages}")

    def kill(self):
        """Ends the agent as a crash would."""
        self.endStatus = -signal.SIGKILL
        self.process.kill()
        self.process.wait(kPatience)

    def messages(self):
        self.log.seek(0)
        return self.log.read().decode(errors="replace")

    def connect(self):
        connection = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        connection.settimeout(kPatience)
        connection.connect(self.socket)
        return connection

    def resident(self):
        """Bytes of memory that the process holds now."""
        statm = pathlib.Path(f"/proc/{self.process.pid}/statm").read_text()
        return int(statm.split()[1]) * os.sysconf("SC_PAGE_SIZE")

    def ask(self, line):
        """The whole answer to a request line that carries no descriptor."""
        with self.connect() as connection:
            connection.sendall(line if isinstance(line, bytes) else line.encode())
            return readAll(connection)

    def askJson(self, line):
        return json.loads(self.ask(line))

    def send(self, line):
        """Sends a request with a descriptor; gives back the control and the answer connection."""
        control = self.connect()
        answer, theirs = socket.socketpair(socket.AF_UNIX, socket.SOCK_STREAM)
        answer.settimeout(kPatience)
        try:
            with theirs:
                control.sendmsg([line.encode()], [descriptors(theirs.fileno())])
        except OSError:
            control.close()
            answer.close()
            raise
        return control, answer

    def askWithDescriptor(self, line):
        """The answer and the events of a request whose answer goes to a descriptor."""
        control, answer = self.send(line)
        with control, answer:
            text = readAll(answer)
            return text, events(control)

    def client(self, *words, **options):
        """Runs korvoctl to its end."""
        return subprocess.run([kClient, "-s", self.socket, *words], stdin=subprocess.DEVNULL,
                              capture_output=True, timeout=kPatience, **options)

    def live(self, className):
        """Live instances of a tracked class in the agent."""
        return self.askJson("agent json status\n")["liveInstances"].get(className, 0)

    def numRequests(self):
        """Requests in progress besides the one that asks."""
        return len(self.askJson("agent json requests\n")["requests"]) - 1


def descriptors(*numbers):
    return (socket.SOL_SOCKET, socket.SCM_RIGHTS, array.array("i", numbers))


def readAll(connection):
    pieces = []
    while piece := connection.recv(1 << 18):
        pieces.append(piece)
    return b"".join(pieces)


def events(control):
    return [json.loads(line) for line in readAll(control).decode().splitlines()]


def waitUntil(condition):
    """Asks the agent until it says so; the answer comes within a few turns of its loop."""
    end = time.monotonic() + kPatience
    while not condition():
        if time.monotonic() > end:
            raise AssertionError("it does not come about")


def runAgent(*options):
    """An agent that is expected to end by itself; its status and what it wrote."""
    done = subprocess.run([kAgent, *[str(option) for option in options]], stdin=subprocess.DEVNULL,
                          capture_output=True, text=True, timeout=kPatience)
    return done.returncode, done.stdout, done.stderr


def textRows(dump):
    """(VLAN, MAC, interface) of each row of a software MAC table dump in text."""
    rows = []
    for line in dump.decode().splitlines():
        cells = line.split()
        if len(cells) == 9 and re.fullmatch(r"[0-9a-f]{4}\.[0-9a-f]{4}\.[0-9a-f]{4}", cells[1]):
            rows.append((0 if cells[0] == "-" else int(cells[0]), cells[1], cells[2]))
    return rows


def jsonRows(dump):
    return [(row["vlan"], row["mac"], row["interface"]) for row in dump["macTableEntries"]]


def dotted(mac):
    """A MAC address in the display form."""
    digits = mac.replace(":", "").lower()
    return ".".join(digits[i:i + 4] for i in (0, 4, 8))


class TestCase(unittest.TestCase):
    maxDiff = 2000

    def assertAnswers(self, agent):
        """The agent is alive, has nothing in progress and answers."""
        self.assertEqual(agent.ask("plain text NOPE\n"), b"Invalid Command\n")
        self.assertEqual(agent.numRequests(), 0)

    def write(self, name, text):
        folder = pathlib.Path(tempfile.mkdtemp(prefix="korvo-test-"))
        self.addCleanup(shutil.rmtree, folder, True)
        path = folder / name
        path.write_bytes(text if isinstance(text, bytes) else text.encode())
        return path
