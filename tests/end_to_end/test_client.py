"""korvoctl against a real agent: what it prints, and the status that it ends with."""

import json
import os
import shlex
import signal
import subprocess

from korvo import *


def commandTable():
    """The commands that ask an agent."""
    listed = subprocess.run([kClient, "commands", "--json"], capture_output=True, check=True,
                            timeout=kPatience).stdout
    return [each for each in json.loads(listed)["commands"] if each["entry"] is not None]


class EveryCommand(TestCase):
    def test_examples_of_the_help_texts_are_answered_by_the_demo_switch(self):
        with Agent("--demo") as agent:
            for command in commandTable():
                words = shlex.split(command["example"].split(" && ")[0])[1:]
                done = agent.client(*words)
                with self.subTest(example=command["example"]):
                    if command["command"] == "agent cancel":
                        self.assertEqual(done.returncode, 3)
                        continue
                    found = command["command"].startswith("check ")
                    self.assertEqual((done.returncode, done.stderr), (1 if found else 0, b""))
                    silent = command["command"].startswith("clear ")
                    self.assertEqual(done.stdout == b"", silent)

    def test_what_can_answer_in_json_does(self):
        with Agent("--demo") as agent:
            for command in commandTable():
                if not command["json"] or command["arguments"]:
                    continue
                with self.subTest(command=command["command"]):
                    done = agent.client(*command["command"].split(), "--json")
                    self.assertIn(done.returncode, (0, 1))
                    self.assertEqual(done.stderr, b"")
                    self.assertNotIn(json.loads(done.stdout), ({}, []))

    def test_every_option_of_every_command_is_understood(self):
        values = {"N": "1", "MAC": "0200.0f00.0001", "LIST": "0,Linecard4/0", "CHIP": "Linecard3/1",
                  "INTERFACE": "Ethernet3/3"}
        with Agent("--demo") as agent:
            for command in commandTable():
                given = [values[each["name"]] for each in command["arguments"]]
                if command["command"] == "agent cancel":
                    continue
                needed = [word for each in command["options"] if each["needed"]
                          for word in (each["name"], values[each["value"]])][:2]
                for option in command["options"]:
                    words = [option["name"], *filter(None, [values.get(option["value"])])]
                    if not option["needed"]:
                        words += needed
                    with self.subTest(command=command["command"], option=option["name"]):
                        done = agent.client(*command["command"].split(), *given, *words)
                        self.assertIn(done.returncode, (0, 1), done.stderr)

    def test_every_command_says_something_of_a_switch_that_has_nothing(self):
        # Whatever a switch lacks, a command never ends well without having said anything.
        with Agent() as agent:
            for command in commandTable():
                if command["arguments"] or command["command"].startswith("clear "):
                    continue
                needed = [word for each in command["options"] if each["needed"]
                          for word in (each["name"], "0")]
                with self.subTest(command=command["command"]):
                    done = agent.client(*command["command"].split(), *needed)
                    self.assertIn(done.returncode, (0, 3, 4))
                    self.assertNotEqual(done.stdout + done.stderr, b"")


