"""How an agent starts and how it ends while it does: what is in its way, what signals do meanwhile,
what is printed where. Real processes throughout."""

import itertools
import os
import resource

from korvo import *

# A number that no user of a machine has; no entry in a database is needed for it.
kStranger = 612345


def catches(process, number):
    """Whether the process has a handler for the signal. It has been exec'ed: Popen waits for that."""
    status = pathlib.Path(f"/proc/{process.pid}/status").read_text()
    return int(re.search(r"^SigCgt:\s*(\w+)", status, re.M)[1], 16) >> (number - 1) & 1 == 1


class StartTestCase(TestCase):
    def folder(self):
        folder = pathlib.Path(tempfile.mkdtemp(prefix="korvo-test-"))
        self.addCleanup(shutil.rmtree, folder, True)
        return folder

    def start(self, *options, **process):
        """An agent that may or may not come as far as to serve."""
        started = subprocess.Popen([kAgent, *[str(option) for option in options]],
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                                   **{"stdin": subprocess.DEVNULL, **process})
        self.addCleanup(started.stdout.close)
        self.addCleanup(started.stderr.close)
        self.addCleanup(started.wait, kPatience)
        self.addCleanup(started.kill)
        return started


class Locks(StartTestCase):
    kHolder = """
import fcntl, os, sys
folder = os.open(sys.argv[1], os.O_RDONLY)
fcntl.flock(folder, fcntl.LOCK_EX)
print("locked", flush=True)
sys.stdin.read()
"""

    def test_who_may_read_the_folder_cannot_keep_an_agent_from_starting(self):
        folder = self.folder()
        folder.chmod(0o755)
        stranger = {"user": kStranger, "group": kStranger, "extra_groups": []}
        holder = subprocess.Popen(["python3", "-c", self.kHolder, folder], stdin=subprocess.PIPE,
                                  stdout=subprocess.PIPE, text=True,
                                  **(stranger if os.geteuid() == 0 else {}))
        with holder:
            try:
                self.assertEqual(holder.stdout.readline(), "locked\n")
                with Agent(socketPath=folder / "agent.sock") as agent:
                    self.assertAnswers(agent)
                    self.assertEqual(os.listdir(folder), ["agent.sock"])
            finally:
                holder.stdin.close()

    def test_of_agents_that_start_at_once_one_serves(self):
        for _ in range(5):
            folder = self.folder()
            path = folder / "agent.sock"
            # Each of them finds what a dead agent left, and may replace it.
            with socket.socket(socket.AF_UNIX) as dead:
                dead.bind(str(path))
            agents = [self.start("--socket", path) for _ in range(6)]
            said = [agent.stdout.readline() for agent in agents]
            self.assertEqual(sorted(said), [""] * 5 + [f"ready {path}\n"])
            serving = agents[said.index(f"ready {path}\n")]
            for agent in agents:
                if agent is not serving:
                    self.assertEqual(agent.wait(kPatience), 1)
                    self.assertRegex(agent.stderr.read(), "another agent is (serving|starting) there")
            with socket.socket(socket.AF_UNIX) as client:
                client.connect(str(path))
                client.sendall(b"plain text NOPE\n")
                self.assertEqual(readAll(client), b"Invalid Command\n")
            self.assertEqual(os.listdir(folder), ["agent.sock"])
            serving.terminate()
            self.assertEqual(serving.wait(kPatience), 0)
            self.assertEqual(os.listdir(folder), [])


class Signals(StartTestCase):
    kOptions = ("--state", "--bridge-json")

    def endsAtOnce(self, agent, number):
        waitUntil(lambda: catches(agent, number))
        agent.send_signal(number)
        self.assertEqual(agent.wait(kPatience), 0)
        self.assertEqual((agent.stdout.read(), agent.stderr.read()), ("", ""))

    def cases(self):
        return itertools.product(self.kOptions, (signal.SIGTERM, signal.SIGINT))

    def test_an_agent_ends_while_it_waits_for_a_document_that_nobody_opens(self):
        for option, number in self.cases():
            folder = self.folder()
            os.mkfifo(folder / "pipe")
            agent = self.start("--socket", folder / "s", option, folder / "pipe")
            self.endsAtOnce(agent, number)
            self.assertEqual(os.listdir(folder), ["pipe"])

    def test_an_agent_ends_while_it_reads_a_document_that_nobody_closes(self):
        for option, number in self.cases():
            folder = self.folder()
            os.mkfifo(folder / "pipe")
            agent = self.start("--socket", folder / "s", option, folder / "pipe")
            # Opens once the agent has opened it, too.
            with open(folder / "pipe", "wb", buffering=0) as document:
                document.write(b'[{"mac":"02:00:00:00:00:01",')
                self.endsAtOnce(agent, number)
            self.assertEqual(os.listdir(folder), ["pipe"])

    def test_an_agent_ends_while_it_reads_a_document_from_standard_input(self):
        for number in (signal.SIGTERM, signal.SIGINT):
            folder = self.folder()
            agent = self.start("--socket", folder / "s", "--bridge-json", "-",
                               stdin=subprocess.PIPE)
            self.endsAtOnce(agent, number)
            agent.stdin.close()

    def test_a_document_that_ends_after_all_is_served_and_signals_end_the_agent_cleanly(self):
        for number in (signal.SIGTERM, signal.SIGINT):
            folder = self.folder()
            agent = self.start("--socket", folder / "s", "--bridge-json", "-",
                               stdin=subprocess.PIPE)
            agent.stdin.write('[{"mac":"02:00:00:00:00:01","ifname":"swp1","master":"br0"}]')
            agent.stdin.close()
            self.assertEqual(agent.stdout.readline(), f"ready {folder / 's'}\n")
            agent.send_signal(number)
            self.assertEqual(agent.wait(kPatience), 0)
            self.assertEqual(os.listdir(folder), [])


