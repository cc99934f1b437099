"""Plain commands on switches as large as they get. Each is answered in one go, so none may hold up
the agent for long: what is large is cut, and says so."""

import json

import large_state
from korvo import *

# A sanitizer's build takes many times as long, for each row and for those that are shown.
kShare = 5 if kSanitized else 1
kRows = 100_000 // kShare
kMaxRows = 4096
kMaxCounted = 500_000
kChips = 128
kGroups = 4096 // kShare


def multicast():
    ports = [large_state.intf(n) for n in range(20)]
    return json.dumps({
        "version": 1,
        "switch": {"chips": kChips},
        "multicast": {
            "groups": [{"index": n, "vlan": n % 4094 + 1, "ports": ports} for n in range(kGroups)],
            # Every chip holds something else than all others for some groups.
            "hardware": [{"chip": chip, "index": n, "ports": [large_state.intf(chip)]}
                         for chip in range(kChips) for n in range(chip, kGroups, kChips // 16)]}})


def shadows():
    return json.dumps({"version": 1, "shadowTables": {"VLAN_XLATE": [
        {"index": n, "fields": {"port": n % 48, "vlan": n % 4094 + 1, "svp": n % 32768}}
        for n in range(kRows)]}})


def counters():
    return json.dumps({
        "version": 1,
        "vxlan": {"vlans": [{"vlan": n, "vni": 10000 + n} for n in range(1, 4095)]},
        "flexCounters": {
            "trafficSeed": 1,
            "vteps": [{"address": f"10.{n >> 16}.{n >> 8 & 255}.{n & 255}"} for n in range(kRows)],
            "vnis": [{"vni": 10000 + n} for n in range(1, 4095)]}})


class PlainScale(TestCase):
    def agentOf(self, document, *options):
        return Agent("--state", self.write("state.json", document), *options)

    def ask(self, agent, command):
        """Runs a command and gives back the lines of its answer."""
        answer, told = agent.askWithDescriptor(f"plain text {command}\n")
        self.assertEqual(told[-1]["status"], "ok", told[-1]["message"])
        return answer.decode().splitlines()

    def assertCut(self, lines, rows, hint):
        self.assertEqual(lines[-2], f"... {rows - min(rows, kMaxRows)} more; {hint}")
        self.assertEqual(int(lines[-1].split()[0]), rows)
        self.assertIn(len(lines) - min(rows, kMaxRows), range(1, 20))  # heads and totals

    def test_multicast_groups_that_every_chip_holds_otherwise(self):
        with self.agentOf(multicast()) as agent:
            lines = self.ask(agent, "HW_MCAST_ALL")
            differences = self.ask(agent, "HW_MCAST_DIFF")
            for each in (lines, differences):
                self.assertEqual(each[-2],
                                 "... and perhaps more; select one with HW_MCAST_MCIDX+INDEX")
            self.assertEqual(self.ask(agent, "MCAST_ALL")[-1], f"{kGroups} groups")
            one = self.ask(agent, f"HW_MCAST_MCIDX+{kGroups - 1}")
            # One row for each chip that is alone with what it holds, and one for the others.
            self.assertEqual(one[-1], "17 entries")

    def test_shadows_of_large_tables(self):
        with self.agentOf(shadows()) as agent:
            hint = "select one with VAL+INDEX, a chip with CHIP+NUMBER"
            self.assertCut(self.ask(agent, "ShadowShow+VLAN_XLATE"), kRows, hint)
            self.assertCut(self.ask(agent, "ShadowShow+VLAN_XLATE+RAW"), kRows, hint)
            one = self.ask(agent, f"ShadowShow+VLAN_XLATE+VAL+{kRows - 1}")
            self.assertEqual(one[-1], "1 entry")

    def test_translations(self):
        with self.agentOf(large_state.translations(kRows)) as agent:
            self.assertCut(self.ask(agent, "VLAN_XLATE_STATUS_2"), kRows,
                           "the async command VLAN_XLATE_STATUS lists all")
            lines = self.ask(agent, "EGR_VLAN_XLATE_STATUS_2")
            self.assertCut(lines, 2 * kRows, "the async command EGR_VLAN_XLATE_STATUS lists all")

    def test_virtual_ports_of_every_vlan_on_two_hundred_interfaces(self):
        vlans = 4094 // kShare
        with self.agentOf(large_state.vxlan(vlans, 200)) as agent:
            state = self.ask(agent, "VXLAN_DEBUG_STATE")
            self.assertEqual(state[-1], f"{vlans} VLANs")
            usage = self.ask(agent, "VXLAN_SVP_USAGE")
            hint = "ShadowShow+SOURCE_VP+VAL+SVP shows one as the chips have it"
            counted = min(vlans * 200, kMaxCounted)
            if counted == vlans * 200:
                self.assertTrue(state[-2].endswith(" 200"))
                self.assertCut(usage, vlans * 201, hint)
            else:
                self.assertIn(f"  Of those counted by VLAN       : {kMaxCounted}", state)
                self.assertEqual(sum(int(row.split()[-1]) for row in state[-vlans - 1:-1]), counted)
                self.assertEqual(usage[-2:], [f"... and perhaps more; {hint}",
                                              f"at least {counted + vlans} uses"])
            self.assertEqual(self.ask(agent, "VlanVfiMap")[-1],
                             f"{vlans} VLANs; {vlans} of 16384 VFIs in use")

    def test_counters_of_many_tunnel_ends(self):
        with self.agentOf(counters()) as agent:
            self.assertIn(f"... {max(kRows - kMaxRows, 0)} more", self.ask(agent, "FCVDV"))
            self.assertIn(f" {kRows} of 4096", self.ask(agent, "FCVDS")[1])
            for direction in ("Ingress", "Egress"):
                self.assertTrue(self.ask(agent, f"Vni{direction}FlexCountersValues")[-1]
                                .startswith("4094 VNIs; "))
                self.assertIn(" 4094 of 4096",
                              self.ask(agent, f"Vni{direction}FlexCountersSummary")[1])

    def test_router_macs_among_a_million_others(self):
        macs = ["0200.0f00.%04x" % n for n in range(16)]
        document = {"version": 1, "ownRouterMacs": macs, "macTable": {"entries": [
            {"vlan": vlan, "mac": mac, "type": "router"} for vlan in range(1, 4095) for mac in macs[:3]]}}
        with self.agentOf(json.dumps(document), "--macs", 1_000_000 // kShare) as agent:
            lines = self.ask(agent, "PER_VLAN_ENTRY")
            self.assertEqual(lines[-2],
                             "... and perhaps more; select some with PER_VLAN_ENTRY_VLAN-VLAN")
            self.assertEqual(self.ask(agent, "PER_VLAN_ENTRY_VLAN-4094")[-1], "3 entries")

    def test_an_answer_that_nobody_reads_leaves_the_agent_free(self):
        with self.agentOf(shadows()) as agent:
            control, answer = agent.send("plain text ShadowShow+VLAN_XLATE\n")
            with control, answer:
                for _ in range(10):
                    self.assertEqual(agent.ask("plain text NOPE\n"), b"Invalid Command\n")
                self.assertTrue(readAll(answer).endswith(f"\n{kRows} entries\n".encode()))
                self.assertEqual(events(control)[-1]["status"], "ok")
            self.assertAnswers(agent)
