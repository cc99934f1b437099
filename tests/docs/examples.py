"""Examples in the documents: running them, comparing them, writing them anew.

An example is a block of the kind `console`, or one without a kind (indented, or in a manual page) that
begins with "$ ":

    ```console
    $ korvoctl agent chips
    0 Linecard3/0
    ...
    ```

Lines that begin with "$ " are given to one bash, one after the other ("> " goes on with a command);
what it prints, on either output, has to be what stands below. A line "..." stands for any number of
lines, and "..." within a line for any text. Blanks at the ends of lines do not count.

Each block has a folder of its own and an agent of its own, `korvo-l2-agent --demo`, unless it starts
one itself: a command that ends in " &" is waited for until it has printed a line, and is ended with
the block. The documents call the agent's socket /tmp/korvo.sock; the examples run elsewhere. `bridge`
prints what it printed on one Linux machine, whatever this machine's table is.

Every other block is of a kind that another test looks after (kData), or not_run.py gives the reason why
it is not run.
"""

import os
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile
import uuid

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "end_to_end"))

from blocks import manBlocks, markdownBlocks
from korvo import Agent, kBuild, kPatience, kSource
from not_run import kNotRun

kManualPages = (".1", ".8")
# Documents for the agent, and pieces of the example host: tests of agent/documents and tests/install read these.
kData = ("json", "cpp", "cmake")
kBridgeTable = kSource / "tests" / "data" / "bridge-fdb.json"
kSocket = "/tmp/korvo.sock"
kAny = "..."
# A new example's answer is cut to so much.
kMaxLines = 16
kHeadLines = 10
kTailLines = 2
kMaxColumns = 120
# How many seconds later an answer has to be the same to be steady.
kLater = 1.2


class Example:
    """A command with what is expected of it; line is where the command stands, from 0."""

    def __init__(self, line, command):
        self.line = line
        self.source = [command]
        self.expected = []

    @property
    def command(self):
        return "\n".join(line[2:] for line in self.source)


def examplesOf(block):
    """The examples of a block that holds nothing else."""
    found = []
    for number, line in enumerate(block.lines, block.begin):
        if line.startswith("$ "):
            found.append(Example(number, line))
        elif not found:
            raise ValueError(f"line {number + 1}: an answer before the first command")
        elif line.startswith("> ") and not found[-1].expected:
            found[-1].source.append(line)
        else:
            found[-1].expected.append(line)
    for example in found:
        if example.expected == [kAny]:
            raise ValueError(f"line {example.line + 1}: an answer of nothing but \"{kAny}\" compares nothing")
    return found


def isExample(block):
    return block.kind == "console" or not block.kind and block.lines[:1] and block.lines[0].startswith("$ ")


def lineMatches(expected, line):
    pieces = [re.escape(piece) for piece in expected.rstrip().split(kAny)]
    return re.fullmatch(".*".join(pieces), line.rstrip()) is not None


def matches(expected, lines):
    """Whether an answer is the expected one."""
    if not expected:
        return not lines
    first, *rest = expected
    if first == kAny:
        return any(matches(rest, lines[skipped:]) for skipped in range(len(lines) + 1))
    return bool(lines) and lineMatches(first, lines[0]) and matches(rest, lines[1:])


def renewedLine(old, new):
    """A line that holds still keeps its "..."; a new one is cut where it is too long."""
    if old is not None and lineMatches(old, new):
        return old
    return new if len(new) <= kMaxColumns else new[:kMaxColumns] + kAny


def renewedLines(old, new):
    """As many lines as are new."""
    return [renewedLine(was, line)
            for was, line in zip(old + [None] * (len(new) - len(old)), new)]


def steadyLine(line, later):
    """A line with dots for the words that are others later on."""
    words, others = re.split(r"( +)", line), re.split(r"( +)", later)
    if len(words) != len(others):
        return os.path.commonprefix([line, later]) + kAny if line != later else line
    return "".join(word if word == other else " " if word.isspace() else kAny
                   for word, other in zip(words, others))


def steady(lines, later):
    """An answer with dots for what is different when the same is asked later."""
    if len(lines) != len(later):
        return lines
    return [steadyLine(line, other) for line, other in zip(lines, later)]


