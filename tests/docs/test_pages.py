"""The manual pages and the reference of commands are whole."""

import os
import re
import shutil
import subprocess
import unittest

import examples
import reference
from blocks import markdownBlocks
from korvo import Agent, kAgent, kBuild, kClient, kPatience, kSource
from not_run import kNotRun

# How the examples of help texts end that do not end with 0 on the demo's switch.
kEnds = {"check mac diff": 1, "check mac missing": 1, "agent cancel": 3}
kMan = kSource / "docs" / "man"
kPages = {kClient: kMan / "korvoctl.1", kAgent: kMan / "korvo-l2-agent.8"}


def output(*words):
    return subprocess.run(words, stdin=subprocess.DEVNULL, capture_output=True, text=True,
                          check=True, timeout=kPatience).stdout


def optionsIn(text):
    return set(re.findall(r"(?<![\w-])--?[a-z][a-z0-9-]*", text))


def pageText(path):
    """A page with its options spelt as they are typed."""
    text = re.sub(r"\bFl (?=-?\w)", "-", path.read_text())
    return text.replace("\\-", "-")


class ManualPages(unittest.TestCase):
    def test_every_option_of_the_programs_is_explained(self):
        for program, page in kPages.items():
            helps = [output(program, "--help")]
            if program == kClient:
                helps += [output(program, *command["command"].split(), "--help")
                          for command in reference.commandList()]
            for text in helps:
                missing = optionsIn(text) - optionsIn(pageText(page))
                self.assertEqual(missing, set(), page.name)

    def test_no_option_is_explained_that_there_is_not(self):
        for program, page in kPages.items():
            explained = set(re.findall(r"^\.It Fl -([\w-]+)", page.read_text(), re.M))
            self.assertNotEqual(explained, set())
            self.assertLessEqual({f"--{name}" for name in explained},
                                 optionsIn(output(program, "--help")))

    def test_exit_statuses_are_those_of_the_help_text(self):
        statuses = re.findall(r"^  (\d)  ", output(kClient, "--help"), re.M)
        explained = re.findall(r"^\.It (\d)$", kPages[kClient].read_text(), re.M)
        self.assertEqual(explained, statuses)

    @unittest.skipUnless(shutil.which("groff"), "there is no groff here")
    def test_pages_can_be_set_without_a_warning(self):
        for page in kPages.values():
            done = subprocess.run(["groff", "-ww", "-mandoc", "-Tutf8", page], timeout=kPatience,
                                  capture_output=True, text=True)
            self.assertEqual((done.returncode, done.stderr), (0, ""))
            self.assertGreater(len(done.stdout), 1000)

    @unittest.skipUnless(shutil.which("mandoc"), "there is no mandoc here")
    def test_pages_are_as_mandoc_wants_them(self):
        for page in kPages.values():
            done = subprocess.run(["mandoc", "-Tlint", "-Wwarning", page], timeout=kPatience,
                                  capture_output=True, text=True)
            self.assertEqual((done.returncode, done.stdout), (0, ""))


class CommandReference(unittest.TestCase):
    def setUp(self):
        self.text = (kSource / "docs" / "commands.md").read_text()

    def test_every_command_has_a_section_with_its_usage(self):
        headings = re.findall(r"^### (.+)$", self.text, re.M)
        kinds = [block.kind for block in markdownBlocks(self.text)]
        for command in reference.commandList():
            self.assertEqual(headings.count(command["command"]), 1, command["command"])
            self.assertEqual(kinds.count("usage " + command["command"]), 1, command["command"])

    def test_usage_stands_in_the_section_of_its_command(self):
        for section in re.split(r"^### ", self.text, flags=re.M)[1:]:
            command = section.splitlines()[0]
            self.assertIn(f"```usage {command}\n", section)


class HelpTexts(unittest.TestCase):
    def test_every_example_runs(self):
        for command in reference.commandList():
            with Agent("--demo") as agent:
                done = subprocess.run(
                    ["bash", "-c", command["example"]], stdin=subprocess.DEVNULL, capture_output=True,
                    text=True, timeout=kPatience,
                    env={**os.environ, "PATH": f"{kBuild / 'bin'}:{os.environ['PATH']}",
                         "KORVO_L2_SOCKET": agent.socket})
            self.assertEqual(done.returncode, kEnds.get(command["command"], 0),
                             (command["example"], done.stderr))


class BlocksThatAreNotRun(unittest.TestCase):
    def test_each_stands_in_its_document_and_has_its_reason(self):
        for document, listed in kNotRun.items():
            path = kSource / document
            first = [block.lines[0] for block in examples.blocksOf(path, path.read_text()) if block.lines]
            for line, reason in listed.items():
                self.assertIn(line, first, document)
                self.assertTrue(reason)


if __name__ == "__main__":
    unittest.main()