class Client(TestCase):
    def test_show_mac_address_table_prints_text_and_json(self):
        with Agent("--demo") as agent:
            text = agent.client("show", "mac", "address-table")
            self.assertEqual((text.returncode, text.stderr), (0, b""))
            self.assertEqual(text.stdout, agent.ask("async text MACT_ALL\n"))
            document = agent.client("show", "mac", "address-table", "--json")
            self.assertEqual(document.returncode, 0)
            self.assertEqual(document.stdout, agent.ask("async json MACT_ALL\n"))
            json.loads(document.stdout)

    def test_exit_statuses_tell_what_happened(self):
        with Agent("--demo") as agent:
            self.assertEqual(agent.client("agent", "status").returncode, 0)
            self.assertEqual(agent.client("show", "nonsense").returncode, 2)
            nope = agent.client("raw", "plain", "text", "NOPE")
            self.assertEqual((nope.returncode, nope.stdout), (3, b"Invalid Command\n"))
            gone = subprocess.run([kClient, "-s", agent.socket + ".gone", "agent", "status"],
                                  capture_output=True, timeout=kPatience)
            self.assertEqual((gone.returncode, gone.stdout), (4, b""))
            self.assertIn(agent.socket + ".gone", gone.stderr.decode())

    def test_interfaces_are_named_in_full_or_as_tables_show_them(self):
        with Agent("--demo") as agent:
            rows = json.loads(agent.ask("async json MACT_ALL\n"))["macTableEntries"]
            text = agent.ask("async text MACT_ALL\n").decode()
            names = {row["interface"] for row in rows} - {""}
            self.assertIn("Ethernet3/3", names)
            for name in names:
                known, = agent.askJson(f"agent json interface {name}\n")["interfaces"]
                self.assertEqual(known["name"], name)
                self.assertIn(f" {known['shortName']} ", text)
                self.assertEqual(agent.askJson(f"agent json interface {known['shortName']}\n"),
                                 {"interfaces": [known]})

    def test_tunnel_is_asked_for_with_the_interface_that_tables_show(self):
        with Agent("--demo") as agent:
            def ask(*words):
                done = agent.client("show", "vxlan", "destination", "0200.0200.0008", *words)
                return done.returncode, done.stdout, done.stderr.decode()
            for name in ("Ethernet3/3", "Et3/3"):
                self.assertEqual(ask("--interface", name), (0, b"1", ""))
            for words in (("--vlan", "30"), ("--interface", "Et3/47"), ("--interface", "Vx1")):
                status, out, err = ask(*words)
                self.assertEqual((status, out), (1, b""))
                self.assertRegex(err, r"\Akorvoctl: no tunnel: .*\n\Z")
            # A name is not known for having been asked about.
            for _ in range(2):
                self.assertEqual(ask("--interface", "Et9/9"),
                                 (2, b"", "korvoctl: the agent knows no interface 'Et9/9'\n"))
                agent.ask("plain text EcmpOutputIntfTunnelId+dst-mac=0200.0200.0008,vlan-id=0,"
                          "ingress-intf-id=Ethernet9/9\n")

    def test_check_of_no_chip_is_not_taken_for_a_clean_one(self):
        with Agent("--demo") as agent:
            for command in ("MACT_DIFF", "MACT_MISSING", "MACT_HW_ALL", "MACT_DIFF detail"):
                done = agent.client("raw", "async", "json", command)
                self.assertEqual(done.returncode, 0)
                self.assertRegex(done.stderr.decode(), rf"\Akorvoctl: '{command}' names no chip.*\n\Z")
                # With the list that it names as an example there is something to tell.
                done = agent.client("raw", "async", "json", command + "0,1")
                self.assertEqual((done.returncode, done.stderr), (0, b""))
                self.assertRegex(done.stdout.decode(), r'"mac":')

    def test_agent_that_is_not_ready_is_told_apart_from_an_empty_answer(self):
        state = self.write("state.json", '{"version": 1, "readiness": {"configReady": false}}')
        with Agent("--state", state) as agent:
            table = agent.client("show", "mac", "address-table")
            self.assertEqual((table.returncode, table.stdout), (4, b""))
            self.assertIn(b"l2 agent not ready", table.stderr)

    def test_output_that_is_cut_off_by_its_reader_ends_quietly(self):
        with Agent("--macs", 100000) as agent:
            shown = subprocess.run(
                ["sh", "-c", f'"{kClient}" -s "{agent.socket}" show mac address-table | head -n 2'],
                capture_output=True, timeout=kPatience)
            self.assertEqual(shown.stdout.count(b"\n"), 2)
            self.assertEqual(shown.stderr, b"")
            while agent.live("L2SwTableRequestSm") != 0:
                pass
            self.assertAnswers(agent)

    def test_client_that_is_killed_leaves_no_request_behind(self):
        with Agent("--macs", 200000) as agent:
            reading, writing = os.pipe()
            client = subprocess.Popen([kClient, "-s", agent.socket, "show", "mac", "address-table"],
                                      stdin=subprocess.DEVNULL, stdout=writing)
            os.close(writing)
            os.read(reading, 1000)
            client.send_signal(signal.SIGKILL)
            client.wait(kPatience)
            os.close(reading)
            while agent.live("L2SwTableRequestSm") != 0:
                pass
            self.assertAnswers(agent)

    def test_agent_that_dies_midway_is_a_failure(self):
        with Agent("--macs", 200000) as agent:
            reading, writing = os.pipe()
            client = subprocess.Popen([kClient, "-s", agent.socket, "show", "mac", "address-table"],
                                      stdin=subprocess.DEVNULL, stdout=writing,
                                      stderr=subprocess.PIPE)
            os.close(writing)
            os.read(reading, 1000)
            agent.process.terminate()
            agent.process.wait(kPatience)
            with open(reading, "rb") as rest:
                rest.read()
            messages = client.stderr.read()
            client.stderr.close()
            self.assertEqual(client.wait(kPatience), 5)
            self.assertNotEqual(messages, b"")

    def test_requests_are_listed_and_can_be_cancelled(self):
        with Agent("--macs", 100000) as agent:
            control, answer = agent.send("async text MACT_ALL\n")
            with control, answer:
                number = json.loads(control.recv(65536).splitlines()[0])["id"]
                listed = agent.client("agent", "requests")
                self.assertIn(b"MACT_ALL", listed.stdout)
                self.assertEqual(agent.client("agent", "cancel", str(number)).returncode, 0)
                self.assertEqual(events(control)[-1]["status"], "cancelled")
