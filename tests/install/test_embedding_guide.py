"""docs/embedding.md quotes the example, and nothing else."""

import re
import textwrap

from installed import TestCase, kSource

kGuide = kSource / "docs" / "embedding.md"
kExample = kSource / "examples" / "small_host"


def lines(text):
    """The lines of a piece without the indentation that all of them share."""
    return textwrap.dedent(text).strip("\n").splitlines()


def stands(piece, source):
    wanted = lines(piece)
    there = source.splitlines()
    return any(lines("\n".join(there[start:start + len(wanted)])) == wanted
               for start in range(len(there)))


class EmbeddingGuide(TestCase):
    def test_every_piece_that_it_quotes_stands_in_the_example(self):
        pieces = re.findall(r"^```(\w*)\n(.*?)^```$", kGuide.read_text(), re.DOTALL | re.MULTILINE)
        sources = {"cpp": [(kExample / name).read_text() for name in ("SmallHost.cpp", "TinySwitch.h")],
                   "cmake": [(kExample / "CMakeLists.txt").read_text()]}
        self.assertGreaterEqual(len(pieces), 10)
        self.assertEqual({language for language, _ in pieces}, set(sources))
        self.assertEqual([piece for language, piece in pieces
                          if not any(stands(piece, source) for source in sources[language])], [])
