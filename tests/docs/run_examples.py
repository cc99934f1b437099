#!/usr/bin/env python3
"""Runs the examples of the documents; see examples.py.

    run_examples.py [--update] [--build FOLDER] [FILE...]

Without FILE, every document of the tree: those at the top, those in docs/ and the manual pages.
Besides the examples it compares what documents say of commands with what `korvoctl commands --json`
says: blocks of the kind `usage COMMAND`, and the list of commands in korvoctl's manual page. --update
writes all of that anew. To add an example, write its line "$ korvoctl ..." into a `console` block and
update.
"""

import argparse
import difflib
import os
import pathlib
import sys

kSource = pathlib.Path(__file__).resolve().parents[2]


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--update", action="store_true", help="write the documents anew")
    parser.add_argument("--build", type=pathlib.Path, help="where the programs were built")
    parser.add_argument("files", type=pathlib.Path, nargs="*")
    options = parser.parse_args()
    if options.build:
        os.environ["KORVO_BUILD_DIR"] = str(options.build.resolve())
    os.environ.setdefault("KORVO_BUILD_DIR", str(kSource / "build" / "dev"))
    # Here, for what they import wants to know where the programs are.
    import examples
    import reference

    commands = reference.commandList()
    usages = reference.usageBlocks(commands)
    files = options.files or [*sorted(kSource.glob("*.md")), *sorted((kSource / "docs").glob("*.md")),
                              *sorted((kSource / "docs" / "man").iterdir())]
    failed = False
    for path in files:
        text = path.read_text()
        try:
            new = reference.withCommands(text, commands) if path.name == "korvoctl.1" else text
            new = examples.renewed(path, new, usages)
        except ValueError as error:
            print(f"{path}: {error}")
            failed = True
            continue
        if new != text and options.update:
            path.write_text(new)
            print(f"{path}: updated")
        elif new != text:
            failed = True
            sys.stdout.writelines(difflib.unified_diff(
                text.splitlines(True), new.splitlines(True), str(path), "what is true now"))
    if failed and not options.update:
        print("The documents say what is not so. Mend it, or: tests/docs/run_examples.py --update")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
