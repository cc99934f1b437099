"""Prints the same number of rows with korvoctl and with programs that do the like, and compares.

    python3 -B bench/peers --bin FOLDER [ROWS...]

All programs hold their tables at the same time and print them in turn, round by round, each as a whole
process that writes to a pipe. What is printed is counted every time. All of them run in a network of
their own, with files and sockets in a temporary folder, and end with this program.
"""

import argparse
import contextlib
import pathlib
import subprocess
import sys

import report
from measuring import Sink, WrongOutput, checkRows, timeProgram
from processes import Programs, Unavailable, endOnSignals, enterOwnNetwork, temporaryFolder
from tables import Bird, Korvo, LinuxBridge, OpenVSwitch

kBytesPerRow = 128


def say(text):
    print(f"== {text}", file=sys.stderr, flush=True)


def positive(text):
    value = int(text)
    if value < 1:
        raise argparse.ArgumentTypeError(f"{text} is not positive")
    return value


def parsed():
    parser = argparse.ArgumentParser(prog="./dev bench --peers", description=__doc__.splitlines()[0])
    parser.add_argument("rows", metavar="ROWS", type=positive, nargs="*",
                        help="sizes of tables (default: 100000 1000000)")
    parser.add_argument("--rounds", type=positive, default=7, help="how often each is timed (7)")
    parser.add_argument("--seconds", type=float, default=60,
                        help="who has taken this long on a table is not run again on it (60)")
    parser.add_argument("--strict", action="store_true",
                        help="exit status 1 when a figure misses what it must reach or was not measured")
    parser.add_argument("--bin", type=pathlib.Path, required=True, help=argparse.SUPPRESS)
    parser.add_argument("--unpacked", default="build/deps/peers", help=argparse.SUPPRESS)
    parser.add_argument("--report", type=pathlib.Path, default="build/bench-report", help=argparse.SUPPRESS)
    arguments = parser.parse_args()
    arguments.rows = arguments.rows or [100_000, 1_000_000]
    words = ["./dev", "bench", "--peers", *map(str, arguments.rows)]
    for option in ("rounds", "seconds"):
        if (value := getattr(arguments, option)) != parser.get_default(option):
            words += [f"--{option}", f"{value:g}"]
    arguments.commandLine = " ".join(words)
    return arguments


def measure(table, figure, sink, folder):
    seconds = timeProgram(table.command, sink, table.environment, folder / "messages")
    checkRows(table.rowPattern, sink.output(), table.rows)
    figure.numBytes = sink.filled
    return seconds


def compare(arguments, rows, programs, folder, noNetwork):
    """The figures of one size of table; ours first."""
    folder.mkdir()
    ours = Korvo(programs, folder / "korvo", rows, arguments.bin.resolve())
    peers = [OpenVSwitch(programs, folder / "openvswitch", rows), Bird(programs, folder / "bird", rows),
             LinuxBridge(programs, folder / "bridge", rows, noNetwork)]
    figures = {table: report.Figure(table.title, rows, table.mustReach, table.aimFor)
               for table in (ours, *peers)}
    sink = Sink(rows * kBytesPerRow)
    with contextlib.ExitStack() as stack:
        say(f"{ours.title}: {rows} rows")
        stack.enter_context(ours)
        for peer in peers:
            say(f"{peer.title}: filling {rows} rows")
            figures[peer].ours = []
            try:
                stack.enter_context(peer)
            except (Unavailable, OSError, subprocess.TimeoutExpired) as e:
                figures[peer].failure = str(e)
                say(f"{peer.title}: not measured: {e}")
        for number in range(arguments.rounds):
            say(f"{rows} rows, round {number + 1} of {arguments.rounds}")
            mine = measure(ours, figures[ours], sink, folder)
            figures[ours].seconds.append(mine)
            for peer in peers:
                figure = figures[peer]
                if figure.failure or sum(figure.seconds) >= arguments.seconds:
                    continue
                try:
                    figure.seconds.append(measure(peer, figure, sink, folder))
                    figure.ours.append(mine)
                except (WrongOutput, OSError) as e:
                    figure.failure = str(e)
                    say(f"{peer.title}: not measured: {e}")
    return list(figures.values())


def versions(programs, bin):
    """The first line that each program says of itself."""
    result = {}
    for name, package in (("ovs-appctl", OpenVSwitch.package), ("bird", Bird.package), ("ip", "iproute2")):
        with contextlib.suppress(Unavailable, OSError, IndexError):
            program = programs.find(f"usr/bin/{name}", f"usr/sbin/{name}", f"sbin/{name}", f"bin/{name}",
                                    package=package)
            said = subprocess.run([program, "-V" if name == "ip" else "--version"], env=programs.environment,
                                  stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                  stderr=subprocess.STDOUT, text=True, check=False)
            result[package] = said.stdout.splitlines()[0]
    said = subprocess.run([bin / "korvoctl", "--version"], capture_output=True, text=True, check=False)
    return {"korvo": f"{said.stdout.strip()} in {bin}", **result}


def main():
    arguments = parsed()
    endOnSignals()
    noNetwork = enterOwnNetwork()
    programs = Programs(arguments.unpacked)
    figures = []
    try:
        with temporaryFolder() as folder:
            for rows in arguments.rows:
                figures += compare(arguments, rows, programs, folder / str(len(figures)), noNetwork)
    except (Unavailable, WrongOutput) as e:
        print(f"benchmark: {e}", file=sys.stderr)
        return 1
    surroundings = report.circumstances(arguments.commandLine, versions(programs, arguments.bin))
    text = report.textOf(surroundings, figures)
    print(text, end="")
    arguments.report.mkdir(parents=True, exist_ok=True)
    (arguments.report / "peers.txt").write_text(text, encoding="utf-8")
    (arguments.report / "peers.json").write_text(report.jsonOf(surroundings, figures), encoding="utf-8")
    print(f"\nReport: {arguments.report}")
    return 1 if arguments.strict and not all(figure.inOrder for figure in figures) else 0


if __name__ == "__main__":
    sys.exit(main())
