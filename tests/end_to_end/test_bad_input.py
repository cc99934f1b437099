"""Bad input gets one clear message, and the agent goes on."""

import os
import socket
import stat

from korvo import *


class RequestLines(TestCase):
    def refused(self, agent, line, *words):
        answer = agent.ask(line).decode()
        self.assertEqual(answer.count("\n"), 1, answer)
        for word in words:
            self.assertIn(word, answer)
        self.assertAnswers(agent)

    def test_malformed_lines_are_answered_with_one_line_that_says_what_is_wrong(self):
        with Agent() as agent:
            self.refused(agent, "bogus text MACT_ALL\n", "bogus", "plain, sync, async or agent")
            self.refused(agent, "async xml MACT_ALL\n", "xml", "text or json")
            self.refused(agent, "async\n", "ENTRY FORMAT COMMAND")
            self.refused(agent, "\n", "ENTRY FORMAT COMMAND")
            self.refused(agent, b"async text \xff\xfe\n", "UTF-8")
            self.refused(agent, "agent text nonsense\n", "status")

    def test_line_of_64_kib_is_taken_and_a_longer_one_refused(self):
        with Agent() as agent:
            head = "plain text "
            fits = head + "X" * (64 * 1024 - len(head) - 1) + "\n"
            self.assertEqual(agent.ask(fits), b"Invalid Command\n")
            self.refused(agent, "plain text " + "X" * 70000 + "\n", "65536")

    def test_connection_closed_before_its_line_is_complete_is_dropped(self):
        with Agent() as agent:
            for start in (b"", b"a", b"async json MACT_ALL"):
                with agent.connect() as connection:
                    connection.sendall(start)
            self.assertAnswers(agent)


class Descriptors(TestCase):
    def refused(self, agent, *numbers):
        with agent.connect() as control:
            control.sendmsg([b"async text MACT_ALL\n"], [descriptors(*numbers)])
            answer = readAll(control).decode()
        self.assertIn("refused", answer)
        self.assertAnswers(agent)
        return answer

    def test_descriptor_that_is_no_stream_socket_is_refused(self):
        with Agent("--demo") as agent:
            reading, writing = os.pipe()
            self.refused(agent, writing)
            os.close(reading)
            os.close(writing)
            with open(os.devnull, "wb") as file:
                self.refused(agent, file.fileno())
            one, other = socket.socketpair(socket.AF_UNIX, socket.SOCK_DGRAM)
            with one, other:
                self.refused(agent, one.fileno())

    def test_two_descriptors_are_refused(self):
        with Agent("--demo") as agent:
            one, other = socket.socketpair()
            with one, other:
                self.refused(agent, one.fileno(), other.fileno())


class Documents(TestCase):
    def refused(self, document, *words, option="--state"):
        path = self.write("state.json", document)
        status, out, messages = runAgent("--socket", path.parent / "s", option, path)
        self.assertEqual((status, out), (2, ""), messages)
        for word in (str(path), *words):
            self.assertIn(word, messages)
        self.assertFalse((path.parent / "s").exists())

    def test_unreadable_document_names_the_file_and_the_reason(self):
        status, out, messages = runAgent("--state", "/nonexistent/state.json")
        self.assertEqual((status, out), (2, ""))
        self.assertIn("/nonexistent/state.json", messages)
        self.assertIn("No such file", messages)

    def test_syntax_error_names_line_and_column(self):
        self.refused('{\n  "macTable": {\n    "entries": [,]\n', ":3:")

    def test_wrong_content_names_its_json_pointer(self):
        entry = '{"vlan": 4095, "mac": "0000.0000.0001", "interface": "Ethernet1"}'
        self.refused('{"version": 1, "macTable": {"entries": [%s]}}' % entry,
                     "/macTable/entries/0/vlan",
                     "Bridging::VlanId::value < 1 or > 4094 not allowed")

    def test_two_chips_of_one_name_are_refused(self):
        chips = '[{"id": 0, "name": "a"}, {"id": 1, "name": "a"}]'
        self.refused('{"version": 1, "switch": {"chips": %s}}' % chips, "/switch/chips/1",
                     'chip 0 has the name "a" already')

    def test_bridge_dump_that_is_none_is_refused(self):
        self.refused("{}", option="--bridge-json")
        self.refused('[{"mac": "nonsense", "ifname": "a", "master": "br0"}]', "nonsense",
                     option="--bridge-json")


class Sockets(TestCase):
    def test_socket_of_a_living_agent_is_not_taken(self):
        with Agent("--demo") as agent:
            status, out, messages = runAgent("--socket", agent.socket)
            self.assertNotEqual(status, 0)
            self.assertEqual(out, "")
            self.assertIn(agent.socket, messages)
            self.assertAnswers(agent)

    def test_socket_left_by_a_dead_agent_is_replaced(self):
        with Agent("--demo") as agent:
            path = self.write("unused", "").parent / "agent.sock"
            dead = socket.socket(socket.AF_UNIX)
            dead.bind(str(path))
            dead.close()
            self.assertTrue(path.exists())
            with Agent("--demo", socketPath=path) as successor:
                self.assertAnswers(successor)
            self.assertAnswers(agent)

    def test_file_that_is_no_socket_is_left_alone(self):
        path = self.write("precious", "text")
        status, out, messages = runAgent("--socket", path)
        self.assertNotEqual(status, 0)
        self.assertIn(str(path), messages)
        self.assertEqual(path.read_text(), "text")

    def test_socket_is_for_owner_and_group_and_goes_with_the_agent(self):
        with Agent() as agent:
            self.assertEqual(stat.S_IMODE(os.stat(agent.socket).st_mode), 0o660)
            path = agent.socket
        self.assertFalse(os.path.exists(path))

    def test_agent_ends_cleanly_with_dumps_in_progress(self):
        with Agent("--macs", 100000) as agent:
            control, answer = agent.send("async json MACT_ALL\n")
            with control, answer:
                control.recv(1)
                agent.process.send_signal(signal.SIGINT)
                self.assertEqual(agent.process.wait(kPatience), 0)
                self.assertIn(b'"cancelled"', readAll(control))
