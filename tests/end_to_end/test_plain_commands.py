"""Every keyword of the plain entry, through the socket of a real agent: what it answers on the demo
switch, to the byte, and what an agent says that is not ready for it."""

import json

from korvo import *

kTranscripts = kSource / "tests" / "transcripts" / "demo" / "plain"

# One session in the order in which the agent looks for keywords: the command by the name of the file
# that holds its whole answer. Clearing the shadow shows in what follows.
kSession = {
    "ecmp-tunnel": "EcmpOutputIntfTunnelId+dst-mac=0200.0200.0002,vlan-id=10,ingress-intf-id=Ethernet3/1",
    "ecmp-tunnel-of-access-vlan":
        "EcmpOutputIntfTunnelId+dst-mac=0200.0200.0002,vlan-id=0,ingress-intf-id=Ethernet3/3",
    "egr-mask-status": "EGR_MASK_STATUS",
    "egr-vlan-xlate-status-2": "EGR_VLAN_XLATE_STATUS_2",
    "fcvds": "FCVDS",
    "fcvdv": "FCVDV",
    "hw-fiforeg": "HW_FIFOREG",
    "hw-mcast-all": "HW_MCAST_ALL",
    "hw-mcast-diff": "HW_MCAST_DIFF",
    "hw-mcast-clear": "HW_MCAST_CLEAR",
    "hw-mcast-diff-cleared": "HW_MCAST_DIFF",
    "hw-mcast-mcidx": "HW_MCAST_MCIDX+3",
    "hw-mcast-mcidx-absent": "HW_MCAST_MCIDX+50",
    "hw-mcast-mcidx-outside": "HW_MCAST_MCIDX+4096",
    "mcast-all": "MCAST_ALL",
    "per-vlan-entry": "PER_VLAN_ENTRY",
    "per-vlan-entry-vlan": "PER_VLAN_ENTRY_VLAN-10",
    "per-vlan-entry-mac": "PER_VLAN_ENTRY_MAC-0200.0f00.0002",
    "shadow-egr-vfi": "ShadowShow+EGR_VFI",
    "shadow-egr-xlate-2": "ShadowShow+EGR_XLATE_2",
    "shadow-egr-xlate": "ShadowShow+EGR_XLATE+CHIP+1",
    "shadow-evtap": "ShadowShow+EVTAP",
    "shadow-ivtap": "ShadowShow+IVTAP+RAW",
    "shadow-source-vp": "ShadowShow+SOURCE_VP",
    "shadow-vfi": "ShadowShow+VFI",
    "shadow-vfi-all": "ShadowShow+VFI+ALLENTRIES",
    "shadow-vfi-chip": "ShadowShow+VFI+CHIP+2",
    "shadow-vfi-no-chip": "ShadowShow+VFI+CHIP+7",
    "shadow-vfi-raw": "ShadowShow+VFI+RAW+VAL+4106",
    "shadow-vlan-xlate-2": "ShadowShow+VLAN_XLATE_2",
    "shadow-vlan-xlate": "ShadowShow+VLAN_XLATE",
    "shadow-vlan-xlate-val": "ShadowShow+VLAN_XLATE+VAL+70",
    "vlan-xlate-status-2": "VLAN_XLATE_STATUS_2",
    "vxlan-debug-state": "VXLAN_DEBUG_STATE",
    "vxlan-svp-usage": "VXLAN_SVP_USAGE",
    "vni-egress-summary": "VniEgressFlexCountersSummary",
    "vni-egress-values": "VniEgressFlexCountersValues",
    "vni-ingress-summary": "VniIngressFlexCountersSummary",
    "vni-ingress-values": "VniIngressFlexCountersValues",
    "vlan-vfi-map": "VlanVfiMap",
}
# Those that answer with nothing, which is what they do.
kSilent = {"hw-mcast-clear"}

