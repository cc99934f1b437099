"""docs/reliability.md says what was tried; the tests that it names are there to try it again."""

from korvo import *
from named_tests import existingTests

# Modules of which every test stands in the page.
kModules = ("test_load", "test_restart", "test_memory", "test_pauses")


class Page(TestCase):
    def setUp(self):
        text = (kSource / "docs" / "reliability.md").read_text()
        self.words = re.findall(r"`([^`\n]+)`", text)
        section = re.search(r"^## Real processes\n(.*?)(?=^## |\Z)", text, re.M | re.S)[1]
        rows = [line.strip("|").split("|") for line in section.splitlines() if line.startswith("|")]
        self.heads, self.rows = rows[0], rows[2:]

    def named(self):
        """Suites, and tests as ctest names them without the name of their program."""
        return {word for word in self.words
                if re.fullmatch(r"test_\w+(\.\w+)*|\w+(Test|Property)|[A-Z]\w*\.[A-Z]\w*", word)}

    def test_every_test_that_is_named_exists(self):
        existing = existingTests()
        for name in set(existing):
            existing.update([name.split(".")[0], name.rpartition(".")[0]])
        self.assertGreater(len(self.named()), 20)
        self.assertEqual(sorted(self.named() - existing), [])

    def test_every_row_of_real_processes_has_its_test_and_nothing_left_open(self):
        self.assertEqual(self.heads[-1].strip(), "Test")
        self.assertGreater(len(self.rows), 15)
        for row in self.rows:
            self.assertEqual(len(row), len(self.heads), row)
            self.assertRegex(row[-1], r"`\w+(\.\w+)+`", row)
            self.assertNotIn("", [cell.strip() for cell in row], row)

    def test_every_test_of_real_processes_is_named(self):
        mine = {name for name in existingTests() if name.split(".")[0] in kModules}
        self.assertEqual({name.split(".")[0] for name in mine}, set(kModules))
        self.assertEqual(sorted(mine - self.named()), [])
