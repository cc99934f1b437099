"""The comparison with other programs counts what they print, and says of it what is true. Nothing is
installed or measured here: what the programs print was recorded."""

import json
import os
import pathlib
import signal
import socket
import subprocess
import sys
import tempfile
import threading
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "bench" / "peers"))

import measuring
import processes
import report
import tables
import unixctl

kAgent = pathlib.Path(os.environ["KORVO_BUILD_DIR"]) / "bin"
kRule = "-" * 110

# Three rows each, as their programs print them.
kSamples = {
    tables.Korvo: f"""\
{kRule}
    vlan     mac address   interface   mcastId                    type      bitmap      source flags keyType
{kRule}
       1  0200.0400.0400 uplink-to-spine-east-1 -       learnedDynamic         0x7    hardware   0x0  bridge
       -  0200.0f00.0001         Vl1         -                  router         0x7      system   0x2  bridge
      10  0100.5e01.0101           -         1               multicast         0x7    software   0x0  bridge
{kRule}
Number of entries : 3
""",
    tables.OpenVSwitch: """\
 port  VLAN  MAC                Age
    3     1  02:4b:00:00:00:00   73
LOCAL     0  02:4b:00:00:00:00    0
    2    10  02:00:00:00:00:01  static
""",
    tables.Bird: """\
BIRD 2.0.12 ready.
Table master4:
10.0.80.97/32        blackhole [static1 08:50:57.647] * (200)
10.1.64.153/32       blackhole [static1 08:50:57.647] * (200)
10.255.255.255/32    blackhole [static1 2026-11-20] * (200)
""",
    # The last of these lines are the bridge's own.
    tables.LinuxBridge: """\
33:33:00:00:00:01 dev br0 self permanent
01:00:5e:00:00:6a dev br0 self permanent
02:4b:00:01:86:9c dev swp1 master br0 static
02:4b:00:01:86:98 dev swp2 master br0 static
02:4b:00:01:86:94 dev swp4 master br0 static
7a:27:6d:5c:0b:11 dev swp4 vlan 1 master br0 permanent
7a:27:6d:5c:0b:11 dev swp4 master br0 permanent
01:00:5e:00:00:01 dev swp4 self permanent
""",
}


def sampleRows(table):
    """The recorded output of a table, in lines, and the numbers of its rows in them."""
    lines = kSamples[table].splitlines(keepends=True)
    kinds = ("learned", "router  ", "multicast ", "02:4b", "02:00:00:00:00:01", "blackhole")
    return lines, [number for number, line in enumerate(lines) if any(kind in line for kind in kinds)]


class Counting(unittest.TestCase):
    def check(self, table, lines, rows):
        measuring.checkRows(table.rowPattern, "".join(lines).encode(), rows)

    def test_rows_of_every_program_are_counted_and_nothing_else(self):
        for table in kSamples:
            with self.subTest(table.title):
                self.check(table, sampleRows(table)[0], 3)
                for wrong in (2, 4):
                    with self.assertRaisesRegex(measuring.WrongOutput, f"3 rows instead of {wrong}"):
                        self.check(table, sampleRows(table)[0], wrong)

    def test_missing_row_is_noticed(self):
        for table in kSamples:
            lines, rows = sampleRows(table)
            self.assertEqual(len(rows), 3)
            for row in rows:
                without = lines[:row] + lines[row + 1:]
                with self.subTest(table.title), self.assertRaisesRegex(measuring.WrongOutput, "2 rows inst"):
                    self.check(table, without, 3)

    def test_same_row_again_instead_of_another_is_noticed(self):
        for table in kSamples:
            lines, rows = sampleRows(table)
            lines[rows[2]] = lines[rows[0]]
            with self.subTest(table.title), self.assertRaisesRegex(measuring.WrongOutput, "only 2 different"):
                self.check(table, lines, 3)

    def test_row_that_breaks_off_is_none(self):
        for table in kSamples:
            lines, rows = sampleRows(table)
            cut = lines[:rows[2]] + [lines[rows[2]][:-9]]
            with self.subTest(table.title), self.assertRaisesRegex(measuring.WrongOutput, "2 rows instead"):
                self.check(table, cut, 3)

    def test_addresses_that_tables_are_filled_with_differ(self):
        self.assertEqual(tables.macAddress(0x01020304), "02:4b:01:02:03:04")
        self.assertEqual(len({tables.macAddress(number) for number in range(70000)}), 70000)


