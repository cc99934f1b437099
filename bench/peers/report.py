"""What a run found: a text table and a JSON document of all raw numbers."""

import json
import os
import platform

from measuring import ratios, spreadOf

kHeads = ("rows", "command", "bytes a row", "runs", "median", "min", "max", "rows a second",
          "ours over it", "must reach", "aim for", "verdict")
kLeft = {"command", "verdict"}


def numberText(value):
    """Three significant digits: more would be noise."""
    for bound, digits in ((100, 0), (10, 1), (0.1, 2)):
        if value >= bound:
            return f"{value:.{digits}f}"
    return f"{value:.3f}"


def rateText(value):
    for bound, unit in ((1e6, "M"), (1e3, "k")):
        if value >= bound:
            return f"{numberText(value / bound)} {unit}"
    return numberText(value)


def verdict(value, mustReach, aimFor):
    if mustReach is None:
        return ""
    if value < mustReach:
        return "MISSED"
    return "aim met" if value >= aimFor else "reached"


class Figure:
    """One program on one size of table. `seconds` are its runs; `ours` are the runs of korvoctl in the
    same rounds, None for korvoctl itself; `failure` says why there are no runs."""

    def __init__(self, title, rows, mustReach=None, aimFor=None):
        self.title, self.rows, self.mustReach, self.aimFor = title, rows, mustReach, aimFor
        self.seconds, self.ours, self.numBytes, self.failure = [], None, 0, None

    @property
    def ratio(self):
        return spreadOf(ratios(self.seconds, self.ours)) if self.seconds and self.ours else None

    @property
    def verdict(self):
        if self.failure:
            return "not measured" if self.mustReach is not None else ""
        return verdict(self.ratio.median, self.mustReach, self.aimFor) if self.ratio else ""

    @property
    def inOrder(self):
        return self.verdict not in ("MISSED", "not measured")

    def cells(self):
        goals = [f">= {goal}" if goal is not None else "" for goal in (self.mustReach, self.aimFor)]
        if self.failure:
            return [str(self.rows), self.title, *[""] * 7, *goals, self.verdict]
        seconds = spreadOf(self.seconds)
        ratio = f"{numberText(self.ratio.median)} x" if self.ratio else ""
        return [str(self.rows), self.title, numberText(self.numBytes / self.rows), str(len(self.seconds)),
                *[f"{numberText(value)} s" for value in (seconds.median, seconds.min, seconds.max)],
                rateText(self.rows / seconds.median), ratio, *goals, self.verdict]

    def document(self):
        result = {"rows": self.rows, "command": self.title}
        if self.failure:
            result["failure"] = self.failure
        else:
            result |= {"bytes": self.numBytes, "seconds": self.seconds,
                       "rowsPerSecond": self.rows / spreadOf(self.seconds).median}
        if self.ratio:
            result |= {"ours": self.ours, "oursOverIt": self.ratio.median,
                       "oursOverItMin": self.ratio.min, "oursOverItMax": self.ratio.max}
        if self.mustReach is not None:
            result |= {"mustReach": self.mustReach, "aimFor": self.aimFor, "verdict": self.verdict}
        return result


def circumstances(commandLine, versions):
    """The machine and the programs: without them numbers say nothing."""
    model = "unknown"
    with open("/proc/cpuinfo", encoding="utf-8") as file:
        for line in file:
            if line.startswith("model name"):
                model = line.split(":", 1)[1].strip()
                break
    return {"command": commandLine,
            "processor": f"{model}, {os.cpu_count()} in use",
            "kernel": f"{platform.system()} {platform.release()} {platform.machine()}",
            **versions,
            "load average at the end": " ".join(f"{load:.2f}" for load in os.getloadavg())}


def textOf(surroundings, figures):
    lines = [f"{name}: {value}" for name, value in surroundings.items()]
    lines += ["", "Times are of a whole process, from its start to its end, its output read from a pipe.", ""]
    table = [kHeads, *[figure.cells() for figure in figures]]
    widths = [max(len(row[column]) for row in table) for column in range(len(kHeads))]
    for row in table:
        lines.append("  ".join(
            cell.ljust(width) if head in kLeft else cell.rjust(width)
            for head, cell, width in zip(kHeads, row, widths)).rstrip())
    failures = [f"Not measured: {figure.title}, {figure.rows} rows: {figure.failure}"
                for figure in figures if figure.failure]
    lines += ["", *failures] if failures else []
    return "\n".join(lines) + "\n"


def jsonOf(surroundings, figures):
    return json.dumps({"circumstances": surroundings, "figures": [figure.document() for figure in figures]},
                      indent=1) + "\n"
