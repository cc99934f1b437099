"""The CMake package: the example builds against it and says what it should."""

import os

from installed import TestCase, kLibraries, kSanitizers, kSource

kExample = kSource / "examples" / "small_host"


class Package(TestCase):
    def test_a_host_of_ones_own_builds_against_it_and_serves_commands(self):
        prefix, build = self.install(), self.folder / "build"
        self.configure(kExample, build, prefix)
        self.run_("ninja", "-C", build, env=self.cacheEnvironment())
        # The address sanitizer calls dlopen in the program's place, and so without its run path.
        path = {"LD_LIBRARY_PATH": str(prefix / kLibraries)} if kSanitizers else {}
        said = self.run_(build / "small_host", env={**os.environ, **path})
        self.assertEqual(said, (kExample / "output.txt").read_text())

    def test_a_host_may_link_the_plugin_instead_of_loading_it(self):
        prefix, project = self.install(), self.folder / "project"
        project.mkdir()
        (project / "CMakeLists.txt").write_text("""\
cmake_minimum_required(VERSION 3.25)
project(Linked LANGUAGES CXX)
find_package(Korvo REQUIRED)
add_executable(linked main.cpp)
target_link_libraries(linked PRIVATE Korvo::l2_cli_callbacks)
target_compile_definitions(linked PRIVATE VERSION=${Korvo_PLUGIN_INTERFACE_VERSION})
""")
        (project / "main.cpp").write_text("""\
#include <cstdio>
#include "KorvoL2/KorvoL2CliCallbacks.h"
#include "platform/command/PluginEntry.h"
static_assert(AgentCommand::kPluginInterfaceVersion == VERSION);
int main() {
  const Qel::Ptr<AgentCommand::CliCallbackBase> callback = KorvoL2::cliCallbackFactory("linked");
  callback->handleCommand(1, "VlanVfiMap");
  std::puts(callback->outcome().reason.c_str());
}
""")
        build = project / "build"
        self.configure(project, build, prefix)
        self.run_("ninja", "-C", build, env=self.cacheEnvironment())
        self.assertEqual(self.run_(build / "linked"), "no l2 agent\n")

    def test_another_minor_version_is_refused(self):
        self.assertIn('version: 0.', self.configureWithVersion("0.999"))

    def test_fmt_10_is_asked_for_by_name_when_it_is_missing(self):
        said = self.configureWithVersion("0.1", "-DKORVO_FMT_ROOT=/nonexistent",
                                         "-DCMAKE_DISABLE_FIND_PACKAGE_fmt=ON")
        self.assertIn("fmt 10 is neither installed nor unpacked in KORVO_FMT_ROOT", said)

    def configureWithVersion(self, version, *settings):
        """What CMake says of a project that cannot be configured."""
        prefix, project = self.install("devel"), self.folder / "project"
        project.mkdir()
        (project / "CMakeLists.txt").write_text(
            "cmake_minimum_required(VERSION 3.25)\nproject(P LANGUAGES CXX)\n"
            f"find_package(Korvo {version} REQUIRED)\n")
        said = self.configure(project, project / "build", prefix, *settings, status=1)
        return " ".join(said.split())