# The command that finds each object missing, and what is said then.
kMissing = {
    "mcastHelper": ("MCAST_ALL", "no mcastHelper"),
    "l2ModFifoMonitorSm": ("HW_FIFOREG", "no l2ModFifoMonitorSm"),
    "mlagHelper": ("EGR_MASK_STATUS", "no mlagHelper"),
    "vfiAllocatorSm": ("VlanVfiMap", "no vfiAllocatorSm"),
    "flexCounter": ("FCVDV", "no flexCounter"),
    "l2CmdRingManager": ("ShadowShow+VFI", "no l2CmdRingManager"),
    "vxlanL2Sm": ("VXLAN_DEBUG_STATE", "no vxlanL2 Sm"),
    "svpManager": ("VXLAN_SVP_USAGE", "no svp mgr"),
    "routerMacSm": ("PER_VLAN_ENTRY", "no routerMacSm"),
    "vlanXlate2Manager": ("VLAN_XLATE_STATUS_2", "no vlanXlate2Manager"),
    "egrVlanXlateManager": ("EGR_VLAN_XLATE_STATUS_2", "no egrVlanXlateManager"),
}

# Why no command is answered at all, by the readiness that brings it about.
kNotReady = [
    ({"l2Agent": False}, "no l2 agent"),
    ({"unicastAgent": "absent"}, "no unicast agent"),
    ({"unicastAgent": "uninitialized"}, "unicast agent not initialized"),
    ({"unicastAgent": "notReady"}, "l2 agent not ready"),
    ({"configReady": False}, "l2 agent not ready"),
    ({"hardwareReady": False}, "l2 agent not ready"),
]
# Those that keep plain commands from running, and of the others dumps of the MAC table.
kPlainNotReady = [
    ({"macAddrSmHelper": False}, "no macAddrSmHelper"),
    ({"macTblShadow": False}, "no macTblShadow"),
    ({"mcast": False}, "no mcastHelper"),
]
kMacDumpNotReady = [
    ({"macAddrSmHelper": False}, "no macAddrSmHelp"),
    ({"macTblShadow": False}, "no macTblShadow"),
]


def transcript(name):
    return (kTranscripts / f"{name}.txt").read_text()


