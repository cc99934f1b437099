"""Agents that are killed, ended, suspended and started again while many are being answered."""

from load import *

kMacs = 20000
kTimes = 5
kDumps = 40
kOperators = 3
# Of which the kernel holds a part only: whoever does not read all of it keeps it in progress.
kLargeDump = "async json MACT_HW_ALL0,1,2"
kTable = ("--demo", "--macs", kMacs, "--churn", 1000)


class Operator(threading.Thread):
    """Asks for dumps again and again, whether there is an agent or not, and tells what it gets."""

    kText, kJson = "async text MACT_ALL\n", "async json MACT_ALL\n"

    def __init__(self, agent):
        super().__init__()
        self.agent = agent  # any one at the socket
        self.enough = threading.Event()
        self.served = threading.Event()
        self.outcomes = collections.Counter()
        self.problem = None

    def run(self):
        try:
            while not self.enough.is_set():
                for ask in (self.askOnConnection, self.askWithDescriptor, self.askByClient):
                    try:
                        outcome = ask()
                    except (ConnectionRefusedError, FileNotFoundError):
                        outcome = "no agent"
                    except (ConnectionResetError, BrokenPipeError):
                        outcome = "cut off"
                    self.outcomes[outcome] += 1
                    if outcome == "whole":
                        self.served.set()
        except Exception as e:
            self.problem = repr(e)

    def askOnConnection(self):
        answer = self.agent.ask(self.kJson)
        try:
            json.loads(answer)
        except ValueError:
            return "cut off"
        return "whole"

    def askWithDescriptor(self):
        text, told = self.agent.askWithDescriptor(self.kText)
        if not told or told[-1]["event"] != "done":
            return "cut off"
        if told[-1]["status"] != "ok" or told[-1]["bytes"] != len(text):
            return told[-1]
        return "whole"

    def askByClient(self):
        done = self.agent.client("show", "mac", "address-table", text=True)
        outcome = (done.returncode, done.stderr)
        if outcome == (0, "") and re.search(r"\nNumber of entries : \d+\n\Z", done.stdout):
            return "whole"
        if outcome[0] == 4 and f"no agent answers at {self.agent.socket}" in outcome[1]:
            return "no agent"
        if outcome[0] == 4 and "closed the connection without a word" in outcome[1]:
            return "cut off"
        if outcome[0] == 5 and "the answer may be cut off after" in outcome[1]:
            return "cut off"
        return outcome

    def waitForAnAnswer(self):
        # The first whole answer may be one that was asked for earlier.
        for _ in range(2):
            self.served.clear()
            if not self.served.wait(kPatience):
                raise AssertionError(f"an operator gets nothing any more: {self.problem}")


