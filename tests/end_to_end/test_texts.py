"""What comes from outside and could move a terminal's cursor, forge a line or turn it round is shown by
its numbers, wherever a person reads it; JSON keeps the value."""

import json
import unittest

from korvo import Agent, TestCase, runAgent

# An escape sequence, a control character beyond ASCII, a mark that turns the direction of writing.
kHostile = "\x1b[2J\u009b31m\u202egnp"
kShown = "\\x1b[2J\\u{009b}31m\\u{202e}gnp"


class Texts(TestCase):
    def assertHarmless(self, text):
        for unsafe in "\x1b\u009b\u202e":
            self.assertNotIn(unsafe.encode(), text)

    def test_traces_and_refusals_show_no_control_character(self):
        with Agent("--demo", "--trace", "KorvoL2CliCallbacks=8", "--trace", "KorvoAgent=8") as agent:
            self.assertIn(b"Invalid Command", agent.ask(f"plain text {kHostile}\n"))
            refusal = agent.ask(f"entry{kHostile} text X\n")
            self.assertEqual(refusal.decode().splitlines()[0].split(";")[0],
                             f'refused: unknown entry "entry{kShown}"')
            agent.log.seek(0)
            log = agent.log.read()
            self.assertIn(kShown.encode(), log)
            self.assertHarmless(log)

    def test_requests_of_others_are_shown_in_text_and_kept_in_json(self):
        with Agent("--demo", "--macs", 200000, "--slice-rows", 1) as agent:
            control, answer = agent.send(f"async text MACT_ALL {kHostile}\n")
            with control, answer:
                self.assertIn(b'"accepted"', control.recv(1000))
                text = agent.ask("agent text requests\n")
                self.assertIn(f"MACT_ALL {kShown}".encode(), text)
                self.assertHarmless(text)
                document = agent.ask("agent json requests\n")
                self.assertIn(b"\\u001b[2J\\u009b31m\\u202egnp", document)
                self.assertIn(f"MACT_ALL {kHostile}",
                              [row["command"] for row in json.loads(document)["requests"]])

    def test_names_are_shown_in_tables_and_kept_in_json(self):
        state = self.write("state.json", json.dumps({"version": 1, "macTable": {"entries": [
            {"vlan": 1, "mac": "02:00:00:00:00:01", "interface": kHostile}]}}))
        with Agent("--state", state) as agent:
            text = agent.ask("async text MACT_ALL\n")
            self.assertIn(kShown.encode(), text)
            self.assertHarmless(text)
            [row] = agent.askJson("async json MACT_ALL\n")["macTableEntries"]
            self.assertEqual(row["interface"], kHostile)

    def test_the_client_shows_no_control_character_on_standard_error(self):
        with Agent("--demo") as agent:
            for words in ([kHostile], ["--" + "x", kHostile],
                          ["show", "mac", "hardware", "--chip", kHostile],
                          ["raw", "async", "text", "x" + kHostile]):
                done = agent.client(*words)
                self.assertNotEqual(done.returncode, 0)
                self.assertHarmless(done.stderr)
            self.assertIn(kShown.encode(), done.stderr)

    def test_the_agent_shows_no_control_character_of_a_document_on_standard_error(self):
        state = self.write("state.json", json.dumps({kHostile: 1}))
        status, _, errors = runAgent("--state", state)
        self.assertEqual(status, 2)
        self.assertIn(kShown, errors)
        self.assertHarmless(errors.encode())


if __name__ == "__main__":
    unittest.main()
