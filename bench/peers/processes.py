"""The processes of a run: in a network of their own, and gone with the run."""

import contextlib
import ctypes
import os
import pathlib
import shutil
import signal
import socket
import subprocess
import tempfile
import time

from measuring import lastLine

kPatience = 300
kCloneNewUser = 0x10000000
kCloneNewNet = 0x40000000


class Unavailable(Exception):
    """A peer that cannot be measured here, and why."""


def enterOwnNetwork():
    """Puts this process and all that it starts into a network namespace that nobody else is in: it has no
    name, and the kernel takes it away with its last process. Who is not root gets a user namespace too,
    in which that is allowed. Gives back why it could not be done, or None."""
    user, group = os.geteuid(), os.getegid()
    libc = ctypes.CDLL(None, use_errno=True)
    if libc.unshare(kCloneNewNet if user == 0 else kCloneNewUser | kCloneNewNet) != 0:
        return os.strerror(ctypes.get_errno())
    if user != 0:
        own = pathlib.Path("/proc/self")
        (own / "setgroups").write_text("deny")
        (own / "uid_map").write_text(f"0 {user} 1")
        (own / "gid_map").write_text(f"0 {group} 1")
    return None


def endOnSignals():
    """Signals that ask for an end unwind the stack as Ctrl-C does, so that everything is put away."""
    def end(number, _):
        leaveInPeace()
        raise SystemExit(128 + number)
    for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, end)


def leaveInPeace():
    """What is being put away is not interrupted by the next Ctrl-C."""
    for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, signal.SIG_IGN)


@contextlib.contextmanager
def temporaryFolder():
    folder = tempfile.mkdtemp(prefix="korvo-peers-")
    try:
        yield pathlib.Path(folder)
    finally:
        leaveInPeace()
        shutil.rmtree(folder, ignore_errors=True)


@contextlib.contextmanager
def daemon(command, log, environment=None, stdout=None):
    """A program that runs until the block is left, or until this process is killed."""
    # A process that is killed outright puts nothing away; setpriv has the kernel end its daemons then.
    words = ["setpriv", "--pdeathsig", "KILL", *[str(word) for word in command]]
    with open(log, "wb") as messages:
        process = subprocess.Popen(words, stdin=subprocess.DEVNULL, stdout=stdout or messages,
                                   stderr=messages, env=environment)
    try:
        yield process
    finally:
        process.terminate()
        try:
            process.wait(10)
        except subprocess.TimeoutExpired:
            process.kill()
            process.wait()
        if process.stdout:
            process.stdout.close()


def waitFor(condition, process, log):
    """Until the condition holds: programs that say nothing when they are ready are asked."""
    end = time.monotonic() + kPatience
    while not condition():
        if process.poll() is not None:
            raise Unavailable(f"{process.args[3]} ended with status {process.returncode}: {lastLine(log)}")
        if time.monotonic() > end:
            raise Unavailable(f"{process.args[3]} was not ready within {kPatience} s: {lastLine(log)}")
        time.sleep(0.02)


def listening(path):
    with socket.socket(socket.AF_UNIX, socket.SOCK_STREAM) as connection:
        try:
            connection.connect(str(path))
        except OSError:
            return False
    return True


def run(command, environment=None, **options):
    """Runs a program to its end and gives back what it printed."""
    done = subprocess.run([str(word) for word in command], capture_output=True, env=environment,
                          **{"stdin": subprocess.DEVNULL, "timeout": kPatience, **options})
    if done.returncode != 0:
        said = done.stderr.decode(errors="replace").strip().split("\n")[-1] or "it said nothing"
        raise Unavailable(f"{command[0]} ended with status {done.returncode}: {said}")
    return done.stdout


class Programs:
    """Finds programs on the machine or, where it lacks them, in folders of unpacked packages."""

    def __init__(self, unpacked):
        self.roots = sorted(path for path in pathlib.Path(unpacked).glob("*") if path.is_dir())
        self.environment = {**os.environ, "LC_ALL": "C"}
        libraries = [str(folder) for root in self.roots for pattern in ("usr/lib/*-linux-*", "lib/*-linux-*")
                     for folder in root.glob(pattern)]
        if libraries:
            self.environment["LD_LIBRARY_PATH"] = ":".join(libraries)

    def find(self, *paths, package):
        """The first of the paths ("usr/sbin/bird") that exists, below / or an unpacked package."""
        for root in [pathlib.Path("/"), *self.roots]:
            for path in paths:
                if (root / path).exists():
                    return root / path
        raise Unavailable(f"there is no {paths[0]}, and the package {package} could not be had")
