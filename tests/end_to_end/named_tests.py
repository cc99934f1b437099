"""The tests of this tree by the names that documents call them by."""

import re
import subprocess
import sys

from korvo import kPatience, kSource


def existingTests():
    """Every test as ctest names it, without the name of its program."""
    tests = set()
    for path in (kSource / "tests").rglob("*.cpp"):
        for suite, case in re.findall(r"^(?:TEST|TEST_F|TEST_P|RC_GTEST_PROP|RC_GTEST_FIXTURE_PROP)"
                                      r"\((\w+),\s*(\w+)[,)]", path.read_text(), re.M):
            tests.add(f"{suite}.{case}")
    lister = kSource / "cmake" / "ListPythonTests.py"
    for folder in {path.parent for path in (kSource / "tests").rglob("test_*.py")}:
        listed = subprocess.run([sys.executable, "-B", lister, folder], text=True, check=True,
                                stdin=subprocess.DEVNULL, capture_output=True,
                                timeout=kPatience).stdout
        tests.update(listed.splitlines())
    return tests