class Timing(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.messages = self.folder / "messages"

    def timeProgram(self, script, sink):
        return measuring.timeProgram(["sh", "-c", script], sink, dict(os.environ), self.messages)

    def test_sink_holds_all_that_a_program_prints(self):
        for size in (1, 1000, 1 << 20):
            sink = measuring.Sink(size)
            self.assertGreater(self.timeProgram("seq 1 20000", sink), 0)
            self.assertEqual(sink.output(), b"".join(b"%d\n" % number for number in range(1, 20001)))
            self.timeProgram("echo less", sink)
            self.assertEqual(sink.output(), b"less\n")

    def test_time_lasts_until_the_end_of_the_process_not_of_its_output(self):
        # The program goes on after it has closed its output; only its end lets the measurement end.
        gate = self.folder / "gate"
        os.mkfifo(gate)
        opener = threading.Thread(target=lambda: gate.write_text("go\n"))
        opener.start()
        self.timeProgram(f"exec >&-; read word <{gate}; echo $word >{self.folder}/ended", measuring.Sink(1))
        opener.join()
        self.assertEqual((self.folder / "ended").read_text(), "go\n")

    def test_program_that_fails_is_no_measurement(self):
        with self.assertRaisesRegex(measuring.WrongOutput, "status 3: no table"):
            self.timeProgram("echo row; echo first >&2; echo no table >&2; exit 3", measuring.Sink(1))

    def test_spread_is_the_middle_and_both_ends(self):
        self.assertEqual(measuring.spreadOf([5, 1, 3]), measuring.Spread(3, 1, 5))
        self.assertEqual(measuring.spreadOf([1, 2, 4, 100]), measuring.Spread(3, 1, 100))
        with self.assertRaises(ValueError):
            measuring.spreadOf([])

    def test_ratios_are_of_the_same_rounds(self):
        self.assertEqual(measuring.ratios([6, 8], [2, 4, 100]), [3, 2])


class Daemons(unittest.TestCase):
    def test_daemon_ends_with_its_block_even_if_that_fails(self):
        with tempfile.TemporaryDirectory() as folder:
            log = pathlib.Path(folder) / "log"
            with self.assertRaises(KeyError):
                with processes.daemon(["sh", "-c", "echo up; read line </dev/zero"], log,
                                      stdout=subprocess.PIPE) as process:
                    self.assertEqual(process.stdout.readline(), b"up\n")
                    raise KeyError
            self.assertEqual(process.returncode, -signal.SIGTERM)

    def test_daemon_that_ends_by_itself_is_told_with_its_last_words(self):
        with tempfile.TemporaryDirectory() as folder:
            log = pathlib.Path(folder) / "log"
            with processes.daemon(["sh", "-c", "echo no such port >&2; exit 4"], log) as process:
                with self.assertRaisesRegex(processes.Unavailable, "sh ended with status 4: no such port"):
                    processes.waitFor(lambda: False, process, log)

    def test_program_that_is_nowhere_is_told_with_its_package(self):
        with tempfile.TemporaryDirectory() as folder:
            program = pathlib.Path(folder) / "some-package" / "usr" / "sbin" / "korvo-no-such"
            with self.assertRaisesRegex(processes.Unavailable, "no usr/sbin/korvo-no-such.*some-package"):
                processes.Programs(folder).find("usr/sbin/korvo-no-such", package="some-package")
            program.parent.mkdir(parents=True)
            program.touch()
            (program.parents[1] / "lib" / "x86_64-linux-gnu").mkdir(parents=True)
            programs = processes.Programs(folder)
            self.assertEqual(programs.find("usr/sbin/korvo-no-such", package="some-package"), program)
            self.assertEqual(programs.environment["LD_LIBRARY_PATH"],
                             str(program.parents[1] / "lib" / "x86_64-linux-gnu"))


class Filling(unittest.TestCase):
    """The control socket's client against a daemon that answers what the test says."""

    def serve(self, answer):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        path = f"{folder.name}/ctl"
        listener = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        listener.bind(path)
        listener.listen(unixctl.kConnections)
        self.asked = []
        threads = []

        def converse(connection):
            decoder, text = json.JSONDecoder(), ""
            with connection:
                while piece := connection.recv(1 << 16):
                    text += piece.decode()
                    while text:
                        try:
                            request, end = decoder.raw_decode(text)
                        except json.JSONDecodeError:
                            break
                        text = text[end:]
                        self.asked.append((request["method"], *request["params"]))
                        reply = json.dumps({"id": request["id"], **answer(request)}).encode()
                        try:
                            # In two pieces: replies come as the kernel likes.
                            connection.sendall(reply[:7])
                            connection.sendall(reply[7:])
                        except OSError:
                            return

        def accept():
            for _ in range(unixctl.kConnections):
                threads.append(threading.Thread(target=converse, args=(listener.accept()[0],)))
                threads[-1].start()

        accepting = threading.Thread(target=accept)
        accepting.start()

        def end():
            accepting.join()
            for thread in threads:
                thread.join()
            listener.close()
        self.addCleanup(end)
        return path

    def test_every_command_is_sent_once_and_answered(self):
        path = self.serve(lambda request: {"result": "Flow: in {1}\n" * 30, "error": None})
        commands = [("ofproto/trace", "br0", str(number)) for number in range(5000)]
        unixctl.sendAll(path, commands, 60)
        self.assertEqual(sorted(self.asked), sorted(commands))

    def test_commands_that_fill_the_socket_arrive_whole(self):
        path = self.serve(lambda request: {"result": "", "error": None})
        commands = [("long", str(number) * 20000) for number in range(10, 99)]
        # The first connection takes 40 of them, which is more than a socket does at once.
        unixctl.sendAll(path, commands, 60)
        self.assertEqual(sorted(self.asked), sorted(commands))

    def test_fewer_commands_than_connections(self):
        path = self.serve(lambda request: {"result": "", "error": None})
        unixctl.sendAll(path, [("one",)], 60)
        self.assertEqual(self.asked, [("one",)])

    def test_refused_command_is_told(self):
        path = self.serve(lambda request: {"result": None, "error": "no such bridge\n"}
                          if request["params"] == ["77"] else {"result": "", "error": None})
        with self.assertRaisesRegex(RuntimeError, "^no such bridge$"):
            unixctl.sendAll(path, [("fdb/add", str(number)) for number in range(100)], 60)

    def test_replies_are_counted_however_they_are_cut(self):
        text = b'{"id":0,"result":"a } \\" {","error":null}{"id":1,"result":"","error":null}\n'
        for cut in range(len(text)):
            replies = unixctl.Replies()
            replies.feed(text[:cut])
            replies.feed(text[cut:])
            self.assertEqual(replies.count, 2)


class Reporting(unittest.TestCase):
    def figure(self, seconds, ours=None, goal=(5, 10), title="peer show"):
        figure = report.Figure(title, 1000, *(goal or ()))
        figure.seconds, figure.ours, figure.numBytes = seconds, ours, 39000
        return figure

    def test_figures_are_held_against_their_goals(self):
        for seconds, verdict in ((4.9, "MISSED"), (5, "reached"), (9.9, "reached"), (10, "aim met")):
            figure = self.figure([seconds] * 3, [1, 1, 1])
            self.assertEqual(figure.verdict, verdict)
            self.assertEqual(figure.inOrder, verdict != "MISSED")
        self.assertEqual(self.figure([2], [1], goal=None).verdict, "")

    def test_peer_that_was_not_measured_is_not_in_order_if_it_has_a_goal(self):
        for goal, verdict in (((5, 10), "not measured"), (None, "")):
            figure = self.figure([], [], goal)
            figure.failure = "there is no bird"
            self.assertEqual((figure.verdict, figure.inOrder), (verdict, goal is None))
            self.assertIn("Not measured: peer show, 1000 rows: there is no bird\n",
                          report.textOf({}, [figure]))
            self.assertEqual(report.textOf({}, [figure]).count("peer show"), 2)
            self.assertEqual(json.loads(report.jsonOf({}, [figure]))["figures"][0]["failure"],
                             "there is no bird")

    def test_table_shows_what_was_measured(self):
        ours = self.figure([0.001, 0.002, 0.004], goal=None, title="ours show")
        text = report.textOf({"kernel": "Linux"}, [ours, self.figure([0.012, 0.012], [0.001, 0.002])])
        lines = text.splitlines()
        self.assertEqual(lines[0], "kernel: Linux")
        self.assertEqual(lines[-2].split(), "1000 ours show 39.0 3 0.002 s 0.001 s 0.004 s 500 k".split())
        # 12 and 6 times: the middle is 9.
        self.assertEqual(lines[-1].split(), "1000 peer show 39.0 2 0.012 s 0.012 s 0.012 s 83.3 k 9.00 x "
                         ">= 5 >= 10 reached".split())

    def test_document_has_every_number(self):
        document = json.loads(report.jsonOf({"kernel": "Linux"}, [self.figure([6, 8, 10], [1, 2, 1])]))
        self.assertEqual(document, {"circumstances": {"kernel": "Linux"}, "figures": [{
            "rows": 1000, "command": "peer show", "bytes": 39000, "seconds": [6, 8, 10],
            "rowsPerSecond": 125, "ours": [1, 2, 1], "oursOverIt": 6, "oursOverItMin": 4,
            "oursOverItMax": 10, "mustReach": 5, "aimFor": 10, "verdict": "reached"}]})

    def test_rates_and_times_have_three_digits(self):
        self.assertEqual([report.rateText(value) for value in (5_070_000, 430_211, 52.3)],
                         ["5.07 M", "430 k", "52.3"])
        self.assertEqual([report.numberText(value) for value in (106.2, 12.34, 0.5, 0.0123)],
                         ["106", "12.3", "0.50", "0.012"])


class Run(unittest.TestCase):
    def test_korvoctl_is_measured_where_no_other_program_is(self):
        """The whole driver: without unpacked packages the peers are measured where they are installed, and
        told of where not. Either way each has its line."""
        with tempfile.TemporaryDirectory() as folder:
            done = subprocess.run(
                [sys.executable, "-B", pathlib.Path(unixctl.__file__).parent, "--bin", kAgent,
                 "--unpacked", f"{folder}/none", "--report", f"{folder}/report", "--rounds", "2", "300"],
                stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=100,
                env={**os.environ, "TMPDIR": folder})
            self.assertEqual(done.returncode, 0, done.stderr)
            # Sockets and files were in a folder there, which has gone.
            self.assertEqual(os.listdir(folder), ["report"])
            written = pathlib.Path(folder, "report", "peers.txt").read_text()
            figures = json.loads(pathlib.Path(folder, "report", "peers.json").read_text())["figures"]
        self.assertEqual(done.stdout, f"{written}\nReport: {folder}/report\n")
        self.assertEqual([figure["command"] for figure in figures],
                         ["korvoctl show mac address-table", "ovs-appctl fdb/show", "birdc show route",
                          "bridge fdb show"])
        self.assertEqual(len(figures[0]["seconds"]), 2)
        for figure in figures:
            self.assertEqual(figure["rows"], 300)
            self.assertTrue(("failure" in figure) != ("seconds" in figure), figure)


if __name__ == "__main__":
    unittest.main()