class PlainCommands(TestCase):
    def test_every_keyword_is_answered_on_the_demo_switch_to_the_byte(self):
        with Agent("--demo") as agent:
            for name, command in kSession.items():
                with self.subTest(command):
                    answer, told = agent.askWithDescriptor(f"plain text {command}\n")
                    self.assertEqual(answer.decode(), transcript(name))
                    self.assertEqual(told[-1]["status"], "ok")
                    self.assertEqual(answer == b"", name in kSilent)

    def test_the_session_holds_every_keyword_that_the_agent_knows(self):
        source = (kSource / "KorvoL2" / "KorvoL2CliCallbacks" / "PlainHandlerChain.cpp").read_text()
        keywords = re.findall(r'Row<CliCallback::\w+>\("([^"]*)"\)', source)
        self.assertEqual(len(keywords), 22)
        commands = list(kSession.values())
        firsts = [next((i for i, c in enumerate(commands) if c.startswith(keyword)), None)
                  for keyword in keywords if keyword]
        self.assertNotIn(None, firsts)
        # HW_MCAST_DIFF alone is asked twice, before and after the shadow is cleared.
        swapped = keywords.index("HW_MCAST_CLEAR")
        firsts[swapped], firsts[swapped + 1] = firsts[swapped + 1], firsts[swapped]
        self.assertEqual(firsts, sorted(firsts))

    def test_without_a_descriptor_the_same_comes_on_the_connection(self):
        with Agent("--demo") as agent:
            for name in ("egr-mask-status", "shadow-vfi", "hw-mcast-mcidx-outside"):
                self.assertEqual(agent.ask(f"plain text {kSession[name]}\n").decode(),
                                 transcript(name))

    def test_what_no_table_is_called_is_no_command(self):
        with Agent("--demo") as agent:
            noTable = "it names none of the tables EGR_VFI, EGR_XLATE_2, EGR_XLATE, EVTAP, IVTAP, " \
                      "SOURCE_VP, VFI, VLAN_XLATE_2, VLAN_XLATE"
            for command, reason in {
                    "ShadowShow": noTable, "ShadowShow+NOPE": noTable,
                    "ShadowShow+EGR_XLATE": "EGR_XLATE is read from a chip; name it with CHIP",
                    "ShadowShow+EGR_XLATE+CHIP+7": "there is no chip 7"}.items():
                answer, told = agent.askWithDescriptor(f"plain text {command}\n")
                self.assertEqual(
                    (answer, told[-1]["status"], told[-1]["message"]),
                    (b"", "no-handler", f'no plain handler takes "{command}": {reason}'))
                self.assertEqual(agent.ask(f"plain text {command}\n"), b"")
                done = agent.client("raw", "plain", "text", command, text=True)
                self.assertEqual((done.returncode, done.stdout), (3, ""))
                self.assertIn(reason, done.stderr)

    def test_an_argument_that_is_wrong_is_named(self):
        with Agent("--demo") as agent:
            for command, message in {
                    "PER_VLAN_ENTRY_VLAN-4095":
                        'VLAN "4095": Bridging::VlanId::value < 1 or > 4094 not allowed',
                    "PER_VLAN_ENTRY_MAC-x": 'MAC address "x": "x" is no MAC address',
                    "ShadowShow+EGR_XLATE+CHIP+300": 'chip "300": Tessar::FapId::value < ',
                    "EcmpOutputIntfTunnelId+dst-mac=y": 'dst-mac "y": "y" is no MAC address',
                    "EcmpOutputIntfTunnelId+dst-mac=0200.0200.0002,ingress-intf-id=" + "x" * 64:
                        f'ingress-intf-id "{"x" * 64}": interface name "'}.items():
                answer, told = agent.askWithDescriptor(f"plain text {command}\n")
                self.assertEqual((answer, told[-1]["status"]), (b"", "error"), command)
                self.assertTrue(told[-1]["message"].startswith(message), told[-1])

    def test_an_agent_without_entries_says_so_of_every_table(self):
        with Agent() as agent:
            expected = {
                "HW_MCAST_ALL": "No chip holds a multicast group.\n",
                "HW_MCAST_DIFF": "No multicast group differs between shadow and hardware.\n",
                "HW_MCAST_MCIDX+5": "Multicast group 5 is on no chip.\n",
                "MCAST_ALL": "No multicast groups.\n",
                "EGR_VLAN_XLATE_STATUS_2": "No egress VLAN translations.\n",
                "VLAN_XLATE_STATUS_2": "No tunnel ends.\n\nNo ingress VLAN translations.\n",
                "VlanVfiMap": "No VLAN has a VFI.\n",
                "FCVDV": "No VTEP has a decapsulation counter.\n",
                "VniEgressFlexCountersValues": "No VNIs.\n",
                "PER_VLAN_ENTRY": "No router MAC address.\n",
                "ShadowShow+SOURCE_VP": "SOURCE_VP has no entries.\n",
            }
            for command, answer in expected.items():
                self.assertEqual(agent.ask(f"plain text {command}\n").decode(), answer, command)

    def test_counters_count_while_hosts_come_and_go(self):
        def packets(agent):
            total = agent.ask("plain text FCVDV\n").decode().splitlines()[-1]
            return int(re.search(r"(\d+) packets", total).group(1))

        with Agent("--demo", "--churn", 1000) as agent:
            first = packets(agent)
            while packets(agent) <= first:
                pass
            while "Addresses reported             : 0\n" in agent.ask("plain text HW_FIFOREG\n").decode():
                pass


