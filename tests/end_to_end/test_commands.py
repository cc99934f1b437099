"""Requests to a real agent, with and without a descriptor, as other programs send them."""

import json
import os
import socket
import subprocess

from korvo import *


class Commands(TestCase):
    def test_dump_without_descriptor_ends_with_end_of_file(self):
        with Agent("--macs", 1000) as agent:
            document = agent.askJson("async json MACT_ALL\n")
            self.assertEqual(document["numEntries"], 1000)
            self.assertEqual(len(document["macTableEntries"]), 1000)

    def test_documented_one_liners_work_with_socat_and_jq(self):
        with Agent("--macs", 1000) as agent:
            def shell(script):
                return subprocess.run(["sh", "-c", script], env={**os.environ, "SOCK": agent.socket},
                                      capture_output=True, timeout=kPatience).stdout
            self.assertEqual(shell("printf 'async json MACT_ALL\\n' | socat - UNIX-CONNECT:$SOCK"
                                   " | jq .numEntries"), b"1000\n")
            self.assertEqual(shell("printf 'plain text NOPE\\n' | socat - UNIX-CONNECT:$SOCK"),
                             b"Invalid Command\n")

    def test_answer_on_a_descriptor_is_raw_and_events_tell_what_became_of_it(self):
        with Agent("--macs", 1000) as agent:
            whole = agent.ask("async text MACT_ALL\n")
            answer, told = agent.askWithDescriptor("async text MACT_ALL\n")
            self.assertEqual(answer, whole)
            self.assertEqual(told[0]["event"], "accepted")
            done = told[-1]
            self.assertEqual(done["event"], "done")
            self.assertEqual(done["status"], "ok")
            self.assertEqual(done["bytes"], len(whole))
            self.assertEqual(done["rows"], 1000)
            self.assertGreaterEqual(done["slices"], 1)
            self.assertLessEqual({"message", "worstSliceMs", "elapsedMs"}, done.keys())

    def test_unknown_commands_have_no_handler(self):
        with Agent() as agent:
            answer, told = agent.askWithDescriptor("plain text NOPE\n")
            self.assertEqual(answer, b"Invalid Command\n")
            self.assertEqual(told[-1]["status"], "no-handler")
            for entry in ("sync", "async"):
                answer, told = agent.askWithDescriptor(f"{entry} text NOPE\n")
                self.assertEqual((answer, told[-1]["status"]), (b"", "no-handler"))

    def test_output_is_byte_for_byte_the_same_at_every_slice_budget(self):
        state = ("--demo", "--macs", 3000, "--seed", 7)
        with Agent(*state) as agent:
            whole = {kind: agent.ask(f"async {kind} MACT_ALL\n") for kind in ("text", "json")}
        json.loads(whole["json"])
        for budget in (("--slice-rows", 1), ("--slice-rows", 3), ("--slice-bytes", 1)):
            with Agent(*state, *budget) as agent:
                for kind, expected in whole.items():
                    answer, told = agent.askWithDescriptor(f"async {kind} MACT_ALL\n")
                    self.assertEqual(answer, expected)
                    self.assertGreater(told[-1]["slices"], 1000)

    def test_rows_present_throughout_come_out_once_while_the_table_churns(self):
        with Agent("--demo", "--macs", 20000, "--churn", 200000, "--slice-rows", 50) as agent:
            for _ in range(3):
                document = agent.askJson("async json MACT_ALL\n")
                keys = [(row["vlan"], row["mac"]) for row in document["macTableEntries"]]
                self.assertEqual(keys, sorted(set(keys)))
                # Churn touches dynamic entries only: the others are there throughout.
                steady = {(row["vlan"], row["mac"]) for row in document["macTableEntries"]
                          if row["type"] != "learnedDynamic"}
                with Agent("--demo") as resting:
                    expected = {(row["vlan"], row["mac"])
                                for row in resting.askJson("async json MACT_ALL\n")["macTableEntries"]
                                if row["type"] != "learnedDynamic"}
                self.assertLessEqual(expected, steady)

    def test_client_that_closes_its_sending_side_gets_its_whole_answer(self):
        with Agent("--macs", 50000) as agent:
            with agent.connect() as connection:
                connection.sendall(b"async json MACT_ALL\n")
                connection.shutdown(socket.SHUT_WR)
                self.assertEqual(json.loads(readAll(connection))["numEntries"], 50000)

    def test_short_commands_are_answered_while_dumps_wait_for_their_readers(self):
        with Agent("--macs", 100000) as agent:
            waiting = []
            for _ in range(8):
                connection = agent.connect()
                connection.sendall(b"async json MACT_ALL\n")
                waiting.append(connection)
            for _ in range(50):
                self.assertEqual(agent.ask("plain text NOPE\n"), b"Invalid Command\n")
            for connection in waiting:
                self.assertEqual(json.loads(readAll(connection))["numEntries"], 100000)
                connection.close()

    def test_dump_that_nobody_reads_ends_with_client_gone_after_the_set_time(self):
        with Agent("--macs", 100000, "--client-timeout", 0.3) as agent:
            control, answer = agent.send("async text MACT_ALL\n")
            with control, answer:
                done = events(control)[-1]
                self.assertEqual(done["status"], "client-gone")
                self.assertIn("0.3 s", done["message"])
            self.assertAnswers(agent)

    @unittest.skipIf(kSanitized, "a sanitizer's memory is not the agent's")
    def test_dump_that_nobody_reads_costs_at_most_two_mebibytes(self):
        with Agent("--macs", 300000) as agent:
            agent.ask("async json MACT_ALL\n")  # what a first dump sets up for all later ones
            before = agent.resident()
            connections = []
            for kind in ("text", "json"):
                connection = agent.connect()
                connection.sendall(f"async {kind} MACT_ALL\n".encode())
                connections.append(connection)
            while [each["state"] for each in agent.askJson("agent json requests\n")["requests"]
                   ].count("waiting for its reader") != len(connections):
                pass
            self.assertLessEqual(agent.resident() - before, len(connections) * 2 * 1024 * 1024)
            for connection in connections:
                connection.close()

    def test_client_that_vanishes_at_any_moment_leaves_nothing_behind(self):
        # More than the kernel holds for a reader, so that every dump is cut off.
        with Agent("--macs", 100000) as agent:
            for received in (0, 1, 100, 65536, 1000000):
                with agent.connect() as connection:
                    connection.sendall(b"async json MACT_ALL\n")
                    left = received
                    while left > 0:
                        left -= len(connection.recv(min(left, 65536)))
                control, answer = agent.send("async json MACT_ALL\n")
                answer.close()
                self.assertEqual(events(control)[-1]["status"], "client-gone")
                control.close()
                control, answer = agent.send("async json MACT_ALL\n")
                control.close()  # the operator is gone, whoever holds the answer's other end
                readAll(answer)
                answer.close()
            while agent.live("L2SwTableRequestSm") != 0:
                pass
            self.assertAnswers(agent)

    def test_cancelled_request_says_so_and_its_answer_ends(self):
        with Agent("--macs", 100000) as agent:
            control, answer = agent.send("async text MACT_ALL\n")
            with control, answer:
                accepted = json.loads(control.recv(65536).splitlines()[0])
                agent.ask(f"agent text cancel {accepted['id']}\n")
                self.assertEqual(events(control)[-1]["status"], "cancelled")
                self.assertLess(len(readAll(answer)), 100000 * 109)
            self.assertAnswers(agent)
