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
        self.assertDumpsEqual(kSource / "tests" / "data" / "bridge-fdb.json")

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
