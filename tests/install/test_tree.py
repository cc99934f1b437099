"""The installed tree: which files there are, and that programs work wherever it is moved."""

import pathlib
import re
import signal
import subprocess

from installed import TestCase, files, kBuild, kLibraries, kPatience, kSource

# Made or written by hand elsewhere in the tree, and installed as soon as they are there.
kOptional = {
    "docs/man/korvoctl.1": "share/man/man1/korvoctl.1",
    "docs/man/korvo-l2-agent.8": "share/man/man8/korvo-l2-agent.8",
}


def projectVersion():
    return re.search(r"project\(Korvo\s+VERSION ([\d.]+)", (kSource / "CMakeLists.txt").read_text())[1]


def buildType():
    return re.search(r"CMAKE_BUILD_TYPE:STRING=(\w+)", (kBuild / "CMakeCache.txt").read_text())[1]


def runtimeFiles():
    version = projectVersion()
    return {
        "bin/korvo-l2-agent",
        "bin/korvoctl",
        f"{kLibraries}/libKorvoL2CliCallbacks.so",
        f"{kLibraries}/libKorvoPlatform.so.{version}",
        f"{kLibraries}/libKorvoPlatform.so.{version.split('.')[0]}",
        "lib/systemd/system/korvo-l2-agent.service",
        "lib/sysusers.d/korvo-l2.conf",
        "share/bash-completion/completions/korvoctl",
        "share/zsh/site-functions/_korvoctl",
    } | {installed for source, installed in kOptional.items() if (kSource / source).exists()}


def packageFiles():
    names = ["FindFmt10", "KorvoConfig", "KorvoConfigVersion", "KorvoTargets",
             f"KorvoTargets-{buildType().lower()}"]
    return {f"{kLibraries}/libKorvoPlatform.so"} | {
        f"{kLibraries}/cmake/Korvo/{name}.cmake" for name in names}


class Tree(TestCase):
    def test_holds_these_files_and_no_others(self):
        tree = files(self.install())
        headers = {name for name in tree if name.startswith("include/")}
        self.assertEqual(tree - headers, runtimeFiles() | packageFiles())
        self.assertEqual({name for name in headers if not re.fullmatch(
            r"include/korvo/(platform|KorvoL2)/[\w/]+\.h", name)}, set())

    def test_runtime_and_devel_are_all_of_it_and_share_nothing(self):
        runtime = files(self.install("runtime", "runtime"))
        devel = files(self.install("devel", "devel"))
        self.assertEqual(runtime, runtimeFiles())
        self.assertEqual(runtime & devel, set())
        self.assertEqual(runtime | devel, files(self.install()))

    def test_names_no_folder_of_the_build(self):
        prefix = self.install()
        texts = [path for path in prefix.rglob("*")
                 if path.suffix in (".cmake", ".service", ".conf", ".h")]
        self.assertGreater(len(texts), 10)
        named = [path for path in texts
                 if str(kBuild) in path.read_text() or str(kSource) in path.read_text()]
        self.assertEqual(named, [])
        for binary in runtimeFiles():
            if binary.startswith("bin/") or ".so" in binary:
                dynamic = self.run_("readelf", "-d", prefix / binary)
                for path in re.findall(r"\((?:RPATH|RUNPATH)\).*\[(.*)\]", dynamic):
                    self.assertEqual([part for part in path.split(":")
                                      if not part.startswith("$ORIGIN")], [], binary)

    def test_agent_of_a_moved_tree_uses_the_libraries_and_the_plugin_beside_it(self):
        prefix = self.install("runtime")
        moved = self.folder / "moved"
        prefix.rename(moved)
        socket = self.folder / "agent.sock"
        with subprocess.Popen([moved / "bin/korvo-l2-agent", "--socket", socket],
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              text=True) as agent:
            self.addCleanup(agent.kill)
            self.assertEqual(agent.stdout.readline(), f"ready {socket}\n")
            mapped = set(re.findall(r"/\S*libKorvo\S*",
                                    pathlib.Path(f"/proc/{agent.pid}/maps").read_text()))
            version = projectVersion()
            self.assertEqual(mapped, {
                f"{moved}/{kLibraries}/libKorvoL2CliCallbacks.so",
                f"{moved}/{kLibraries}/libKorvoPlatform.so.{version}"})
            answer = self.run_(moved / "bin/korvoctl", "-s", socket, "show", "mac", "address-table")
            self.assertIn("Number of entries : 0\n", answer)
            agent.send_signal(signal.SIGTERM)
            self.assertEqual(agent.wait(kPatience), 0)
