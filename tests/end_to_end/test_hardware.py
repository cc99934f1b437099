"""The chips of a real agent: the hardware dump, the two checks, and clients that leave in between."""

import json
import re

from korvo import *

# What the demo's chips hold otherwise: (VLAN, MAC address) and the chips concerned.
kDiffering = {
    (10, "0200.0100.0006"): {"Linecard4/0"},
    (10, "0200.0400.0104"): {"Linecard3/0", "Linecard3/1"},
    (20, "0200.0400.0302"): {"Linecard3/0"},
    (100, "0100.5e01.0101"): {"Linecard4/0"},
    (100, "0200.0400.0004"): {"Linecard4/0"},
    (100, "0200.0f00.0001"): {"Linecard3/1"},
}
# (VLAN, MAC address, key type): whether software has it, and the chips concerned.
kMissing = {
    (10, "0200.0200.0008", "VFI(3)"): (True, {"Linecard4/0"}),
    (20, "0200.0100.0a01", "bridge(0)"): (False, {"Linecard3/1"}),
    (20, "0200.0200.0a03", "VFI(3)"): (False, {"Linecard4/0"}),
    (30, "0200.0300.0005", "bridge(0)"): (True, {"Linecard3/0", "Linecard3/1"}),
    (40, "0200.0100.0a02", "bridge(0)"): (False, {"Linecard3/0", "Linecard3/1", "Linecard4/0"}),
    (4000, "0200.0100.0a04", "undefined(7)"): (False, {"Linecard3/0"}),
}
kMac = r"[0-9a-f]{4}\.[0-9a-f]{4}\.[0-9a-f]{4}"


def differing(document):
    return {(e["vlan"], e["mac"]): set(e["hwEntries"]) for e in document["macTableDiffEntries"]}


def missing(document):
    return {(e["vlan"], e["mac"], e["keyType"]): (e["inSw"], set(e["modules"]))
            for e in document["macTableMissingEntries"]}


def total(text, words):
    return int(re.search(words + r":  (\d+)", text).group(1))