def rewritten(expected, lines):
    """What is to be expected from now on, as much of it as before."""
    if matches(expected, lines):
        return expected
    lines = [line.rstrip() for line in lines]
    if kAny in expected:
        head = expected.index(kAny)
        tail = expected[::-1].index(kAny)
    elif len(expected) <= kMaxLines < len(lines):
        head, tail = kHeadLines, kTailLines
    else:
        return renewedLines(expected, lines)
    if head + tail >= len(lines):
        return renewedLines(expected[:head], lines)
    return [*renewedLines(expected[:head], lines[:head]), kAny,
            *renewedLines(expected[len(expected) - tail:], lines[len(lines) - tail:])]


def scriptOf(examples, mark):
    """A bash script that prints the mark after the answer to each command."""
    script = ["exec 2>&1", "trap 'kill $__agents 2>/dev/null; wait' EXIT",
              f"bridge() {{ cat {shlex.quote(str(kBridgeTable))}; }}"]
    for number, example in enumerate(examples):
        command = example.command
        if command.endswith(" &"):
            script += [f"mkfifo says{number}; exec {{said}}<>says{number}",
                       f"{command[:-2]} >says{number} 2>&1 &",
                       '__agents+=" $!"',
                       "IFS= read -r line <&\"$said\"; printf '%s\\n' \"$line\""]
        else:
            script.append(command)
        # The next command may want to see the status of this one.
        script += ["__status=$?", f"printf %s '{mark}'", "(exit $__status)"]
    return "\n".join(script) + "\n"


def answersOf(block, after=0):
    """What each example of a block prints when the agent is so many seconds old, as lists of lines."""
    examples = examplesOf(block)
    with tempfile.TemporaryDirectory(prefix="korvo-docs-") as folder:
        socket = os.path.join(folder, "korvo.sock")
        mark = f"\x1e{uuid.uuid4().hex}\x1e"
        script = f"sleep {after}\n" + scriptOf(examples, mark).replace(kSocket, socket)

        def run():
            return subprocess.run(
                ["bash", "-c", script], cwd=folder, stdin=subprocess.DEVNULL,
                stdout=subprocess.PIPE, timeout=kPatience,
                env={**os.environ, "PATH": f"{kBuild / 'bin'}:{os.environ['PATH']}",
                     "HOME": folder, "LC_ALL": "C.UTF-8", "KORVO_L2_SOCKET": socket}).stdout

        if any("korvo-l2-agent" in example.command for example in examples):
            output = run()
        else:
            with Agent("--demo", socketPath=socket):
                output = run()
        answers = output.decode(errors="replace").replace(socket, kSocket).split(mark)[:-1]
    if len(answers) != len(examples):
        raise ValueError(f"line {block.begin}: the shell ended after {len(answers)} commands")
    return [answer.splitlines() for answer in answers]


def newLinesOf(block, usages, notRun):
    """What a block is to hold; None for blocks that are somebody else's business."""
    if block.kind in kData or block.lines[:1] and block.lines[0] in notRun:
        return None
    if isExample(block):
        asked, answers = examplesOf(block), answersOf(block)
        if not all(matches(example.expected, answer) for example, answer in zip(asked, answers)):
            # Ages and counters are not to be written down.
            answers = map(steady, answers, answersOf(block, kLater))
        return [line for example, answer in zip(asked, answers)
                for line in example.source + rewritten(example.expected, answer)]
    kind, _, command = block.kind.partition(" ")
    if kind != "usage":
        raise ValueError(f"line {block.begin}: the block is neither run nor listed in not_run.py")
    if command not in usages:
        raise ValueError(f"line {block.begin}: there is no command '{command}'")
    return usages[command]


def blocksOf(path, text):
    return (manBlocks if path.suffix in kManualPages else markdownBlocks)(text)


def renewed(path, text, usages):
    """A document as it ought to be."""
    path = path.resolve()
    notRun = kNotRun.get(str(path.relative_to(kSource)), {}) if path.is_relative_to(kSource) else {}
    lines = text.splitlines()
    for block in reversed(blocksOf(path, text)):
        new = newLinesOf(block, usages, notRun)
        if new is not None:
            lines[block.begin:block.end] = block.written(new)
    return "\n".join(lines) + "\n"