class Readiness(TestCase):
    def agentOf(self, readiness):
        self.trace = self.write("trace", "")
        document = {"version": 1, "readiness": readiness}
        return Agent("--state", self.write("state.json", json.dumps(document)),
                     "--trace", "KorvoL2CliCallbacks=8", "--trace-file", self.trace)

    def assertNotReady(self, agent, line, reason):
        before = len(self.trace.read_text())
        answer, told = agent.askWithDescriptor(line)
        self.assertEqual(answer, b"", line)
        self.assertEqual(told[-1]["status"], "not-ready", line)
        self.assertEqual(told[-1]["message"], reason, line)
        traced = self.trace.read_text()[before:].splitlines()
        self.assertTrue(any(row.endswith(reason) for row in traced), traced)
        self.assertEqual(agent.ask(line), b"", "and nothing on a connection of its own")

    def test_an_agent_that_is_not_ready_answers_nothing_and_traces_why(self):
        for readiness, reason in kNotReady:
            with self.subTest(readiness), self.agentOf(readiness) as agent:
                for line in ("plain text FCVDV\n", "plain text NOPE\n", "async text MACT_ALL\n",
                             "async json MACT_DIFF0\n", "sync text VXLAN_VLAN_SUMMARY\n"):
                    self.assertNotReady(agent, line, reason)

    def test_plain_commands_ask_for_the_mac_helper_and_the_multicast_object(self):
        for readiness, reason in kPlainNotReady:
            with self.subTest(readiness), self.agentOf(readiness) as agent:
                self.assertNotReady(agent, "plain text FCVDV\n", reason)
                self.assertNotReady(agent, "plain text NOPE\n", reason)

    def test_with_another_owner_of_the_table_plain_commands_do_without_the_mac_helper(self):
        for lacking in ("macAddrSmHelper", "macTblShadow"):
            with self.agentOf({lacking: False, "l2TableMode": True}) as agent:
                answer, told = agent.askWithDescriptor("plain text VlanVfiMap\n")
                self.assertEqual((answer, told[-1]["status"]), (b"No VLAN has a VFI.\n", "ok"))

    def test_dumps_of_the_mac_table_ask_for_the_mac_helper(self):
        for readiness, reason in kMacDumpNotReady:
            with self.subTest(readiness), self.agentOf(readiness) as agent:
                for command in ("MACT_ALL", "MACT_HW_ALL0", "MACT_DIFF0", "MACT_MISSING0"):
                    self.assertNotReady(agent, f"async json {command}\n", reason)

    def test_an_object_that_is_missing_is_missing_for_its_commands_alone(self):
        for lacking, (command, reason) in kMissing.items():
            with self.subTest(lacking), self.agentOf({lacking: False}) as agent:
                if lacking == "l2ModFifoMonitorSm":
                    answer, told = agent.askWithDescriptor(f"plain text {command}\n")
                    self.assertTrue(answer.startswith(b"FIFO registers\n"))
                    self.assertNotIn(b"monitor", answer)
                    self.assertEqual((told[-1]["status"], told[-1]["message"]), ("not-ready", reason))
                else:
                    self.assertNotReady(agent, f"plain text {command}\n", reason)
                for other, (otherCommand, _) in kMissing.items():
                    if other == lacking:
                        continue
                    answer, told = agent.askWithDescriptor(f"plain text {otherCommand}\n")
                    self.assertNotEqual(answer, b"", otherCommand)
                    self.assertEqual(told[-1]["status"], "ok", otherCommand)

    def test_without_its_fifo_object_the_fifo_command_is_unknown(self):
        with self.agentOf({"l2ModFifoShowSm": False}) as agent:
            answer, told = agent.askWithDescriptor("plain text HW_FIFOREG\n")
            self.assertEqual((answer, told[-1]["status"]), (b"Invalid Command\n", "no-handler"))

    def test_shadows_that_hold_nothing_to_show_are_not_ready(self):
        document = {"version": 1, "switch": {"hwTableStateAvailable": False}}
        with Agent("--demo", "--state", self.write("state.json", json.dumps(document))) as agent:
            answer, told = agent.askWithDescriptor("plain text ShadowShow+VFI\n")
            reason = "the hardware table state is not available"
            self.assertEqual((answer, told[-1]["status"], told[-1]["message"]),
                             (b"", "not-ready", reason))
            self.assertEqual(agent.ask("plain text ShadowShow+VFI\n"), b"")
            done = agent.client("raw", "plain", "text", "ShadowShow+VFI", text=True)
            self.assertEqual((done.returncode, done.stdout), (4, ""))
            self.assertIn(reason, done.stderr)

    def test_a_chip_without_translation_has_no_translation_commands(self):
        document = {"version": 1, "chipAttributes": {"quorra2": {"egrVlanXlate": True}}}
        with Agent("--demo", "--state", self.write("state.json", json.dumps(document))) as agent:
            for command in ("VLAN_XLATE_STATUS_2", "EGR_VLAN_XLATE_STATUS_2"):
                self.assertEqual(agent.ask(f"plain text {command}\n"), b"Invalid Command\n")

    def test_toggles_choose_what_is_shown(self):
        document = {"version": 1, "toggles": {
            "KorvoL2.json": {"ShowL2EcmpVxlanDestination": False},
            "KorvoQuorra.json": {"ShowEgrVlanXlateHashView": False}}}
        with Agent("--demo", "--state", self.write("state.json", json.dumps(document))) as agent:
            self.assertEqual(agent.ask(f"plain text {kSession['ecmp-tunnel']}\n"), b"Invalid Command\n")
            answer = agent.ask("plain text EGR_VLAN_XLATE_STATUS_2\n").decode()
            self.assertEqual(answer.splitlines()[0], "Egress VLAN translations")
