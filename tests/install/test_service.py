"""The service unit."""

import configparser
import os
import re
import shutil
import unittest

from installed import TestCase

kAnalyze = shutil.which("systemd-analyze")
kNoSystemd = "systemd-analyze is not installed (Debian package systemd)"


class Options(dict):
    """A section of a unit: a key may come again, and then adds to what is there."""

    def __setitem__(self, key, value):
        if isinstance(value, list) and key in self:
            value = self[key] + value
        super().__setitem__(key, value)


class Service(TestCase):
    def setUp(self):
        super().setUp()
        self.prefix = self.install("runtime")
        self.unit = self.prefix / "lib/systemd/system/korvo-l2-agent.service"

    def read(self):
        parser = configparser.ConfigParser(dict_type=Options, strict=False, interpolation=None)
        parser.optionxform = str
        parser.read_string(self.unit.read_text())
        return parser["Service"]

    def unitOfThisTree(self):
        """The unit as if it had been configured for the temporary folder it lies in."""
        text = self.unit.read_text()
        here = re.sub(r"(?m)^ExecStart=\S*/korvo-l2-agent ",
                      f"ExecStart={self.prefix}/bin/korvo-l2-agent ", text)
        self.assertNotEqual(here, text)
        copy = self.folder / "korvo-l2-agent.service"
        copy.write_text(here)
        return copy

    @unittest.skipUnless(kAnalyze, kNoSystemd)
    def test_is_a_unit_that_systemd_accepts_without_a_remark(self):
        self.assertEqual(self.run_(kAnalyze, "verify", "--man=no", self.unitOfThisTree()), "")

    @unittest.skipUnless(kAnalyze, kNoSystemd)
    def test_leaves_an_intruder_next_to_nothing(self):
        # The threshold is in tenths, on systemd's scale from 0 (safe) to 10.
        said = self.run_(kAnalyze, "security", "--offline=yes", "--threshold=10", "--no-pager",
                         self.unitOfThisTree())
        self.assertRegex(said, r"Overall exposure level for korvo-l2-agent.service: 0\.\d")

    def test_serves_where_the_programs_look_for_it(self):
        service = self.read()
        socket = re.search(r"--socket (\S+)", service["ExecStart"])[1]
        self.assertEqual(socket.rsplit("/", 1)[0], "/run/" + service["RuntimeDirectory"])
        self.assertIn(f"(default {socket})", self.run_(self.prefix / "bin/korvo-l2-agent", "--help"))
        if not os.path.exists(socket):
            environment = {key: value for key, value in os.environ.items()
                           if key != "KORVO_L2_SOCKET"}
            said = self.run_(self.prefix / "bin/korvoctl", "agent", "status", status=4,
                             env=environment)
            self.assertIn(f"no agent answers at {socket}", said)

    def test_runs_as_the_user_that_is_declared_with_it(self):
        declared = (self.prefix / "lib/sysusers.d/korvo-l2.conf").read_text()
        user = re.search(r"(?m)^u (\S+) ", declared)[1]
        self.assertEqual([self.read()["User"], self.read()["Group"]], [user, user])