class Ends(TestCase):
    def startClients(self, agent):
        """Clients in the middle of a dump that they cannot get rid of."""
        clients = []
        for words in (["show", "mac", "hardware", "--json"], ["raw", *kLargeDump.split()]):
            clients.append(self.enterContext(
                subprocess.Popen([kClient, "-s", agent.socket, *words], stdin=subprocess.DEVNULL,
                                 stdout=subprocess.PIPE, stderr=subprocess.PIPE, bufsize=0)))
            self.addCleanup(clients[-1].kill)
        for client in clients:
            self.assertEqual(client.stdout.read(1), b"{")
        return clients

    def assertClientsSay(self, clients, expected):
        for client in clients:
            out, err = client.communicate(timeout=kPatience)
            self.assertEqual(client.returncode, 5)
            self.assertRegex(err.decode(), expected.replace("N", str(len(out) + 1)))
            self.assertRaises(ValueError, json.loads, b"{" + out)

    def assertNobodyAnswers(self, agent, error, word):
        self.assertRaises(error, agent.connect)
        done = agent.client("agent", "status", text=True)
        self.assertEqual((done.returncode, done.stdout), (4, ""))
        self.assertRegex(done.stderr, rf"\Akorvoctl: no agent answers at {agent.socket}: {word}; is "
                                      r"korvo-l2-agent running\?.*\n\Z")

    def midway(self, agent):
        """Readers of dumps that are under way, and of which some have been read."""
        with held(agent):
            return [Reader(agent, kLargeDump, aWhile, "stops", n % 2 == 0, chance=random.Random(n))
                    for n in range(kDumps)]

    def folder(self):
        return self.write("unused", "").parent

    def test_an_agent_that_is_killed_midway_is_noticed_by_all_and_replaced_at_its_socket(self):
        path = self.folder() / "agent.sock"
        operators = []
        try:
            for _ in range(kTimes):
                with Agent(*kTable, socketPath=path) as agent:
                    self.assertEqual(agent.ask("plain text NOPE\n"), b"Invalid Command\n")
                    if not operators:
                        operators = [Operator(agent) for _ in range(kOperators)]
                        for operator in operators:
                            operator.start()
                    for operator in operators:
                        operator.waitForAnAnswer()
                    with Load(self.midway(agent)) as load:
                        load.untilAllHaveStopped()
                        clients = self.startClients(agent)
                        agent.kill()
                        for reader in load.ended():
                            self.assertRaises(ValueError, json.loads, reader.received)
                            self.assertIsNone(reader.done)
                    self.assertClientsSay(clients, "the answer may be cut off after N bytes: the agent "
                                                   "closed the connection before it said how")
                    self.assertNobodyAnswers(agent, ConnectionRefusedError, "Connection refused")
        finally:
            for operator in operators:
                operator.enough.set()
            for operator in operators:
                operator.join()
        for operator in operators:
            self.assertIsNone(operator.problem)
            self.assertLessEqual(operator.outcomes.keys(), {"whole", "no agent", "cut off"})
            self.assertGreaterEqual(operator.outcomes["whole"], 2 * kTimes)

    def test_an_agent_that_is_ended_midway_says_so_to_all_and_waits_for_nobody(self):
        path = self.folder() / "agent.sock"
        for _ in range(kTimes):
            with Agent(*kTable, socketPath=path) as agent:
                with Load(self.midway(agent)) as load:
                    load.untilAllHaveStopped()
                    clients = self.startClients(agent)
                    # Nobody reads while it ends.
                    agent.process.terminate()
                    self.assertEqual(agent.process.wait(kPatience), 0)
                    for reader in load.ended():
                        self.assertRaises(ValueError, json.loads, reader.received)
                        if reader.said:
                            self.assertEqual((reader.done["status"], reader.done["message"]),
                                             ("cancelled", "the agent ends"))
                self.assertClientsSay(clients, "the request was cancelled after N bytes, the answer is "
                                               "cut off: the agent ends")
                self.assertNobodyAnswers(agent, FileNotFoundError, "No such file or directory")

    def test_an_agent_that_is_suspended_is_not_waited_for_for_ever_and_goes_on_afterwards(self):
        with Agent("--demo") as agent:
            expected = agent.ask("async text MACT_ALL\n")
            with held(agent), agent.connect() as connection:
                connection.sendall(b"async text MACT_ALL\n")
                done = agent.client("--timeout", "0.2", "show", "mac", "address-table", text=True)
                self.assertEqual((done.returncode, done.stdout), (4, ""))
                self.assertIn("says nothing; gave up after 0.2 s", done.stderr)
                agent.process.send_signal(signal.SIGCONT)
                self.assertEqual(readAll(connection), expected)
            waitUntil(lambda: agent.numRequests() == 0)
            self.assertAnswers(agent)

    def test_an_agent_that_is_suspended_midway_is_given_up(self):
        with Agent("--macs", 200000) as agent:
            client = self.enterContext(subprocess.Popen(
                [kClient, "-s", agent.socket, "--silence", "0.5", "show", "mac", "address-table"],
                stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE, bufsize=0))
            self.addCleanup(client.kill)
            begin = client.stdout.read(1)
            # More than the pipe and the sockets hold is still to come.
            with held(agent):
                out, err = client.communicate(timeout=kPatience)
                self.assertEqual(client.returncode, 5)
                self.assertRegex(err.decode(),
                                 r"\Akorvoctl: the agent at .* has said nothing for 0\.5 s .* after "
                                 rf"{len(begin + out)} bytes, the answer is cut off\n\Z")
            waitUntil(lambda: agent.numRequests() == 0)
            self.assertAnswers(agent)
