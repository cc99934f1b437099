"""Hundreds of requests at once on a switch whose tables change, with every kind of reader."""

import operator
import resource

from load import *

kChips = "0,1,2"
kMacs = 12000
# A sanitizer's build takes many times as long for each row.
kShare = 4 if kSanitized else 1
kChurn = 2000 if kSanitized else 20000
# So few rows a slice that no dump of the table ends before the agent has taken in all of them.
kSliceRows = 400
# Who reads nothing is not given up for that before the test cancels it.
kClientTimeout = 10 * kPatience
# What there is of the tracked classes while nobody asks anything. The plain callback shows the words
# of its last command, here one.
kLiveAtRest = {"CliCallback": 1, "CliCallback::QelCmdTokens::Entry": 1, "CliCallbackWithFormat": 1,
               "HwTableReader": 1}
kTable = ("--demo", "--macs", kMacs, "--churn", kChurn, "--slice-rows", kSliceRows)

kTextDump, kJsonDump = "async text MACT_ALL", "async json MACT_ALL"
kHwTextDump, kHwJsonDump = f"async text MACT_HW_ALL{kChips}", f"async json MACT_HW_ALL{kChips}"
# Nothing of what these print changes when addresses come and go.
kSteadyCommands = [f"async {form} {name}" for form in ("text", "json") for name in
                   ("VXLAN_VLAN", "VXLAN_ROUTING_INFO", "ING_VLAN_RANGE", "VLAN_XLATE_STATUS",
                    "EGR_VLAN_XLATE_STATUS")]
kChecks = [f"async {form} {name}{kChips}" for form in ("text", "json")
           for name in ("MACT_DIFF", "MACT_MISSING")]


def parseJson(answer):
    def refuse(word):
        raise AssertionError(f"{word} is no JSON")
    return json.loads(answer, parse_constant=refuse)


class Dump:
    """An answer taken apart: what stands around the rows, and of each section its keys and rows."""

    def __init__(self, line, answer):
        self.sections = {}
        take = {kTextDump: self.takeText, kJsonDump: self.takeJson, kHwTextDump: self.takeHwText,
                kHwJsonDump: self.takeHwJson}
        take[line](answer)

    def takeText(self, answer):
        lines = answer.split(b"\n")
        count = re.fullmatch(rb"Number of entries : \d+", lines[-2])
        self.around = (lines[:3], lines[-3], count is not None, lines[-1])
        self.sections[""] = [(row[:24], row) for row in lines[3:-3]]

    def takeJson(self, answer):
        document = parseJson(answer)
        self.around = (list(document), isinstance(document["numEntries"], int), answer[-1:])
        self.sections[""] = [((row["vlan"], row["mac"]), row) for row in document["macTableEntries"]]

    def takeHwText(self, answer):
        self.around = []
        rows = None
        for line in answer.split(b"\n"):
            if re.match(rb" *\d+ [0-9a-f]{4}\.", line):
                rows.append((line[:22], line))
            else:
                self.around.append(line)
                if title := re.search(rb"Switch (\S+) Mac Table", line):
                    rows = self.sections.setdefault(title[1], [])

    def takeHwJson(self, answer):
        document = parseJson(answer)
        self.around = (list(document), answer[-1:])
        for chip, table in document["chips"].items():
            self.sections[chip] = [((row["vlan"], row["mac"]), row)
                                   for row in table["macTableEntries"]]


