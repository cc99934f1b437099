"""The forwarding table of a real Linux bridge, through the agent and back."""

import json
import random
import subprocess
import uuid

from korvo import *


def bridgeEntries(document):
    """(VLAN, MAC, interface) of what a bridge forwards by; 0 for entries outside any VLAN."""
    return {(entry.get("vlan", 0), dotted(entry["mac"]), entry["ifname"])
            for entry in document if "master" in entry}


kRecorded = kSource / "tests" / "data" / "bridge-fdb.json"
kReason = "the MAC table came from a real machine (--bridge-json); no chip of this switch holds it, " \
          "so there is nothing to read or to compare it with"


class NoHardware(TestCase):
    def assertNotReady(self, agent):
        for command in ("MACT_DIFF", "MACT_DIFF0", "MACT_MISSING0", "MACT_MISSINGdetail+0",
                        "MACT_HW_ALL0", "MACT_HW_ALL"):
            for form in ("text", "json"):
                answer, told = agent.askWithDescriptor(f"async {form} {command}\n")
                self.assertEqual((answer, told[-1]["status"], told[-1]["message"]),
                                 (b"", "not-ready", kReason), command)
                self.assertEqual(agent.ask(f"async {form} {command}\n"), b"")
        for words in (["check", "mac", "diff"], ["check", "mac", "missing", "--json"],
                      ["show", "mac", "hardware"], ["check", "mac", "diff", "--chip", "0"],
                      ["show", "mac", "hardware", "--detail", "--chip", "0"]):
            done = agent.client(*words, text=True)
            self.assertEqual((done.returncode, done.stdout), (4, ""), words)
            self.assertIn(kReason, done.stderr)

    def test_a_real_machines_table_is_not_compared_with_chips_made_up_from_it(self):
        chips = self.write("state.json", '{"version": 1, "switch": {"chips": [{"id": 0, "name": "a"}]}}')
        entries = bridgeEntries(json.loads(kRecorded.read_text()))
        for others in ([], ["--chips", 3], ["--demo"], ["--state", chips], ["--macs", 100],
                       ["--churn", 1000]):
            with self.subTest(others), Agent("--bridge-json", kRecorded, *others) as agent:
                self.assertNotReady(agent)
                # The table itself is there, and everything else is as it ever was.
                rows = set(jsonRows(agent.askJson("async json MACT_ALL\n")))
                if "--churn" not in others:
                    self.assertLessEqual(entries, rows)
                self.assertAnswers(agent)

    def test_what_would_make_up_chips_tables_is_refused(self):
        for option, value in (("--hw-faults", 0.5), ("--hw-rate", 100), ("--hw-table-size", 4096)):
            status, out, err = runAgent("--bridge-json", kRecorded, option, value)
            self.assertEqual((status, out), (2, ""))
            self.assertIn(option, err)
            self.assertIn("--bridge-json", err)
        missing = '{"id": 0, "name": "a", "missing": [{"vlan": 10, "mac": "0200.000a.0100"}]}'
        state = self.write("state.json", '{"version": 1, "switch": {"chips": [%s]}}' % missing)
        status, out, err = runAgent("--bridge-json", kRecorded, "--state", state)
        self.assertEqual((status, out), (2, ""))
        self.assertIn(f"{state}: /switch/chips/0: no chip holds the MAC table", err)


class LinuxBridge(TestCase):
    def assertDumpsEqual(self, path):
        expected = bridgeEntries(json.loads(pathlib.Path(path).read_text()))
        self.assertGreater(len(expected), 0)
        with Agent("--bridge-json", path) as agent:
            rows = jsonRows(agent.askJson("async json MACT_ALL\n"))
            self.assertEqual(set(rows), expected)
            self.assertEqual(len(rows), len(expected))
            rows = textRows(agent.ask("async text MACT_ALL\n"))
            self.assertEqual(set(rows), expected)
            self.assertEqual(len(rows), len(expected))
            shown = agent.client("show", "mac", "address-table", "--json")
            self.assertEqual(set(jsonRows(json.loads(shown.stdout))), expected)
        return expected

    def test_recorded_forwarding_table_comes_out_as_it_went_in(self):
        self.assertDumpsEqual(kRecorded)

    def test_forwarding_table_of_a_bridge_in_this_kernel_comes_out_as_it_is(self):
        space = f"korvo-{uuid.uuid4().hex[:8]}"
        if subprocess.run(["ip", "netns", "add", space], capture_output=True).returncode != 0:
            self.skipTest("network namespaces are not permitted here")
        self.addCleanup(subprocess.run, ["ip", "netns", "del", space], check=True)

        def run(*words, **options):
            return subprocess.run(["ip", "netns", "exec", space, *words], check=True,
                                  capture_output=True, text=True, **options).stdout

        def permitted(*words):
            return subprocess.run(["ip", "netns", "exec", space, *words],
                                  capture_output=True).returncode == 0

        # A kernel built without VLAN filtering still has a table to compare, outside any VLAN.
        vlans = [1, 2, 10, 100, 4094]
        if not permitted("ip", "link", "add", "br0", "type", "bridge", "vlan_filtering", "1"):
            vlans = [0]
            if not permitted("ip", "link", "add", "br0", "type", "bridge"):
                self.skipTest("this kernel makes no bridges")
        ports = [f"swp{number}" for number in range(1, 9)]
        for port in ports:
            run("ip", "link", "add", port, "type", "veth", "peer", "name", f"{port}-peer")
            run("ip", "link", "set", f"{port}-peer", "up")
            run("ip", "link", "set", port, "master", "br0", "up")
            for vlan in filter(None, vlans):
                run("bridge", "vlan", "add", "dev", port, "vid", str(vlan))
        run("ip", "link", "set", "br0", "up")
        chance = random.Random(20260401)
        lines = []
        wanted = set()
        for number in range(4000):
            mac = "02:%02x:%02x:%02x:%02x:%02x" % tuple(chance.randrange(256) for _ in range(5))
            vlan, port = chance.choice(vlans), chance.choice(ports)
            kind = chance.choice(("static", "dynamic"))
            inVlan = f"vlan {vlan} " if vlan else ""
            lines.append(f"fdb add {mac} dev {port} {inVlan}master {kind}")
            wanted.add((vlan, dotted(mac), port))
        run("bridge", "-batch", "-", input="\n".join(lines) + "\n")
        path = self.write("fdb.json", run("bridge", "-j", "fdb", "show"))
        found = self.assertDumpsEqual(path)
        self.assertLessEqual(wanted, found)
