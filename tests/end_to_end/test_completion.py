"""The completion scripts in the shells that they are for."""

import json
import os
import pathlib
import shutil
import subprocess
import unittest

from korvo import *

kScripts = kBuild / "completions"


class Completion(TestCase):
    def complete(self, *words, socket="/nowhere/agent.sock"):
        """What bash offers for the last word."""
        script = """
            source "$1"; shift
            COMP_WORDS=("$@") COMP_CWORD=$(($# - 1))
            _korvoctl
            [[ ${#COMPREPLY[@]} -eq 0 ]] || printf '%s\\n' "${COMPREPLY[@]}"
            """
        done = subprocess.run(
            ["bash", "-u", "-c", script, "bash", kScripts / "korvoctl.bash", kClient, *words],
            env={**os.environ, "KORVO_L2_SOCKET": socket}, stdin=subprocess.DEVNULL,
            capture_output=True, text=True, timeout=kPatience)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        return done.stdout.splitlines()

    def test_first_words_of_commands(self):
        self.assertEqual(self.complete(""),
                         ["show", "check", "clear", "agent", "commands", "raw", "help"])
        self.assertEqual(self.complete("ch"), ["check"])
        self.assertEqual(self.complete("show", "m"), ["mac", "multicast", "mlag"])
        self.assertEqual(self.complete("show", "vxlan", "counters", "vni", ""),
                         ["ingress", "egress"])
        self.assertEqual(self.complete("nonsense", "sho"), ["show"])
        self.assertEqual(self.complete("help", "show", "vl"), ["vlan"])

    def test_every_command_is_reached_word_by_word(self):
        listed = json.loads(subprocess.run([kClient, "commands", "--json"], capture_output=True,
                                           timeout=kPatience).stdout)
        for command in listed["commands"]:
            words = command["command"].split()
            for i, word in enumerate(words):
                self.assertIn(word, self.complete(*words[:i], word[:1]))
            offered = self.complete(*words, "--")
            for option in command["options"]:
                self.assertIn(option["name"], offered)
            self.assertEqual("--json" in offered, command["json"])

    def test_options_of_the_command_and_those_of_all(self):
        self.assertEqual(self.complete("show", "router-mac", "--"),
                         ["--vlan", "--mac", "--help", "--socket", "--timeout", "--silence",
                          "--no-progress"])
        self.assertEqual(self.complete("show", "mac", "hardware", "--chip", "0", "--d"),
                         ["--detail"])
        self.assertEqual(self.complete("--v"), ["--version"])

    def test_options_follow_where_no_word_can(self):
        self.assertIn("--differences", self.complete("show", "multicast", "groups", "hardware", ""))
        # Here a word can.
        self.assertEqual(self.complete("show", "vxlan", "vlan", ""), ["summary"])

    def test_values_of_options_are_not_taken_for_commands(self):
        self.assertEqual(self.complete("-s", "show", "ag"), ["agent"])
        self.assertEqual(self.complete("show", "router-mac", "--vlan", ""), [])
        self.assertEqual(self.complete("show", "mac", "hardware", "--chip", "=", "0", "--js"),
                         ["--json"])

    def test_sockets_are_completed_as_files(self):
        path = self.write("agent socket", "")
        self.assertEqual(self.complete("-s", str(path)[:-3]), [str(path)])

    def test_raw_offers_its_entries_and_formats(self):
        self.assertEqual(self.complete("raw", ""), ["plain", "sync", "async", "agent"])
        self.assertEqual(self.complete("raw", "async", ""), ["text", "json"])
        self.assertEqual(self.complete("raw", "async", "json", "MACT"), [])

    def test_chips_come_from_the_running_agent(self):
        chips = ("show", "mac", "hardware", "--chip")
        with Agent("--demo") as agent:
            both = {"socket": agent.socket}
            self.assertEqual(self.complete(*chips, "", **both),
                             ["0", "Linecard3/0", "1", "Linecard3/1", "2", "Linecard4/0"])
            self.assertEqual(self.complete(*chips, "Linecard4", **both), ["Linecard4/0"])
            self.assertEqual(self.complete(*chips, "0,Linecard3/", **both),
                             ["0,Linecard3/0", "0,Linecard3/1"])
            self.assertEqual(self.complete(*chips, "=", **both)[:1], ["0"])
            self.assertEqual(self.complete("show", "shadow", "vfi", "--chip", "L", **both)[:1],
                             ["Linecard3/0"])
            self.assertEqual(self.complete("-s", agent.socket, *chips, "1"), ["1"])

    def test_without_an_agent_there_are_no_chips_and_no_noise(self):
        self.assertEqual(self.complete("check", "mac", "diff", "--chip", ""), [])

    def test_names_of_chips_are_never_run(self):
        state = self.write("state.json", json.dumps(
            {"version": 1, "switch": {"chips": [
                {"id": 0, "name": "$(touch harm);`touch harm`"}]}}))
        with Agent("--state", state) as agent:
            offered = self.complete("check", "mac", "diff", "--chip", "$", socket=agent.socket)
            self.assertEqual(offered, ["\\$\\(touch\\ harm\\)\\;\\`touch\\ harm\\`"])
            self.assertFalse(pathlib.Path("harm").exists())

    @unittest.skipUnless(shutil.which("zsh"), "there is no zsh here")
    def test_zsh_reads_its_script(self):
        subprocess.run(["zsh", "-n", kScripts / "korvoctl.zsh"], check=True, timeout=kPatience)