class Switch:
    """What a dump has to hold, whatever is learned, moves and ages meanwhile."""

    def __init__(self, agent):
        entries = agent.askJson(kJsonDump + "\n")["macTableEntries"]
        # Churn changes, adds and removes learned entries only.
        steady = {(row["vlan"], row["mac"]) for row in entries if row["type"] != "learnedDynamic"}
        self.steadyKeys = {kJsonDump: steady, kHwJsonDump: steady,
                           kTextDump: {b"%8d  %s" % (vlan, mac.encode()) for vlan, mac in steady},
                           kHwTextDump: {b"%4d %-17s" % (vlan, mac.encode()) for vlan, mac in steady}}
        self.dumps = {line: Dump(line, agent.ask(line + "\n")) for line in self.steadyKeys}
        self.steadyRows = {line: self.steadyRowsOf(line, dump) for line, dump in self.dumps.items()}
        self.answers = {line: agent.ask(line + "\n") for line in kSteadyCommands}
        self.reported = {line: self.reportedBy(line, agent.ask(line + "\n")) for line in kChecks}

    def steadyRowsOf(self, line, dump):
        keys = self.steadyKeys[line]
        return {title: [row for key, row in section if key in keys]
                for title, section in dump.sections.items()}

    def reportedBy(self, line, answer):
        if "json" in line:
            return {(row["vlan"], row["mac"]) for rows in parseJson(answer).values() for row in rows}
        if not re.search(rb"\nTotal entries [\w ]+: +\d+\n", answer):
            raise AssertionError(f"{line} has no total: {answer!r}")
        return set(re.findall(rb"^ *(\d+) +([0-9a-f]{4}\.[0-9a-f]{4}\.[0-9a-f]{4}) ", answer, re.M))

    def check(self, line, answer):
        """Raises unless the answer is complete and right."""
        if line in self.answers:
            assert answer == self.answers[line], f"{line}: {answer!r}"
        elif line in self.reported:
            # Faults may be mended by what comes, and nothing else may be reported.
            assert self.reportedBy(line, answer) <= self.reported[line], f"{line}: {answer!r}"
        else:
            dump = Dump(line, answer)
            assert dump.around == self.dumps[line].around, f"{line}: {dump.around}"
            for title, section in dump.sections.items():
                keys = [key for key, _ in section]
                assert all(map(operator.lt, keys, keys[1:])), f"{line}: rows do not ascend"
            assert self.steadyRowsOf(line, dump) == self.steadyRows[line], f"{line}: not all rows"


