"""What documents repeat of the client's command table."""

import json
import pathlib
import re
import subprocess
import sys
import textwrap

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "end_to_end"))

from blocks import roff
from korvo import kClient, kPatience, kSource

kBegin = '.\\" Commands: written by tests/docs/run_examples.py --update.'
kEnd = '.\\" End of commands.'
kJsonOption = {"name": "--json", "value": None, "help": "Answer in JSON instead of text"}


def saidByClient(*words):
    return subprocess.run([kClient, *words], stdin=subprocess.DEVNULL, capture_output=True,
                          check=True, text=True, timeout=kPatience).stdout


def commandList():
    """`korvoctl commands --json`."""
    return json.loads(saidByClient("commands", "--json"))["commands"]


def optionsOf(command):
    return command["options"] + ([kJsonOption] if command["json"] else [])


def usageBlocks(commands):
    """For each command its usage, then a line for each argument and option."""
    blocks = {}
    for command in commands:
        rows = [(each["name"], each["help"]) for each in command["arguments"]]
        rows += [(" ".join(filter(None, (each["name"], each["value"]))), each["help"])
                 for each in optionsOf(command)]
        width = max((len(name) for name, _ in rows), default=0)
        blocks[command["command"]] = [command["usage"],
                                      *(f"  {name:<{width}}  {text}" for name, text in rows)]
    return blocks


def sentences(text):
    """Text as lines of a manual page, where each sentence begins a line."""
    return [roff(line) for sentence in re.split(r"(?<=[.?]) (?=[A-Z'-])", " ".join(text.split()))
            for line in textwrap.wrap(sentence, 72, break_on_hyphens=False)]


def manEntries(commands):
    """The list of commands as the manual page has it."""
    lines = []
    for command in commands:
        usage = command["usage"].removeprefix("korvoctl ")
        lines += [f'.It Ic "{roff(usage)}"', *sentences(f"{command['summary']}. {command['details']}")]
        options = [each for each in optionsOf(command) if each["name"] != "--json"]
        if options:
            lines.append(".Bl -tag -width Ds -compact")
            for each in options:
                name = " ".join(filter(None, (each["name"], each["value"])))
                lines += [f'.It Ic "{roff(name)}"', *sentences(each["help"] + ".")]
            lines.append(".El")
    return lines


def withCommands(page, commands):
    """A manual page with the list of commands as it is now."""
    lines = page.splitlines()
    try:
        begin, end = lines.index(kBegin), lines.index(kEnd)
    except ValueError:
        raise ValueError("the marks around the list of commands are missing") from None
    lines[begin + 1:end] = manEntries(commands)
    return "\n".join(lines) + "\n"
