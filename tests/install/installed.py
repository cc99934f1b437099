"""What the installation tests share: a tree as `cmake --install` lays it out, in a temporary folder.

The prefix is not the one that the build was configured with, so every test also shows that an
installed tree may lie anywhere.
"""

import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

kPatience = 100
kSource = pathlib.Path(__file__).resolve().parents[2]
kBuild = pathlib.Path(os.environ["KORVO_BUILD_DIR"])
kCMake = os.environ["KORVO_CMAKE"]
kCompiler = os.environ["KORVO_CXX"]
kFmtRoot = os.environ["KORVO_FMT_ROOT"]
kLibraries = os.environ["KORVO_LIBDIR"]
kSanitizers = os.environ.get("KORVO_SANITIZED", "")
kCcache = shutil.which("ccache")


class TestCase(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="korvo-install-")).resolve()
        self.addCleanup(shutil.rmtree, self.folder, True)

    def run_(self, *command, status=0, **options):
        """Runs a command; its output, after a check of its exit status (None: any)."""
        done = subprocess.run([str(word) for word in command], stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                              timeout=kPatience, **options)
        if status is not None:
            self.assertEqual(done.returncode, status, f"{command}:\n{done.stdout}")
        return done.stdout

    def install(self, component=None, name="prefix"):
        prefix = self.folder / name
        only = ["--component", component] if component else []
        self.run_(kCMake, "--install", kBuild, "--prefix", prefix, *only)
        return prefix

    def cacheEnvironment(self):
        """Lets ccache see that what is compiled in one temporary folder is what was in another."""
        return {**os.environ, "CCACHE_BASEDIR": str(self.folder), "CCACHE_NOHASHDIR": "1"}

    def configure(self, project, build, prefix, *settings, status=0):
        launcher = [f"-DCMAKE_CXX_COMPILER_LAUNCHER={kCcache}"] if kCcache else []
        flags = "-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Werror"
        if kSanitizers:
            flags += f" -fsanitize={kSanitizers} -fno-sanitize-recover=undefined"
        return self.run_(
            kCMake, "-S", project, "-B", build, "-G", "Ninja", f"-DCMAKE_PREFIX_PATH={prefix}",
            f"-DKORVO_FMT_ROOT={kFmtRoot}", f"-DCMAKE_CXX_COMPILER={kCompiler}",
            f"-DCMAKE_CXX_FLAGS={flags}", *launcher, *settings, status=status)


def files(tree):
    """Every file and link below a folder, as paths from there."""
    return {str(path.relative_to(tree)) for path in tree.rglob("*")
            if path.is_symlink() or not path.is_dir()}
