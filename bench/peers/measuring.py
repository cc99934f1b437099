"""How a dump is timed, and what is said of repeated times."""

import dataclasses
import os
import re
import statistics
import subprocess
import time


class WrongOutput(Exception):
    """A program ended badly, or did not print the table that it was to print."""


@dataclasses.dataclass(frozen=True)
class Spread:
    """The middle of several measurements and how far they lie apart."""
    median: float
    min: float
    max: float


def spreadOf(values):
    if not values:
        raise ValueError("nothing was measured")
    return Spread(statistics.median(values), min(values), max(values))


def ratios(above, below):
    """above[i] / below[i], as far as both go: what was measured side by side is compared side by side, so
    that a machine that is busy for some seconds slows both."""
    return [a / b for a, b in zip(above, below)]


def checkRows(pattern, output, rows):
    """Holds the output against the table: so many rows, each with a key of its own. `pattern` matches a
    whole row and nothing else; its group is the key."""
    keys = re.findall(pattern, output, re.MULTILINE)
    if len(keys) != rows:
        raise WrongOutput(f"printed {len(keys)} rows instead of {rows}")
    if len(set(keys)) != rows:
        raise WrongOutput(f"printed {rows} rows, but only {len(set(keys))} different ones")


class Sink:
    """The reading end of every program's standard output: one buffer for all, whose memory is there
    before the first time is taken."""

    def __init__(self, size):
        self.buffer = bytearray(b"\1") * max(size, 1)
        self.filled = 0

    def drain(self, descriptor):
        """Reads to the end of file."""
        self.filled = 0
        while True:
            if self.filled == len(self.buffer):
                self.buffer += bytearray(b"\1") * len(self.buffer)
            with memoryview(self.buffer) as whole, whole[self.filled:] as room:
                count = os.readv(descriptor, [room])
            if count == 0:
                return
            self.filled += count

    def output(self):
        return bytes(memoryview(self.buffer)[:self.filled])


def timeProgram(command, sink, environment, messages):
    """Seconds from before the program starts until it has ended, its output having gone through a pipe
    into the sink. What it writes to standard error goes to the file `messages`."""
    with open(messages, "wb") as errors:
        start = time.perf_counter()
        process = subprocess.Popen([str(word) for word in command], stdin=subprocess.DEVNULL,
                                   stdout=subprocess.PIPE, stderr=errors, env=environment)
        try:
            sink.drain(process.stdout.fileno())
            status = process.wait()
            seconds = time.perf_counter() - start
        finally:
            process.stdout.close()
            if process.poll() is None:
                process.kill()
                process.wait()
    if status != 0:
        raise WrongOutput(f"{command[0]} ended with status {status}: {lastLine(messages)}")
    return seconds


def lastLine(path):
    with open(path, "rb") as file:
        lines = file.read().decode(errors="replace").split("\n")
    return next((line.strip() for line in reversed(lines) if line.strip()), "it said nothing")
