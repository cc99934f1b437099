"""The agent under a memory checker, through everything that it can be asked."""

import shlex
import shutil

from korvo import *
from test_client import commandTable

kFoundErrors = 9
# Of which the kernel holds a part only.
kLargeDump = b"async json MACT_HW_ALL0,1,2\n"


@unittest.skipIf(kSanitized, "a sanitizer and valgrind do not go together")
@unittest.skipUnless(shutil.which("valgrind"), "there is no valgrind here")
class Valgrind(TestCase):
    def tour(self, agent):
        """Every command once in each of its formats."""
        for command in commandTable():
            words = shlex.split(command["example"].split(" && ")[0])[1:]
            words = [word for word in words if word != "--json"]
            # There is no request with the number of the example.
            statuses = (3,) if command["command"] == "agent cancel" else (0, 1)
            for form in [[], ["--json"]] if command["json"] else [[]]:
                with self.subTest(words=words + form):
                    done = agent.client("--timeout", str(kPatience), *words, *form)
                    self.assertIn(done.returncode, statuses, done.stderr)

    def test_no_command_reads_what_is_not_there_or_loses_memory(self):
        log = self.write("valgrind", "")
        valgrind = ["valgrind", f"--error-exitcode={kFoundErrors}", "--leak-check=full",
                    "--errors-for-leak-kinds=definite", f"--log-file={log}"]
        with Agent("--demo", "--macs", 15000, "--churn", 100, under=valgrind) as agent:
            self.tour(agent)
            for line in ("plain text NOPE\n", "async text MACT_DIFFjunk\n", "async json MACT_HW_ALL129\n",
                         "nonsense\n"):
                agent.ask(line)
            with agent.connect() as leaver:
                leaver.sendall(kLargeDump)
                leaver.recv(1)
            waitUntil(lambda: agent.numRequests() == 0)
            with agent.connect() as stopped:
                stopped.sendall(kLargeDump)
                stopped.recv(1)
                agent.process.terminate()
                status = agent.process.wait(kPatience)
            self.assertEqual(status, 0, log.read_text())
        self.assertIn("HEAP SUMMARY", log.read_text())
        self.assertIn("ERROR SUMMARY: 0 errors from 0 contexts", log.read_text())
