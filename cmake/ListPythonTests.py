"""Prints every test of a folder as module.Class.test, for CMake."""

import pathlib
import re
import sys

for path in sorted(pathlib.Path(sys.argv[1]).glob("test_*.py")):
    case = None
    for line in path.read_text().splitlines():
        if match := re.match(r"class (\w+)\(.*TestCase\):", line):
            case = match[1]
        elif case and (match := re.match(r"    def (test\w+)\(", line)):
            print(f"{path.stem}.{case}.{match[1]}")
