"""An agent that is stopped for a while, and clients that say more than they are asked for: each gets
its whole answer and the end of file. Decided by counting the answers."""

import threading

from load import *

kLineTimeout = 3
kClients = 300


def outcome(connection):
    """What came, and how it ended."""
    pieces = []
    try:
        while piece := connection.recv(1 << 16):
            pieces.append(piece)
        return b"".join(pieces), "end of file"
    except OSError as e:
        return b"".join(pieces), type(e).__name__


class Stopped(TestCase):
    def test_lines_that_came_while_the_agent_was_stopped_are_all_served(self):
        with Agent("--demo", "--line-timeout", kLineTimeout) as agent:
            connections = [agent.connect() for _ in range(kClients)]
            # The agent has taken in whoever came before this question.
            self.assertEqual(agent.askJson("agent json status\n")["connections"], kClients + 1)
            with held(agent):
                since = time.monotonic()
                for connection in connections:
                    connection.sendall(b"plain text NOPE\n")
                # Until the time that each of them had is up: nothing else is waited for.
                time.sleep(max(0, since + kLineTimeout + 0.1 - time.monotonic()))
            outcomes = collections.Counter(outcome(connection) for connection in connections)
            for connection in connections:
                connection.close()
            self.assertEqual(outcomes, {(b"Invalid Command\n", "end of file"): kClients})
            self.assertAnswers(agent)


class MoreThanALine(TestCase):
    kSendBufferForce = 32  # SO_SNDBUFFORCE

    def test_bytes_that_came_behind_the_line_end_in_the_end_of_file(self):
        with Agent("--demo") as agent:
            connections = []
            with held(agent):
                for _ in range(30):
                    connection = agent.connect()
                    connections.append(connection)
                    # So much that the agent does not read it all at once, as far as the system lets us.
                    option = self.kSendBufferForce if os.geteuid() == 0 else socket.SO_SNDBUF
                    connection.setsockopt(socket.SOL_SOCKET, option, 2_000_000)
                    connection.sendall(b"plain text NOPE\n")
                    connection.setblocking(False)
                    with contextlib.suppress(BlockingIOError):
                        while True:
                            connection.send(b"x" * 16384)
                    connection.settimeout(kPatience)
            outcomes = collections.Counter(outcome(connection) for connection in connections)
            for connection in connections:
                connection.close()
            self.assertEqual(outcomes, {(b"Invalid Command\n", "end of file"): 30})

    def outcomeOf(self, agent, line, more):
        """Sends `more` bytes with the line while the answer is read; says whether all of them could
        be sent, too."""
        sent = []
        with agent.connect() as connection:
            def send():
                with contextlib.suppress(OSError):
                    connection.sendall(line + b"x" * more)
                    sent.append(True)

            sender = threading.Thread(target=send)
            sender.start()
            result = outcome(connection)
            sender.join()
            return *result, sent == [True]

    def test_bytes_that_still_come_are_heard_out(self):
        outcomes = collections.Counter()
        with Agent("--demo") as agent:
            for _ in range(20):
                for more in (1, 1000, 200_000, 1_000_000, 3_000_000):
                    outcomes[self.outcomeOf(agent, b"plain text NOPE\n", more)] += 1
            self.assertEqual(outcomes, {(b"Invalid Command\n", "end of file", True): 100})
            waitUntil(lambda: agent.askJson("agent json status\n")["connections"] == 1)
