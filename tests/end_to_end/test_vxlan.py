"""The VXLAN and VLAN translation dumps of a real agent: what they print of the demo switch, to the
byte, of switches that lack something, and of those that contradict themselves."""

import json

from korvo import *

kTranscripts = kSource / "tests" / "transcripts" / "demo"
# Request line by the name of the file that holds its whole answer.
kDumps = {
    "vxlan-vlan.txt": "async text VXLAN_VLAN\n",
    "vxlan-vlan.json": "async json VXLAN_VLAN\n",
    "vxlan-vlan-detail.txt": "async text VXLAN_VLANdetail\n",
    "vxlan-vlan-detail.json": "async json VXLAN_VLANdetail\n",
    "vxlan-vlan-summary.txt": "sync text VXLAN_VLAN_SUMMARY\n",
    "vxlan-vlan-summary.json": "sync json VXLAN_VLAN_SUMMARY\n",
    "vxlan-routing-info.txt": "async text VXLAN_ROUTING_INFO\n",
    "vxlan-routing-info.json": "async json VXLAN_ROUTING_INFO\n",
    "ing-vlan-range.txt": "async text ING_VLAN_RANGE\n",
    "ing-vlan-range.json": "async json ING_VLAN_RANGE\n",
    "vlan-xlate-status.txt": "async text VLAN_XLATE_STATUS\n",
    "vlan-xlate-status.json": "async json VLAN_XLATE_STATUS\n",
    "egr-vlan-xlate-status.txt": "async text EGR_VLAN_XLATE_STATUS\n",
    "egr-vlan-xlate-status.json": "async json EGR_VLAN_XLATE_STATUS\n",
}

# The same by the words of the client.
kClientWords = {
    "vxlan-vlan.txt": "show vxlan vlan",
    "vxlan-vlan-detail.txt": "show vxlan vlan --detail",
    "vxlan-vlan-detail.json": "show vxlan vlan --detail --json",
    "vxlan-vlan-summary.txt": "show vxlan vlan summary",
    "vxlan-vlan-summary.json": "show vxlan vlan summary --json",
    "vxlan-routing-info.txt": "show vxlan routing",
    "vxlan-routing-info.json": "show vxlan routing --json",
    "ing-vlan-range.txt": "show vlan range ingress",
    "ing-vlan-range.json": "show vlan range ingress --json",
    "vlan-xlate-status.txt": "show vlan translation ingress",
    "egr-vlan-xlate-status.txt": "show vlan translation egress",
}


def transcript(name):
    return (kTranscripts / name).read_bytes()


