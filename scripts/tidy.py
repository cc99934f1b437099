#!/usr/bin/python3
"""Runs clang-tidy over the sources of a build tree, as few of them as possible.

    scripts/tidy.py BUILD_DIR [--seconds N] [--jobs N] [FILE...]

Sources that are compiled together are looked at together: most of the time goes into their headers.
With FILE only those are looked at that have one of them in them. What passed is not looked at again
until its text, a header of the tree that it includes, its compile command, a .clang-tidy or
clang-tidy itself changes; it is remembered in BUILD_DIR/tidy. What has changed since the last commit
goes first. Exit status: 0 all passed, 1 findings, or the time given was too short for all.
"""

import argparse
import concurrent.futures
import functools
import hashlib
import json
import os
import pathlib
import re
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent


def run(*command):
    return subprocess.run(command, cwd=ROOT, capture_output=True, text=True, check=False)


@functools.cache
def included(path):
    """The files of the tree that a file includes itself; they are named from the root."""
    names = re.findall(r'^#include "([^"]+)"', path.read_text(), re.MULTILINE)
    return [ROOT / name for name in names if (ROOT / name).exists()]


def allOf(source):
    """A source and all files of the tree that it includes."""
    seen, open_ = set(), [source]
    while open_:
        path = open_.pop()
        if path not in seen:
            seen.add(path)
            open_ += included(path)
    return seen


def fingerprint(entry, seen, settings):
    digest = hashlib.sha256(settings + entry["command"].encode())
    for path in sorted(seen):
        digest.update(path.read_bytes())
    return digest.hexdigest()


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("files", nargs="*", type=pathlib.Path)
    parser.add_argument("--seconds", type=float, default=float(os.environ.get("KORVO_TIDY_SECONDS", 2700)))
    parser.add_argument("--jobs", type=int, default=int(os.environ.get("KORVO_JOBS", os.cpu_count())))
    arguments = parser.parse_args()
    build = arguments.build.resolve()
    end = time.monotonic() + arguments.seconds

    settings = run("clang-tidy", "--version").stdout.encode()
    for file in run("git", "ls-files", "*.clang-tidy").stdout.split():
        settings += (ROOT / file).read_bytes()
    wanted = {path.resolve() for path in arguments.files}
    changed = {ROOT / line[3:] for line in run("git", "status", "--porcelain", "-uall").stdout.splitlines()}
    remembered = build / "tidy"
    remembered.mkdir(exist_ok=True)

    todo = []
    for entry in json.loads((build / "compile_commands.json").read_text()):
        source = pathlib.Path(entry["file"])
        together = "Unity" in source.parts
        if not source.is_relative_to(ROOT) or (source.is_relative_to(ROOT / "build") and not together):
            continue
        files = allOf(source)
        if wanted and not wanted & files:
            continue
        stamp = remembered / (str(source.relative_to(ROOT)).replace("/", "+") + ".ok")
        key = fingerprint(entry, files, settings)
        if stamp.exists() and stamp.read_text() == key:
            continue
        todo.append((not changed & files, str(source), stamp, key))
    todo.sort()

    def look(item):
        _, source, stamp, key = item
        if time.monotonic() > end:
            return source, None, ""
        # Among warnings of clang that g++ lacks, one that RapidJSON's iterators cause everywhere.
        result = run("clang-tidy", "--quiet", "--extra-arg=-Wno-ambiguous-reversed-operator",
                     "-p", str(build), source)
        if result.returncode == 0:
            stamp.write_text(key)
        return source, result.returncode == 0, result.stdout + ("" if result.stdout else result.stderr)

    skipped, bad = [], 0
    with concurrent.futures.ThreadPoolExecutor(arguments.jobs) as pool:
        for source, passed, text in pool.map(look, todo):
            if passed is None:
                skipped.append(os.path.relpath(source, ROOT))
            elif not passed:
                bad += 1
                print(text.strip(), flush=True)
    print(f"   {len(todo) - len(skipped)} looked at, {bad} with findings, {len(skipped)} skipped for time")
    for source in skipped:
        print(f"   skipped: {source}")
    return 1 if bad or skipped else 0


if __name__ == "__main__":
    sys.exit(main())
