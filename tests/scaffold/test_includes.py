"""Which folders include which: the arrows of docs/architecture.md, and no way back."""

import collections
import pathlib
import re
import unittest

kSource = pathlib.Path(__file__).resolve().parents[2]
# What each part of the product may include beside itself.
kAllowed = {
    "text": set(),
    "platform": {"text"},
    "KorvoL2": {"platform", "text"},
    "agent": {"platform", "text"},
    "client": {"text"},
}


def includesOf(part):
    """For each folder of a part, the folders of all parts that its files include."""
    result = collections.defaultdict(set)
    for path in sorted((kSource / part).rglob("*")):
        if path.suffix in (".h", ".cpp"):
            folder = path.parent.relative_to(kSource).as_posix()
            for name in re.findall(r'^#include "(.+)/', path.read_text(), re.MULTILINE):
                result[folder].add(name)
    return result


class Includes(unittest.TestCase):
    def test_go_in_the_direction_of_the_arrows(self):
        for part, allowed in kAllowed.items():
            folders = includesOf(part)
            self.assertNotEqual(folders, {}, part)
            for folder, included in folders.items():
                parts = {name.split("/")[0] for name in included} - {part}
                self.assertLessEqual(parts, allowed, folder)

    def test_of_folders_make_no_circle(self):
        arrows = {folder: included - {folder}
                  for part in kAllowed for folder, included in includesOf(part).items()}
        finished = set()

        def follow(folder, way):
            self.assertNotIn(folder, way, "a circle")
            if folder not in finished:
                for other in sorted(arrows.get(folder, ())):
                    follow(other, [*way, folder])
                finished.add(folder)

        for folder in sorted(arrows):
            follow(folder, [])


if __name__ == "__main__":
    unittest.main()