class VxlanDumps(TestCase):
    def agentOf(self, **sections):
        document = {"version": 1, **sections}
        return Agent("--state", self.write("state.json", json.dumps(document)))

    def test_the_demo_is_dumped_to_the_byte(self):
        with Agent("--demo") as agent:
            for name, line in kDumps.items():
                with self.subTest(name):
                    answer, told = agent.askWithDescriptor(line)
                    self.assertEqual(told[-1]["status"], "ok")
                    self.assertEqual(answer.decode(), transcript(name).decode())

    def test_the_client_has_words_for_every_dump(self):
        with Agent("--demo") as agent:
            for name, words in kClientWords.items():
                with self.subTest(words):
                    shown = agent.client(*words.split())
                    self.assertEqual((shown.returncode, shown.stderr), (0, b""))
                    self.assertEqual(shown.stdout.decode(), transcript(name).decode())

    def test_the_bytes_are_the_same_at_every_slice_budget(self):
        for budget in (("--slice-rows", 1), ("--slice-rows", 3), ("--slice-bytes", 1)):
            with Agent("--demo", *budget) as agent:
                for name, line in kDumps.items():
                    with self.subTest(name, budget=budget):
                        self.assertEqual(agent.ask(line).decode(), transcript(name).decode())

    def test_text_and_json_of_the_vlans_tell_the_same(self):
        with Agent("--demo") as agent:
            vlans = agent.askJson("async json VXLAN_VLANdetail\n")["vlans"]
            text = agent.ask("async text VXLAN_VLANdetail\n").decode()
            for vlan in re.split(r"^Vlan ", text, flags=re.M)[1:]:
                number, told = vlan.split(":\n", 1)
                # A VLAN without mapping goes by that of the default one.
                inJson = vlans["1" if number == "40" else number]
                vni, vfi = re.match(r"   VNI (\d+), VFI (\d+):\n", told).groups()
                self.assertEqual((int(vni), int(vfi)), (inJson["vni"], inJson["vfi"]))
                self.assertEqual(dict((intf, int(svp)) for intf, svp in
                                      re.findall(r"^      (\S+): SVP (\d+)$", told, re.M)),
                                 inJson["virtualPorts"])

    def test_an_asynchronous_summary_is_the_dump_of_vlans(self):
        with Agent("--demo") as agent:
            self.assertEqual(agent.ask("async text VXLAN_VLAN_SUMMARY\n").decode(),
                             transcript("vxlan-vlan.txt").decode())

    def test_an_empty_switch_has_empty_dumps(self):
        with self.agentOf(l2TableFeature={"ingVlanRange": True}) as agent:
            self.assertEqual(agent.ask("async text VXLAN_VLANdetail\n"), b"")
            self.assertEqual(agent.ask("async json VXLAN_VLAN\n"), b'{"vlans":{}}\n')
            self.assertEqual(
                agent.ask("async text VXLAN_ROUTING_INFO\n"),
                b"\nRecirc-channel NOT configured\n\nRouter MAC: 0000.0000.0000\n"
                b"Virtual router MAC not configured\n\nORVA VTEP IP not configured\n\n")
            self.assertEqual(agent.ask("async json VXLAN_ROUTING_INFO\n"),
                             b'{"routerMac":"0000.0000.0000","vlans":{}}\n')
            self.assertEqual(agent.ask("async text ING_VLAN_RANGE\n"), b"")
            self.assertEqual(agent.ask("async json ING_VLAN_RANGE\n"), b'{"intfVlanRanges":{}}\n')
            self.assertEqual(agent.ask("async text VLAN_XLATE_STATUS\n"),
                             b"Number of Vxlan DIP entries : 0\n\nNumber of Vlan SVP entries : 0\n"
                             b"Number of port-vlan/svp entries : 0\n")
            self.assertEqual(agent.ask("async text EGR_VLAN_XLATE_STATUS\n"),
                             b"Number of Vlan to VNI mapping entries : 0\n\n"
                             b"Number of egress port vlan translation entries : 0\n"
                             b"Number of egress DVP-Vlan translation entries : 0\n"
                             b"\nNumber of INT Opaque entries : 0\n\n")

    def test_a_switch_that_contradicts_itself_is_shown_as_it_is(self):
        vlans = [{"vlan": 10, "vni": 10010, "vfi": 7, "mappingVlan": 20, "mcastIndex": 1,
                  "vlanSvp": 16, "edgePorts": {"Ethernet1": 33}},
                 {"vlan": 20, "listed": False, "mcastIndex": 2, "vlanSvp": 17,
                  "svpConfigured": False}]
        with self.agentOf(vxlan={"vlans": vlans}) as agent:
            # The mapping's VLAN finds the rest, but for the interfaces.
            self.assertEqual(
                agent.ask("async text VXLAN_VLANdetail\n"),
                b"Vlan 10:\n   VNI 10010, VFI 7:\n   Mcast index: 2\n   Vlan SVP: 17\n"
                b"   Interfaces:\n      Ethernet1: SVP 33\n")
            self.assertEqual(
                agent.ask("async json VXLAN_VLANdetail\n"),
                b'{"vlans":{"20":{"vni":10010,"vfi":7,"mcastIndex":2,"vlanSvp":17,'
                b'"virtualPorts":{"Ethernet1":33}}}}\n')
            routing = agent.askJson("async json VXLAN_ROUTING_INFO\n")["vlans"]
            self.assertEqual({vlan: told["svpConfigured"] for vlan, told in routing.items()},
                             {"10": True, "20": False})

    def test_what_a_dump_says_loads_again(self):
        with Agent("--demo") as agent:
            told = agent.askJson("async json VXLAN_VLANdetail\n")["vlans"]
            routing = agent.askJson("async json VXLAN_ROUTING_INFO\n")
        told.pop("1")  # of a VLAN without mapping the dump does not say which one it is
        vlans = []
        for vlan, said in told.items():
            ports = said.pop("virtualPorts")
            configured = routing["vlans"][vlan]["svpConfigured"]
            vlans.append({**said, "vlan": int(vlan), "edgePorts": ports,
                          "svpConfigured": configured})
            said["virtualPorts"] = ports
        addresses = {name: routing[name] for name in ("routerMac", "virtualRouterMac")}
        ends = {name: routing[name] for name in ("orvaVtepIp", "orvaVtepIp6")}
        with self.agentOf(routing=addresses,
                          vxlan={**ends, "vlans": vlans,
                                 "recircIntf": routing["recircChannel"]}) as agent:
            self.assertEqual(agent.askJson("async json VXLAN_VLANdetail\n")["vlans"], told)
            again = agent.askJson("async json VXLAN_ROUTING_INFO\n")
            for member in again:
                if member != "vlans":  # those tell of the MAC table too
                    self.assertEqual(again[member], routing[member])
            self.assertEqual({vlan: (said["svp"], said["svpConfigured"])
                              for vlan, said in again["vlans"].items()},
                             {vlan: (said["svp"], said["svpConfigured"])
                              for vlan, said in routing["vlans"].items()})

    def test_a_tunnel_end_of_ipv6_alone_has_its_port(self):
        with self.agentOf(vxlan={"orvaVtepIp6": "2001:db8::1", "recircIntf": "Recirc-Channel1",
                                 "capabilities": {"singlePassRouting": True}}) as agent:
            text = agent.ask("async text VXLAN_ROUTING_INFO\n").decode()
            self.assertIn("ORVA VTEP IPv6: 2001:db8::1\n   SVP: 3\n", text)
            self.assertNotIn("ORVA VTEP IP not configured", text)
            self.assertIn("Recirc-channel NOT configured\n", text, "none is in use")

    def test_chips_without_dynamic_ranges_look_them_up_by_port(self):
        sections = {
            "interfaces": {"Ethernet1": {"port": {"module": 1, "port": 11, "logicalFap": 2},
                                         "hwIndex": 31}},
            "vlanRanges": {"size": 1, "scale": {"Ethernet1": 2}, "programmed": [
                {"logicalFap": 2, "logicalPort": 11, "ranges": ["10-20"]},
                {"logicalFap": 2, "logicalPort": 31, "ranges": ["30-40"]}]}}
        for dynamic, port, first in ((False, 11, 10), (True, 31, 30)):
            feature = {"ingVlanRange": True, "ingVlanDynamicRange": dynamic}
            with self.agentOf(l2TableFeature=feature, **sections) as agent:
                told = agent.askJson("async json ING_VLAN_RANGE\n")["intfVlanRanges"]["Ethernet1"]
                self.assertEqual((told["logicalPort"], told["ranges"][0]["first"]), (port, first))
                self.assertTrue(told["oversize"])

    def test_chips_that_cannot_have_no_handler(self):
        for line, sections in (
                ("ING_VLAN_RANGE", {}),
                ("ING_VLAN_RANGE", {"l2TableFeature": {"ingVlanRange": True,
                                                       "ingVlanRangeDisabled": True}}),
                ("VLAN_XLATE_STATUS", {"chipAttributes": {"quorra2": {"egrVlanXlate": True}}}),
                ("EGR_VLAN_XLATE_STATUS", {"chipAttributes": {"quorra2": {}}})):
            with self.subTest(line), self.agentOf(**sections) as agent:
                answer, told = agent.askWithDescriptor(f"async text {line}\n")
                self.assertEqual((answer, told[-1]["status"]), (b"", "no-handler"))

    def test_an_object_that_is_missing_is_not_ready_and_leaves_the_others_be(self):
        commands = ("VXLAN_VLAN", "VXLAN_ROUTING_INFO", "ING_VLAN_RANGE", "VLAN_XLATE_STATUS",
                    "EGR_VLAN_XLATE_STATUS")
        for missing, concerned in (
                ("vxlanL2Sm", {"VXLAN_VLAN"}),
                ("vlanXlateSm", {"VLAN_XLATE_STATUS", "EGR_VLAN_XLATE_STATUS"}),
                ("ingVlanRangeSm", {"ING_VLAN_RANGE"}),
                ("macTblShadow", {"VXLAN_ROUTING_INFO"})):
            with self.agentOf(readiness={missing: False},
                              l2TableFeature={"ingVlanRange": True}) as agent:
                for command in commands:
                    with self.subTest(missing, command=command):
                        answer, told = agent.askWithDescriptor(f"async text {command}\n")
                        if command in concerned:
                            self.assertEqual((answer, told[-1]["status"]), (b"", "not-ready"))
                        else:
                            self.assertEqual(told[-1]["status"], "ok")