class ClosedDescriptors(StartTestCase):
    def test_what_is_printed_goes_nowhere_else(self):
        for closed in ((0,), (1,), (2,), (0, 1), (0, 1, 2)):
            folder = self.folder()
            redirections = " ".join(f"{number}{'<' if number == 0 else '>'}&-" for number in closed)
            agent = subprocess.Popen(
                ["/bin/sh", "-c", f'exec "$0" "$@" {redirections}', kAgent, "--demo",
                 "--socket", folder / "s", "--trace-file", folder / "trace",
                 "--trace", "KorvoAgent=9", "--trace", "KorvoL2CliCallbacks=9"],
                stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
            with agent:
                answer = self.answerOf(folder / "s")
                self.assertEqual(answer, b"Invalid Command\n")
                for number in closed:
                    self.assertEqual(os.readlink(f"/proc/{agent.pid}/fd/{number}"), "/dev/null")
                agent.terminate()
                out, err = agent.communicate(timeout=kPatience)
                self.assertEqual(agent.returncode, 0)
                self.assertEqual(out, "" if 1 in closed else f"ready {folder / 's'}\n")
                self.assertEqual(err, "")
            traced = (folder / "trace").read_text()
            self.assertIn("NOPE", traced)
            for line in traced.splitlines():
                self.assertRegex(line, r"^Korvo\w+ \d ")

    def answerOf(self, path):
        """Asks as soon as there is somebody to ask; nothing else says so here."""
        with socket.socket(socket.AF_UNIX) as client:
            client.settimeout(kPatience)

            def connected():
                try:
                    client.connect(str(path))
                except (FileNotFoundError, ConnectionRefusedError):
                    return False
                return True
            waitUntil(connected)
            client.sendall(b"plain text NOPE\n")
            return readAll(client)


class TraceHandles(StartTestCase):
    def test_a_handle_that_there_is_not_is_refused_and_those_that_there_are_named(self):
        for setting in ("KorvoL2CliCallback=8", "korvoagent=1", "*=9"):
            status, out, err = runAgent("--trace", "KorvoAgent=1", "--trace", setting)
            self.assertEqual((status, out), (2, ""))
            name = setting.split("=")[0]
            self.assertEqual(err, f'korvo-l2-agent: --trace: there is no trace handle "{name}"; '
                                  "there are KorvoAgent, KorvoL2CliCallbacks, Toggles\n")

    def test_each_handle_that_is_named_is_taken(self):
        with Agent("--trace", "KorvoAgent=9", "--trace", "KorvoL2CliCallbacks=9",
                   "--trace", "Toggles=9") as agent:
            self.assertAnswers(agent)
            for handle in ("KorvoAgent 5 ", "KorvoL2CliCallbacks 5 "):
                self.assertIn(handle, agent.messages())


class EndlessDocuments(StartTestCase):
    kStream = "has more than 1073741824 bytes, the most that is read of what is no regular file; " \
              "write a larger document to a file"

    def assertRefused(self, name, message, *options, **process):
        done = subprocess.run([kAgent, "--socket", self.folder() / "s", *options],
                              capture_output=True, text=True, timeout=kPatience,
                              **{"stdin": subprocess.DEVNULL, **process})
        self.assertEqual((done.returncode, done.stdout, done.stderr),
                         (2, "", f"korvo-l2-agent: {name}: {message}\n"))

    def test_a_document_without_an_end_is_refused_at_a_limit_that_is_said(self):
        self.assertRefused("/dev/zero", self.kStream, "--state", "/dev/zero")
        with open("/dev/zero", "rb") as endless:
            self.assertRefused("standard input", self.kStream, "--bridge-json", "-", stdin=endless)

    def test_a_file_that_is_too_large_is_refused_unread(self):
        path = self.folder() / "large.json"
        with open(path, "wb") as file:
            file.truncate(4_000_000_001)
        self.assertRefused(path, "has more than 4000000000 bytes, the most that a document may "
                                 "have; leave out what is not needed", "--bridge-json", path)

    @unittest.skipIf(kSanitized, "a sanitizer takes address space by the terabyte")
    def test_a_document_that_memory_does_not_hold_is_refused_by_name(self):
        def littleMemory():
            resource.setrlimit(resource.RLIMIT_AS, (1 << 28, 1 << 28))
        message = "is too large for the memory of this machine"
        self.assertRefused("/dev/zero", message, "--state", "/dev/zero", preexec_fn=littleMemory)
        # There is memory for the text, but not for what is made of it.
        entries = ",".join('{"mac":"02:00:00:%02x:%02x:%02x","ifname":"swp1","master":"b"}' %
                           (n >> 16, n >> 8 & 255, n & 255) for n in range(600_000))
        path = self.write("fdb.json", f"[{entries}]")
        self.assertRefused(path, message, "--bridge-json", path, preexec_fn=littleMemory)


if __name__ == "__main__":
    unittest.main()
