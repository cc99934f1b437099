"""The installed headers: complete, and closed. That each compiles alone is checked where it lies in
the tree (./dev check); here nothing is added to what it includes."""

import re

from installed import TestCase, kSource


class Headers(TestCase):
    def setUp(self):
        super().setUp()
        self.root = self.install("devel") / "include" / "korvo"

    def headers(self, folder):
        return sorted(str(path.relative_to(self.root)) for path in self.root.glob(folder + "/**/*.h"))

    def test_are_all_of_the_platform_and_the_umbrellas_of_the_plugin(self):
        platform = sorted(str(path.relative_to(kSource))
                          for path in kSource.glob("platform/**/*.h"))
        self.assertEqual(self.headers("platform"), platform)
        umbrellas = {"KorvoL2/KorvoL2CliCallbacks.h", "KorvoL2/KorvoL2CliAsyncRequestSm.h",
                     "KorvoL2/KorvoL2CliAsyncRequestSmBase.h"}
        self.assertLessEqual(umbrellas, set(self.headers("KorvoL2")))

    def test_include_only_what_is_installed_too(self):
        missing = set()
        for header in self.headers("."):
            for name in re.findall(r'^\s*#\s*include "(.*?)"', (self.root / header).read_text(),
                                   re.MULTILINE):
                if not (self.root / name).is_file():
                    missing.add((header, name))
        self.assertEqual(missing, set())
