"""The installed headers: complete, and each one compiles alone."""

import concurrent.futures
import os
import re
import subprocess

from installed import TestCase, kCcache, kCompiler, kFmtRoot, kPatience, kSource


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

    # One test a folder, so that they run side by side.
    def test_of_platform_base_compile_alone(self):
        self.compileAlone("platform/base")

    def test_of_platform_collections_and_command_compile_alone(self):
        self.compileAlone("platform/collections", "platform/command")

    def test_of_platform_l2_compile_alone(self):
        self.compileAlone("platform/l2")

    def test_of_platform_rendering_compile_alone(self):
        self.compileAlone("platform/rendering")

    def test_of_platform_types_compile_alone(self):
        self.compileAlone("platform/types")

    def test_of_the_plugin_compile_alone(self):
        self.compileAlone("KorvoL2")

    def test_of_every_folder_are_compiled(self):
        compiled = {"platform/base", "platform/collections", "platform/command", "platform/l2",
                    "platform/rendering", "platform/types"}
        self.assertEqual({header.rsplit("/", 1)[0] for header in self.headers("platform")}, compiled)

    def compileAlone(self, *folders):
        headers = [header for folder in folders for header in self.headers(folder)]
        self.assertNotEqual(headers, [])
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            failures = [said for said in pool.map(self.compile, headers) if said]
        self.assertEqual(failures, [])

    def compile(self, header):
        """Compiles a source that is one include; what the compiler said if it failed."""
        source = header.replace("/", "_").replace(".h", ".cpp")
        (self.root / source).write_text(f'#include "{header}"\n')
        # Paths from the tree's own folder: to ccache every temporary tree is the same.
        done = subprocess.run(
            [*([kCcache] if kCcache else []), kCompiler, "-std=c++20", "-O0", "-Wall", "-Wextra",
             "-Wpedantic", "-Werror", "-I.", "-isystem", f"{kFmtRoot}/usr/include",
             "-DFMT_HEADER_ONLY=1", "-c", source, "-o", source + ".o"],
            cwd=self.root, env=self.cacheEnvironment(), stdin=subprocess.DEVNULL,
            capture_output=True, text=True, timeout=kPatience)
        return f"{header}:\n{done.stderr}" if done.returncode else None
