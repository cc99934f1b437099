"""The VXLAN and VLAN translation dumps of switches as large as they get: no slice holds up the
agent, a dump costs little memory, and every row is there."""

import json
import re

import large_state
from korvo import *

kMiB = 1024 * 1024
# A slice ends with the row that fills the agent's output window, or after so many entries of which
# nothing is printed.
kWindow = 256 * 1024
kLargestRow = 16 * 1024
kSilentEntries = 16384
# A sanitizer's build takes several times as long for each row.
kShare = 10 if kSanitized else 1
kVlans = 4094 // kShare
kPorts = 200
kRows = 100_000 // kShare
# With a sanitizer memory is not the agent's, and the kernel holds all of the smaller dumps.
kRoomIsTheAgents = unittest.skipIf(kSanitized, "a sanitizer's memory is not the agent's")


def anonymous(agent):
    status = pathlib.Path(f"/proc/{agent.process.pid}/status").read_text()
    return int(re.search(r"RssAnon:\s+(\d+) kB", status).group(1)) * 1024


class VxlanScale(TestCase):
    def agentOf(self, document):
        return Agent("--state", self.write("state.json", document))

    def assertSliced(self, agent, line, silent=0):
        """Runs a dump to its end, in as many slices as it takes for none to be long, and gives back its
        answer; of `silent` entries it prints nothing."""
        answer, told = agent.askWithDescriptor(line)
        done = told[-1]
        self.assertEqual(done["status"], "ok", done["message"])
        self.assertGreaterEqual(done["slices"],
                                len(answer) // (kWindow + kLargestRow) + silent // kSilentEntries)
        return answer

    def assertLeavesRoom(self, agent, line, workListBytes=0):
        """While nobody reads the dump, short commands are answered and it costs 2 MiB besides its
        work list; when it was read, and read again, no more is kept."""
        agent.ask("async json MACT_ALL\n")  # what a first dump sets up for all later ones
        before = anonymous(agent)
        control, answer = agent.send(line)
        with control, answer:
            waitUntil(lambda: self.isStalled(agent))
            for _ in range(10):
                self.assertEqual(agent.ask("plain text NOPE\n"), b"Invalid Command\n")
            self.assertLessEqual(anonymous(agent) - before, workListBytes + 2 * kMiB)
            text = readAll(answer)
            self.assertEqual(events(control)[-1]["status"], "ok")
        once = anonymous(agent)
        for _ in range(3):
            self.assertEqual(agent.ask(line), text)
        self.assertLessEqual(anonymous(agent) - once, kMiB)
        self.assertAnswers(agent)

    def isStalled(self, agent):
        requests = agent.askJson("agent json requests\n")["requests"]
        return "waiting for its reader" in [request["state"] for request in requests]

    def test_every_vlan_on_two_hundred_interfaces(self):
        with self.agentOf(large_state.vxlan(kVlans, kPorts)) as agent:
            vlans = json.loads(self.assertSliced(agent, "async json VXLAN_VLANdetail\n"))["vlans"]
            self.assertEqual(list(vlans), [str(vlan) for vlan in range(1, kVlans + 1)])
            for name, told in vlans.items():
                vlan = int(name)
                self.assertEqual(told, {
                    "vni": 10000 + vlan, "vfi": 4096 + vlan, "mcastIndex": vlan,
                    "vlanSvp": 20000 + vlan,
                    "virtualPorts": {large_state.intf(n): (vlan * 7 + n) % 65536
                                     for n in range(kPorts)}})
            self.assertEqual(list(vlans["1"]["virtualPorts"]),
                             [large_state.intf(n) for n in range(kPorts)])

            text = self.assertSliced(agent, "async text VXLAN_VLANdetail\n").decode()
            self.assertEqual(text.count("\n"), kVlans * (5 + kPorts))
            self.assertTrue(text.endswith(
                f"      {large_state.intf(kPorts - 1)}: SVP {(kVlans * 7 + kPorts - 1) % 65536}\n"))

            routing = json.loads(self.assertSliced(agent, "async json VXLAN_ROUTING_INFO\n"))
            self.assertEqual({int(vlan): told["svp"] for vlan, told in routing["vlans"].items()},
                             {vlan: 20000 + vlan for vlan in range(1, kVlans + 1)})

    @kRoomIsTheAgents
    def test_a_dump_of_every_vlan_leaves_room_for_others(self):
        with self.agentOf(large_state.vxlan(kVlans, kPorts)) as agent:
            # Twelve bytes of the work list for every interface of every VLAN.
            for form in ("text", "json"):
                self.assertLeavesRoom(agent, f"async {form} VXLAN_VLANdetail\n",
                                      12 * kVlans * kPorts)

    def test_one_vlan_on_very_many_interfaces(self):
        with self.agentOf(large_state.oneVlanOnMany(kRows)) as agent:
            vlans = json.loads(self.assertSliced(agent, "async json VXLAN_VLANdetail\n"))["vlans"]
            self.assertEqual(vlans["10"]["virtualPorts"],
                             {large_state.intf(n): (70 + n) % 65536 for n in range(kRows)})
            text = self.assertSliced(agent, "async text VXLAN_VLANdetail\n").decode()
            self.assertEqual(text.count("\n"), 5 + kRows)

    def test_as_many_translations_as_chips_hold(self):
        with self.agentOf(large_state.translations(kRows)) as agent:
            ingress = self.assertSliced(agent, "async text VLAN_XLATE_STATUS\n").decode()
            rows = re.findall(r"^(Et\S+) +(\d+) +(\d+) +(\d+) +$", ingress, re.M)
            self.assertEqual(rows, [
                ("Et" + large_state.intf(n // 1000)[8:], str(tag), str(tag + 1), str(tag + 100))
                for n in range(kRows) for tag in [n % 1000 + 1]])
            self.assertTrue(ingress.endswith(f"Number of port-vlan/svp entries : {kRows}\n"))

            egress = self.assertSliced(agent, "async text EGR_VLAN_XLATE_STATUS\n").decode()
            self.assertEqual(egress.count("\nEt"), kRows)
            self.assertEqual(len(re.findall(r"^\d+ +\d+ +Et", egress, re.M)), kRows)
            self.assertIn(f"Number of egress port vlan translation entries : {kRows}\n", egress)
            self.assertIn(f"Number of egress DVP-Vlan translation entries : {kRows}\n", egress)
            for command in ("VLAN_XLATE_STATUS", "EGR_VLAN_XLATE_STATUS"):
                self.assertEqual(self.assertSliced(agent, f"async json {command}\n"), b"{}\n")

    @kRoomIsTheAgents
    def test_dumps_of_translations_leave_room_for_others(self):
        with self.agentOf(large_state.translations(kRows)) as agent:
            for command in ("VLAN_XLATE_STATUS", "EGR_VLAN_XLATE_STATUS"):
                self.assertLeavesRoom(agent, f"async text {command}\n")

    def test_ranges_of_two_thousand_interfaces(self):
        intfs, each = 2000, 300
        with self.agentOf(large_state.ranges(intfs, each)) as agent:
            told = json.loads(self.assertSliced(agent, "async json ING_VLAN_RANGE\n"))
            ranges = [{"first": 10 * i + 10, "last": 10 * i + 14} for i in range(each)]
            self.assertEqual(told["intfVlanRanges"], {
                large_state.intf(n): {"logicalPort": n, "portChannel": "",
                                      "oversize": 4 + n % 8 > 8, "ranges": ranges}
                for n in range(intfs)})
            text = self.assertSliced(agent, "async text ING_VLAN_RANGE\n").decode()
            self.assertEqual(len(re.findall(f"^Ethernet.* {each} VLAN ranges:", text, re.M)), intfs)

    @kRoomIsTheAgents
    def test_a_dump_of_ranges_leaves_room_for_others(self):
        with self.agentOf(large_state.ranges(2000, 300)) as agent:
            for form in ("text", "json"):
                self.assertLeavesRoom(agent, f"async {form} ING_VLAN_RANGE\n")

    def test_interfaces_without_ranges_take_no_slice_too_long(self):
        # Their names sort among and behind those that have ranges.
        with self.agentOf(large_state.ranges(20, silent=kRows)) as agent:
            told = json.loads(self.assertSliced(agent, "async json ING_VLAN_RANGE\n", silent=kRows))
            self.assertEqual(len(told["intfVlanRanges"]), 20)