class Hardware(TestCase):
    def test_the_demo_reports_every_difference_and_nothing_else(self):
        with Agent("--demo") as agent:
            found = agent.client("check", "mac", "diff", "--json")
            self.assertEqual(found.returncode, 1, found.stderr)
            self.assertEqual(differing(json.loads(found.stdout)), kDiffering)

            found = agent.client("check", "mac", "diff")
            self.assertEqual(found.returncode, 1)
            text = found.stdout.decode()
            rows = re.findall(rf"^ (\d+) +({kMac}) ", text, re.M)
            self.assertEqual({(int(vlan), mac) for vlan, mac in rows}, set(kDiffering))
            self.assertEqual(total(text, "Total entries different between software and hardware"),
                             sum(len(chips) for chips in kDiffering.values()))

    def test_the_demo_reports_every_missing_entry_and_nothing_else(self):
        with Agent("--demo") as agent:
            found = agent.client("check", "mac", "missing", "--json")
            self.assertEqual(found.returncode, 1, found.stderr)
            self.assertEqual(missing(json.loads(found.stdout)), kMissing)

            text = agent.client("check", "mac", "missing", "--detail").stdout.decode()
            rows = re.findall(rf"^ +(\d+) +({kMac}) +(\S+) +([YN])", text, re.M)
            self.assertEqual({(int(vlan), mac, keyType): inSw == "Y" for vlan, mac, keyType, inSw in rows},
                             {key: inSw for key, (inSw, _) in kMissing.items()})
            chips = {inSw: [chip for has, modules in kMissing.values() if has == inSw
                            for chip in modules] for inSw in (False, True)}
            self.assertEqual(total(text, "Total entries missing in software"), len(chips[False]))
            self.assertEqual(total(text, "Total entries missing in hardware"), len(chips[True]))
            for chip in set(chips[True]):
                self.assertEqual(total(text, f"            {chip}"), chips[True].count(chip))

    def test_one_chip_alone_is_checked_when_it_is_asked_for(self):
        with Agent("--demo") as agent:
            found = json.loads(agent.client("check", "mac", "diff", "--chip", "1", "--json").stdout)
            self.assertEqual(differing(found), {key: {"Linecard3/1"} for key, chips in
                                                kDiffering.items() if "Linecard3/1" in chips})

    def test_a_switch_without_faults_passes_both_checks(self):
        with Agent("--macs", 20000, "--chips", 5) as agent:
            for check in ("diff", "missing"):
                for form in ((), ("--json",)):
                    found = agent.client("check", "mac", check, *form)
                    self.assertEqual(found.returncode, 0, found.stdout[:500] + found.stderr)

    def test_injected_faults_are_reported_all_of_them_and_nothing_else(self):
        with Agent("--macs", 5000, "--chips", 4, "--hw-faults", 0.02, "--seed", 11) as agent:
            standing = agent.askJson("agent json status\n")["tables"]["hwFaultsStanding"]
            self.assertGreater(standing, 200)
            diff = agent.client("check", "mac", "diff").stdout.decode()
            lost = agent.client("check", "mac", "missing").stdout.decode()
            self.assertEqual(total(lost, "Total entries missing in software"), 0)
            self.assertEqual(total(diff, "Total entries different between software and hardware") +
                             total(lost, "Total entries missing in hardware"), standing)

    def test_a_table_that_is_too_small_shows_in_the_missing_entries(self):
        with Agent("--macs", 1000, "--chips", 2, "--hw-table-size", 800) as agent:
            tables = agent.askJson("agent json status\n")["tables"]
            self.assertGreaterEqual(tables["hwEntriesWithoutRoom"], 400)
            lost = agent.client("check", "mac", "missing").stdout.decode()
            self.assertEqual(total(lost, "Total entries missing in hardware"),
                             tables["hwEntriesWithoutRoom"])

    def test_while_entries_come_and_go_a_healthy_switch_reports_nothing(self):
        with Agent("--macs", 20000, "--chips", 3, "--churn", 20000) as agent:
            for _ in range(3):
                for check in ("diff", "missing"):
                    found = agent.client("check", "mac", check)
                    self.assertEqual(found.returncode, 0, found.stdout[:2000])

    def test_the_hardware_dump_has_a_row_of_every_entry_for_every_chip(self):
        with Agent("--demo") as agent:
            software = {(e["vlan"], e["mac"])
                        for e in agent.askJson("async json MACT_ALL\n")["macTableEntries"]}
            chips = json.loads(agent.client("show", "mac", "hardware", "--json").stdout)["chips"]
            self.assertEqual(list(chips), ["Linecard3/0", "Linecard3/1", "Linecard4/0"])
            for name, chip in chips.items():
                rows = {(e["vlan"], e["mac"]): e for e in chip["macTableEntries"]}
                # Dumps of software skip what the agent keeps for itself; chips hold it.
                self.assertEqual({key for key in rows if key[0] != 4094}, software)
                for key, (inSw, modules) in kMissing.items():
                    if inSw:
                        self.assertEqual(rows[key[:2]]["programmed"], name not in modules)
            self.assertEqual(chips["Linecard3/0"]["macTableEntries"][0].keys(),
                             {"vlan", "mac", "programmed", "type", "mcastGroupId", "classId",
                              "port", "hwIndex"})

            text = agent.client("show", "mac", "hardware").stdout.decode()
            detail = agent.client("show", "mac", "hardware", "--detail").stdout.decode()
            for dump in (text, detail):
                self.assertEqual(len(re.findall(kMac, dump)), 3 * len(rows))
                self.assertEqual(re.findall(r"Switch (\S+) Mac Table", dump), list(chips))

    def test_the_columns_of_the_short_dump_stand_under_their_heads(self):
        with Agent("--demo") as agent:
            lines = agent.client("show", "mac", "hardware", "--chip", "0").stdout.decode().splitlines()
            heads = next(line for line in lines if line.startswith("Vlan"))
            starts = [heads.index(head) for head in
                      ("Mac Address", "Type", "McastGroupId", "ClassId", "Port")]
            rows = [line for line in lines if re.search(kMac, line)]
            for row in rows:
                for start in starts:
                    self.assertEqual(row[start - 1], " ", row)
                    self.assertNotEqual(row[start], " ", row)

    def test_odd_lists_of_chips_end_as_they_should_and_leave_nothing_behind(self):
        with Agent("--demo") as agent:
            refused = "Tessar::FapId::value < Tessar::FapId::min or > Tessar::FapId::null not allowed"
            def about(chips, message):
                """What is told of a list that is wrong; a long one is shown in part."""
                return f'chip list "{chips}": {message}'

            for chips, message in {
                    "": None, "1,,2": None, ",,,": None, " 1": None, "+1": None, "junk": None,
                    "0,0,0": None, "128": None, "44": None, "300": None, "4294967296": None,
                    "99999999999999999999": refused, ",".join("1" for _ in range(30000)): None,
                    "129": refused, "0,1,255": refused, "-1": refused}.items():
                for check in ("MACT_DIFF", "MACT_MISSING"):
                    answer, told = agent.askWithDescriptor(f"async json {check}{chips}\n")
                    if message is None:
                        self.assertEqual(told[-1]["status"], "ok", chips[:40])
                        json.loads(answer)
                    else:
                        self.assertEqual((told[-1]["status"], told[-1]["message"]),
                                         ("error", about(chips, message)))
                        self.assertEqual(answer, b"")
            for chips, message in {"": None, "0,0": None, "2,1": None, "77": None, "1,": None, "1,,2": "stoi",
                                   "x": "stoi", "129": refused, "99999999999": "stoi"}.items():
                answer, told = agent.askWithDescriptor(f"async json MACT_HW_ALL{chips}\n")
                if message is None:
                    self.assertEqual(told[-1]["status"], "ok", chips)
                    json.loads(answer)
                else:
                    self.assertEqual((told[-1]["status"], told[-1]["message"]),
                                     ("error", about(chips, message)))
            done = agent.client("raw", "async", "text", "MACT_HW_ALL0,x", text=True)
            self.assertEqual(done.returncode, 5)
            self.assertIn('chip list "0,x": stoi', done.stderr)
            self.assertNothingLeft(agent)
            self.assertAnswers(agent)

    def test_a_client_that_leaves_in_any_phase_leaves_nothing_behind(self):
        # Half of all entries differ: the report is large, so that it can be left in the middle.
        with Agent("--macs", 100000, "--chips", 8, "--hw-faults", 0.5) as agent:
            for check in ("MACT_DIFF", "MACT_MISSING"):
                for phase in ("issued", "waiting", "printing"):
                    control, answer = agent.send(f"async text {check}0,1,2,3,4,5,6,7\n")
                    with control, answer:
                        if phase == "waiting":
                            waitUntil(lambda: self.isWaiting(agent))
                        elif phase == "printing":
                            self.assertTrue(answer.recv(1000))
                    self.assertNothingLeft(agent)
            self.assertAnswers(agent)

    def test_many_checks_at_once_do_not_mix(self):
        with Agent("--demo", "--macs", 20000) as agent:
            expected = {}
            for check in ("MACT_DIFF", "MACT_MISSING"):
                for chips in ("0", "1", "2", "0,1,2"):
                    line = f"async json {check}{chips}\n"
                    expected[line] = agent.ask(line)
            sockets = []
            for line in list(expected) * 4:
                connection = agent.connect()
                connection.sendall(line.encode())
                sockets.append((line, connection))
            for line, connection in sockets:
                with connection:
                    self.assertEqual(readAll(connection), expected[line], line)
            self.assertNothingLeft(agent)

    def test_checks_beyond_their_number_wait_for_their_turn(self):
        # A report of more than a socket takes, whose reader does not read, keeps its turn.
        options = ["--macs", 100000, "--chips", 1, "--hw-faults", 1, "--max-checks", 1]
        with Agent(*options) as agent:
            def states():
                return {request["command"]: request["state"]
                        for request in agent.askJson("agent json requests\n")["requests"]}
            unread = agent.connect()
            unread.sendall(b"async json MACT_DIFF0\n")
            control, answer = agent.send("async json MACT_MISSING0\n")
            cancelled, nothing = agent.send("async json MACT_DIFF0,0\n")
            with unread, control, answer, cancelled, nothing:
                waitUntil(lambda: states().get("MACT_DIFF0") == "waiting for its reader")
                waitUntil(lambda: len(states()) == 4)
                for waiting in ("MACT_MISSING0", "MACT_DIFF0,0"):
                    self.assertEqual(states()[waiting], "waiting for its turn")
                self.assertEqual(agent.live("L2MacDiffRequestSm"), 1)
                self.assertEqual(agent.live("L2MacMissingRequestSm"), 0)
                self.assertEqual(agent.live("DiffMacEntryTable"), 1)
                number = {request["command"]: request["id"] for request in
                          agent.askJson("agent json requests\n")["requests"]}["MACT_DIFF0,0"]
                agent.ask(f"agent text cancel {number}\n")
                self.assertEqual(readAll(nothing), b"")
                self.assertEqual(events(cancelled)[-1]["status"], "cancelled")
                self.assertEqual(states()["MACT_MISSING0"], "waiting for its turn")
                self.assertGreater(len(json.loads(readAll(unread))["macTableDiffEntries"]), 10000)
                self.assertGreater(len(json.loads(readAll(answer))["macTableMissingEntries"]), 10000)
                self.assertEqual(events(control)[-1]["status"], "ok")
            self.assertNothingLeft(agent)

    def test_check_that_finds_too_much_ends_with_an_error_that_says_how_to_narrow_it(self):
        options = ["--macs", 100000, "--chips", 2, "--hw-faults", 1, "--check-memory", 1]
        with Agent(*options) as agent:
            for words in (["diff"], ["missing", "--json"]):
                done = agent.client("check", "mac", *words)
                self.assertEqual((done.returncode, done.stdout), (5, b""))
                self.assertEqual(
                    done.stderr.decode(),
                    "korvoctl: the command failed: the findings take more than 1 MiB; name fewer "
                    "chips, or start the agent with a larger --check-memory\n")
            self.assertNothingLeft(agent)

    @unittest.skipIf(kSanitized, "a sanitizer's memory is not the agent's")
    def test_memory_of_a_large_check_goes_back_to_the_system(self):
        with Agent("--macs", 400000, "--chips", 1, "--hw-faults", 1) as agent:
            agent.ask("async text MACT_DIFF\n")  # what a first check sets up for all later ones
            before = agent.resident()
            with agent.connect() as unread:
                unread.sendall(b"async text MACT_MISSING0\n")
                unread.recv(1)
                taken = agent.resident() - before
                self.assertGreater(taken, 16 * 1024 * 1024)
            waitUntil(lambda: agent.resident() - before < taken / 4)

    def test_chips_are_said_to_differ_in_what_there_is(self):
        document = {"version": 1, "switch": {"chips": [
            {"id": 0, "name": "a", "missing": [{"vlan": 10, "mac": "0200.0000.0001"}]}]}}
        path = self.write("state.json", json.dumps(document))
        self.assertEqual(
            runAgent("--socket", path.parent / "s", "--state", path),
            (2, "", f"korvo-l2-agent: {path}: chip a is said to miss VLAN 10 MAC address "
                    "0200.0000.0001, which is not in the software table; correct it in the "
                    "document\n"))

    def isWaiting(self, agent):
        requests = agent.askJson("agent json requests\n")["requests"]
        return any(request["state"] == "waiting for the agent" for request in requests)

    def assertNothingLeft(self, agent):
        # The agent hears that a client has left in one of the next turns of its loop.
        def nothing():
            status = agent.askJson("agent json status\n")
            live = status["liveInstances"]
            return status["tables"]["hwReadRequests"] == 0 and status["activeRequests"] == 1 and not any(
                live.get(name, 0) for name in ("DiffMacEntryTable", "MissingMacEntryTable",
                                               "DiffMacEntry", "MissingMacEntry",
                                               "EntryPropertyDir", "L2MacDiffRequestSm",
                                               "L2MacMissingRequestSm", "L2HwTableRequestSm"))
        waitUntil(nothing)