def crowd(agent, lines, chance):
    """Readers of every habit, with and without a descriptor, in any order."""
    readers = []
    for number, line in enumerate(lines):
        descriptor = number % 2 == 0
        habit, then, halfCloses = [
            (fast, "", False), (fast, "", True), (slow, "", False), (byteByByte, "", False),
            (aWhile, chance.choice(["closes answer", "closes control", "closes both"])
             if descriptor else "closes answer", False)][number // 2 % 5]
        readers.append((line, habit, then, descriptor, halfCloses))
    chance.shuffle(readers)
    return [Reader(agent, line, habit, then, descriptor, halfCloses, chance)
            for line, habit, then, descriptor, halfCloses in readers]


class ManyRequests(TestCase):
    def assertNothingLeft(self, agent, descriptors):
        # The agent hears that a client has left in one of the next turns of its loop.
        waitUntil(lambda: agent.numRequests() == 0)
        self.assertAnswers(agent)
        waitUntil(lambda: liveObjects(agent) == kLiveAtRest)
        waitUntil(lambda: openDescriptors(agent) == descriptors)

    def check(self, switch, reader):
        """What became of a reader, which is right in each case."""
        done = reader.done
        if reader.left:
            if done is not None:
                self.assertIn(done["status"], ("ok", "client-gone"))
            return "left"
        if reader.stopped:
            if reader.said:
                self.assertEqual(done["status"], "cancelled")
            self.assertRaises(ValueError, json.loads, reader.received)
            return "cancelled"
        if reader.said:
            self.assertEqual((done["status"], done["bytes"]), ("ok", len(reader.received)))
        switch.check(reader.line, reader.received)
        return "whole"

    def cancelAll(self, agent):
        for request in agent.askJson("agent json requests\n")["requests"]:
            if request["entry"] == "async":
                agent.ask(f"agent text cancel {request['id']}\n")

    def test_two_hundred_dumps_at_once_of_a_table_that_changes(self):
        chance = random.Random(1)
        stuck = [kHwJsonDump] * 16  # of which the kernel holds a part only
        dumps = ([kTextDump] * (100 // kShare) + [kJsonDump] * (60 // kShare) +
                 [kHwTextDump] * (19 // kShare) + [kHwJsonDump] * (5 // kShare))
        others = (kSteadyCommands + kChecks) * 5  # short ones among them
        with Agent(*kTable, "--client-timeout", kClientTimeout) as agent:
            switch = Switch(agent)
            descriptors = openDescriptors(agent)
            outcomes = collections.Counter()
            with Pinger(agent) as pinger:
                with held(agent):
                    readers = [Reader(agent, line, aWhile, "stops", number % 2 == 0, chance=chance)
                               for number, line in enumerate(stuck)]
                    readers += crowd(agent, dumps, chance) + crowd(agent, others, chance)
                    question = agent.connect()
                    question.sendall(b"agent json requests\n")
                with Load(readers) as load:
                    with question:
                        requests = json.loads(readAll(question))["requests"]
                    self.assertGreaterEqual(
                        sum(f"async {each['format']} {each['command']}" in switch.dumps
                            for each in requests), len(stuck) + len(dumps))
                    for reader in load.ended():
                        outcomes[self.check(switch, reader)] += 1
                        if outcomes.total() == len(readers) - len(stuck):
                            self.cancelAll(agent)
                        if not kSanitized:
                            self.assertEqual(numThreads(agent), 1)
            # A short answer may be at its end before its reader leaves.
            self.assertEqual(outcomes["cancelled"], len(stuck))
            self.assertGreaterEqual(outcomes["left"], len(dumps) // 10 * 2)
            self.assertGreaterEqual(outcomes["whole"], (len(dumps) + len(others)) * 4 // 5)
            self.assertEqual(outcomes.total(), len(readers))
            self.assertGreater(pinger.numRight, 0)
            self.assertNothingLeft(agent, descriptors)

    def assertServedOrRefused(self, agent, switch, number, *reasons):
        """That many dumps at once: each reader gets all of its dump or is told a reason, and there
        is somebody of either kind. Gives back how many got theirs."""
        descriptors = openDescriptors(agent)
        with held(agent):
            readers = [Reader(agent, (kTextDump, kJsonDump)[n % 2], withDescriptor=n % 4 < 2)
                       for n in range(number)]
        refused = 0
        with Load(readers) as load:
            for reader in load.ended():
                told = (reader.said or reader.received).decode()
                if any(reason in told for reason in reasons):
                    self.assertIn("refused", told)
                    self.assertEqual(told.count("\n"), 1)
                    refused += 1
                else:
                    self.assertEqual(self.check(switch, reader), "whole")
        self.assertGreater(refused, 0)
        self.assertNothingLeft(agent, descriptors)
        return number - refused

    def test_connections_over_the_limit_are_told_so_and_the_others_are_served(self):
        # Whoever runs the tests is the agent's own user, who has 64 places more than all others.
        with Agent(*kTable, "--max-connections", 50) as agent:
            served = self.assertServedOrRefused(
                agent, Switch(agent), 200, "refused: the agent has 114 connections, which is the limit")
            self.assertGreaterEqual(served, 114)

    def test_requests_over_a_users_limit_are_told_so_and_the_others_are_served(self):
        with Agent(*kTable, "--max-requests-per-user", 30) as agent:
            served = self.assertServedOrRefused(
                agent, Switch(agent), 200,
                f"user {os.getuid()} has 30 requests under way, which is the limit")
            self.assertGreaterEqual(served, 30)

    def test_without_a_descriptor_left_the_agent_turns_clients_away_and_goes_on(self):
        limit = 64
        with Agent(*kTable, preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_NOFILE,
                                                                  (limit, limit))) as agent:
            served = self.assertServedOrRefused(
                agent, Switch(agent), 200, "refused: the agent has no file descriptor left",
                "the descriptor could not be taken: too many came, or the agent has none left")
            self.assertGreater(served, 0)


class OneThread(TestCase):
    @unittest.skipIf(kSanitized, "a sanitizer may have a thread of its own")
    def test_whatever_the_agent_does_it_does_in_one_thread(self):
        lines = [kTextDump, kJsonDump, kHwTextDump, kHwJsonDump, *kSteadyCommands, *kChecks]
        state = self.write("state.json", '{"version": 1}')
        with Agent(*kTable, "--state", state, "--trace", "KorvoAgent=9",
                   "--trace-file", state.parent / "trace") as agent:
            self.assertEqual(numThreads(agent), 1)
            with held(agent):
                readers = [Reader(agent, line, slow, withDescriptor=n % 2 == 0)
                           for n, line in enumerate(lines * 2)]
            with Load(readers) as load:
                for reader in load.ended():
                    self.assertEqual(numThreads(agent), 1)
                    self.assertNotEqual(reader.received, b"")
            with Pinger(agent):
                self.assertEqual(numThreads(agent), 1)
