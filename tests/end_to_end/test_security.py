"""What docs/security.md promises, shown on real processes: who may do what, what surrounds the
programs, what they hold open, how they are built. Some of it takes root, for a client of another
user has to be one."""

import collections
import contextlib
import re
import resource
import select
import shutil
import stat
import uuid

from korvo import *
from named_tests import existingTests

# Numbers that no user or group of a machine has; no entry in a database is needed for them.
kStranger, kOperator, kAgentUser = 612345, 612346, 612347
kSocketGroup, kAdminGroup = 612400, 612401

kClear = "clear multicast shadow".split()
kCompare = "show multicast groups hardware --differences".split()

kPrograms = ["korvo-l2-agent", "korvoctl"]
kLibraries = ["libKorvoPlatform.so", "libKorvoL2CliCallbacks.so"]


@unittest.skipUnless(os.geteuid() == 0, "only root can run a client as another user")
class Access(TestCase):
    def agent(self, *options, **process):
        """An agent whose socket the socket group reaches, and a client that everybody may run."""
        folder = pathlib.Path(tempfile.mkdtemp(prefix="korvo-test-"))
        self.addCleanup(shutil.rmtree, folder, True)
        folder.chmod(0o755)
        if "user" in process:
            self.skipUnlessReachable(process["user"])
            os.chown(folder, process["user"], -1)
        self.korvoctl = folder / "korvoctl"
        shutil.copy(kClient, self.korvoctl)
        self.korvoctl.chmod(0o755)
        return Agent("--demo", *options, socketPath=folder / "agent.sock", **process)

    def skipUnlessReachable(self, user):
        try:
            subprocess.run([kAgent, "--version"], stdin=subprocess.DEVNULL, capture_output=True,
                           check=True, timeout=kPatience, user=user, group=user, extra_groups=[])
        except (OSError, subprocess.CalledProcessError):
            self.skipTest(f"other users cannot run what is in {kBuild}")

    def runAs(self, agent, user, groups, *words):
        done = subprocess.run([self.korvoctl, "-s", agent.socket, *words], stdin=subprocess.DEVNULL,
                              capture_output=True, text=True, timeout=kPatience, cwd="/",
                              user=user, group=user, extra_groups=groups)
        return done.returncode, done.stdout, done.stderr

    def test_who_is_not_in_the_group_of_the_socket_does_not_get_in(self):
        with self.agent("--socket-group", kSocketGroup) as agent:
            status = os.lstat(agent.socket)
            self.assertEqual((status.st_uid, status.st_gid, stat.S_IMODE(status.st_mode)),
                             (0, kSocketGroup, 0o660))
            self.assertEqual(self.runAs(agent, kStranger, [], "agent", "chips")[0], 4)
            self.assertEqual(self.runAs(agent, kStranger, [kAdminGroup], "agent", "chips")[0], 4)
            self.assertEqual(self.runAs(agent, kOperator, [kSocketGroup], "agent", "chips")[0], 0)

    def test_an_operator_looks_but_does_not_change(self):
        with self.agent("--socket-group", kSocketGroup, "--admin-group", kAdminGroup) as agent:
            before = self.runAs(agent, kOperator, [kSocketGroup], *kCompare)
            self.assertEqual(before[0], 0)
            for words in (kClear, "raw plain text HW_MCAST_CLEARx".split(),
                          "raw plain text HW_MCAST_CLEAR+HW_MCAST_ALL".split()):
                status, out, err = self.runAs(agent, kOperator, [kSocketGroup], *words)
                self.assertEqual((status, out), (3, ""))
                self.assertIn("HW_MCAST_CLEAR clears the shadow of the multicast groups; only root "
                              f"and members of group {kAdminGroup} may do that", err)
            self.assertEqual(self.runAs(agent, kOperator, [kSocketGroup], *kCompare), before)

    def test_a_member_of_the_admin_group_changes_things(self):
        with self.agent("--socket-group", kSocketGroup, "--admin-group", kAdminGroup) as agent:
            groups = [4, kSocketGroup, kAdminGroup]
            before = self.runAs(agent, kOperator, groups, *kCompare)
            self.assertEqual(self.runAs(agent, kOperator, groups, *kClear), (0, "", ""))
            self.assertNotEqual(self.runAs(agent, kOperator, groups, *kCompare), before)

    def test_the_agents_own_user_changes_things_and_root_does(self):
        for user in (kAgentUser, 0):
            with self.agent(user=kAgentUser, group=kSocketGroup, extra_groups=[]) as agent:
                before = self.runAs(agent, user, [], *kCompare)
                self.assertEqual(self.runAs(agent, kOperator, [kSocketGroup], *kClear)[0], 3)
                self.assertEqual(self.runAs(agent, user, [], *kClear), (0, "", ""))
                self.assertNotEqual(self.runAs(agent, user, [], *kCompare), before)

    def test_a_request_of_another_user_is_cancelled_by_an_admin_only(self):
        options = ["--socket-group", kSocketGroup, "--admin-group", kAdminGroup, "--macs", 200000]
        with self.agent(*options) as agent:
            control, answer = agent.send("async text MACT_ALL\n")
            with control, answer:
                number = str(json.loads(control.makefile().readline())["id"])
                status, out, err = self.runAs(agent, kOperator, [kSocketGroup], "agent", "cancel",
                                              number)
                self.assertEqual((status, out), (3, ""))
                self.assertIn(f"request {number} belongs to another user", err)
                status, out, err = self.runAs(agent, kOperator, [kSocketGroup, kAdminGroup],
                                              "agent", "cancel", number)
                self.assertEqual((status, out), (0, f"request {number} is cancelled\n"), err)
                self.assertEqual(events(control)[-1]["status"], "cancelled")

    @contextlib.contextmanager
    def hoard(self, agent, user, silent):
        """Somebody with more than a thousand silent connections: what those were told that were told
        anything, when no more than `silent` are left that were not. They all stay open."""
        soft, hard = resource.getrlimit(resource.RLIMIT_NOFILE)
        resource.setrlimit(resource.RLIMIT_NOFILE, (hard, hard))
        poller = select.poll()
        with contextlib.ExitStack() as stack:
            stack.callback(resource.setrlimit, resource.RLIMIT_NOFILE, (soft, hard))
            kept = {}
            # A connection is of the user who makes it.
            os.setegid(kSocketGroup)
            os.seteuid(user)
            try:
                for _ in range(1024):
                    connection = stack.enter_context(socket.socket(socket.AF_UNIX))
                    connection.connect(agent.socket)  # waits where the agent's queue is full
                    kept[connection.fileno()] = connection
                    poller.register(connection, select.POLLIN)
            finally:
                os.seteuid(0)
                os.setegid(0)
            told = collections.Counter()
            while told.total() < len(kept) - silent and (ready := poller.poll(kPatience * 1000)):
                for descriptor, _ in ready:
                    told[kept[descriptor].recv(1000).decode()] += 1
                    poller.unregister(descriptor)
            yield told

    def test_one_users_thousand_silent_connections_keep_nobody_out(self):
        options = ["--socket-group", kSocketGroup, "--line-timeout", 1000]
        process = {"user": kAgentUser, "group": kSocketGroup, "extra_groups": []}
        limit = f"user {kOperator} has 576 connections, which is the limit; close one of them and try again"
        with self.agent(*options, **process) as agent, self.hoard(agent, kOperator, 576) as told:
            self.assertEqual(told, {f"refused: {limit}\n": 1024 - 576})
            status, out, err = self.runAs(agent, kOperator, [kSocketGroup], "agent", "chips")
            self.assertEqual((status, out), (3, ""))
            self.assertIn(limit, err)
            for user in (0, kAgentUser, kStranger):
                self.assertEqual(self.runAs(agent, user, [kSocketGroup], "agent", "chips")[0], 0)
            # Those that were told are forgotten within two seconds, though they stay open.
            waitUntil(lambda: agent.askJson("agent json status\n")["connections"] == 577)

    def test_whatever_all_others_hold_root_and_the_agents_own_user_get_in(self):
        options = ["--socket-group", kSocketGroup, "--max-connections", 10, "--line-timeout", 1000]
        process = {"user": kAgentUser, "group": kSocketGroup, "extra_groups": []}
        limit = "the agent has 10 connections, which is the limit; try again when others have left"
        with self.agent(*options, **process) as agent, self.hoard(agent, kOperator, 10) as told:
            self.assertEqual(told, {f"refused: {limit}\n": 1024 - 10})
            status, out, err = self.runAs(agent, kStranger, [kSocketGroup], "agent", "chips")
            self.assertEqual((status, out), (3, ""))
            self.assertIn(limit, err)
            for user in (0, kAgentUser):
                for words in (["agent", "chips"], kCompare):
                    self.assertEqual(self.runAs(agent, user, [], *words)[0], 0)

    def test_unread_answers_of_a_user_keep_its_further_requests_out(self):
        options = ["--socket-group", kSocketGroup, "--macs", 100000, "--max-unread-answers-per-user", 3]
        told = ("user {} has 3 unread answers, which is the limit; read one to its end, or end one")
        with self.agent(*options) as agent, contextlib.ExitStack() as unread:
            def numUnread():
                return [request["state"] for request in agent.askJson("agent json requests\n")[
                    "requests"]].count("waiting for its reader")
            os.setegid(kSocketGroup)
            os.seteuid(kOperator)
            try:
                dumps = [unread.enter_context(agent.connect()) for _ in range(3)]
            finally:
                os.seteuid(0)
                os.setegid(0)
            for dump in dumps:
                dump.sendall(b"async json MACT_ALL\n")
            waitUntil(lambda: numUnread() == 3)
            status, out, err = self.runAs(agent, kOperator, [kSocketGroup], *kCompare)
            self.assertEqual((status, out), (3, ""))
            self.assertIn(told.format(kOperator), err)
            self.assertEqual(self.runAs(agent, kOperator, [kSocketGroup], "agent", "chips")[0], 0)
            for user in (0, kStranger):
                self.assertEqual(self.runAs(agent, user, [kSocketGroup], *kCompare)[0], 0)
            self.assertGreater(len(json.loads(readAll(dumps[0]))["macTableEntries"]), 100000 - 1)
            waitUntil(lambda: numUnread() == 2)
            self.assertEqual(self.runAs(agent, kOperator, [kSocketGroup], *kCompare)[0], 0)

    def test_an_agent_that_may_not_give_its_socket_away_ends(self):
        folder = pathlib.Path(tempfile.mkdtemp(prefix="korvo-test-"))
        self.addCleanup(shutil.rmtree, folder, True)
        self.skipUnlessReachable(kAgentUser)
        os.chown(folder, kAgentUser, -1)
        agent = Agent("--socket-group", kSocketGroup, socketPath=folder / "agent.sock",
                      user=kAgentUser, group=kAgentUser, extra_groups=[])
        with self.assertRaisesRegex(AssertionError, f"cannot give it to group {kSocketGroup}"):
            agent.__enter__()
        self.assertEqual(agent.process.returncode, 1)
        agent.process.stdout.close()
        agent.log.close()
        shutil.rmtree(agent.folder)
        self.assertEqual(list(folder.iterdir()), [])


class Groups(TestCase):
    def test_a_group_that_there_is_not_ends_the_agent(self):
        for option in ("--socket-group", "--admin-group"):
            status, out, err = runAgent(option, "no such group")
            self.assertEqual((status, out), (2, ""))
            self.assertIn(f'{option}: there is no group "no such group"', err)


class Surroundings(TestCase):
    """Neither environment nor locale nor folder changes a byte of an answer."""

    kRequests = [
        "async text MACT_ALL", "async json MACT_ALL", "async text VXLAN_VLAN",
        "async json VXLAN_ROUTING_INFO", "async text ING_VLAN_RANGE", "async text VLAN_XLATE_STATUS",
        "sync text VXLAN_VLAN_SUMMARY", "plain text MCAST_ALL", "plain text FCVDV",
        "plain text VniIngressFlexCountersValues", "plain text NOPE", "agent json chips",
        "agent text schema", "plain text HW_FIFOREG"]
    kCommands = [
        ["show", "mac", "address-table"], ["show", "mac", "address-table", "--json"],
        ["show", "vxlan", "vlan"], ["check", "mac", "missing"], ["show", "mcast"], ["--help"],
        ["show", "mac", "--help"], ["agent", "chips"]]
    # As unlike each other as can be; the first is what the others are compared with.
    kEnvironments = [
        {},
        {"LANG": "tr_TR.UTF-8", "LC_ALL": "de_DE.UTF-8", "LC_NUMERIC": "de_DE.UTF-8",
         "LANGUAGE": "de:fr", "TZ": "Asia/Kathmandu", "TERM": "dumb", "COLUMNS": "20",
         "LINES": "3"},
        {"LANG": "C", "LC_ALL": "POSIX", "TZ": ":/nowhere", "HOME": "/nowhere", "TMPDIR": "/nowhere",
         "USER": "somebody", "PATH": "/nowhere", "TERM": "xterm-256color", "COLUMNS": "500",
         "CLICOLOR_FORCE": "1", "POSIXLY_CORRECT": "1", "XDG_CONFIG_HOME": "/nowhere"}]

    def places(self):
        elsewhere = pathlib.Path(tempfile.mkdtemp(prefix="korvo-test-"))
        self.addCleanup(shutil.rmtree, elsewhere, True)
        # What would be read if anything were looked for where a program is started.
        for name in ("KorvoL2.json", "KorvoQuorra.json", "libKorvoL2CliCallbacks.so", "korvoctl.ini",
                     "korvo-l2-agent.ini", "config.ini"):
            (elsewhere / name).write_text('{"ShowL2EcmpVxlanDestination": true}\n')
        return ["/", elsewhere, elsewhere]

    def environment(self, additions):
        # A build with a sanitizer is told by its options what it may do.
        kept = {name: value for name, value in os.environ.items() if name.endswith("SAN_OPTIONS")}
        return {**kept, **additions}

    def test_the_agent_answers_the_same_everywhere(self):
        answers = []
        for place, additions in zip(self.places(), self.kEnvironments):
            with Agent("--demo", cwd=place, env=self.environment(additions)) as agent:
                answers.append({line: agent.ask(line + "\n") for line in self.kRequests})
        self.assertGreater(len(answers[0]["async text MACT_ALL"]), 1000)
        for other in answers[1:]:
            for line in self.kRequests:
                self.assertEqual(answers[0][line], other[line], line)

    def test_the_client_prints_the_same_everywhere(self):
        with Agent("--demo") as agent:
            outcomes = []
            for place, additions in zip(self.places(), self.kEnvironments):
                outcomes.append([])
                for words in self.kCommands:
                    done = agent.client(*words, cwd=place, env=self.environment(additions))
                    outcomes[-1].append((words, done.returncode, done.stdout, done.stderr))
            self.assertGreater(len(outcomes[0][0][2]), 1000)
            for other in outcomes[1:]:
                for mine, theirs in zip(outcomes[0], other):
                    self.assertEqual(mine, theirs)

    def test_the_documented_variable_alone_tells_the_client_where_to_ask(self):
        with Agent("--demo") as agent:
            done = subprocess.run([kClient, "agent", "chips"], stdin=subprocess.DEVNULL,
                                  capture_output=True, timeout=kPatience, cwd="/",
                                  env=self.environment({"KORVO_L2_SOCKET": agent.socket}))
            self.assertEqual((done.returncode, done.stdout),
                             (0, agent.client("agent", "chips").stdout))

    def test_nothing_asks_for_a_locale(self):
        for name in kPrograms + kLibraries:
            asked = re.findall(r"\s(setlocale|newlocale|uselocale|_ZNSt6localeC[12]EPKc\w*)[@\s]",
                               readelf("--dyn-syms", "--wide", name))
            self.assertEqual(asked, [], name)


class Names(TestCase):
    def test_no_command_makes_the_agent_keep_a_name(self):
        def numNames():
            return agent.askJson("agent json status\n")["tables"]["interfaceNames"]

        def name():
            return f"made-up-{uuid.uuid4().hex}"

        shapes = ("{0}{1}", "{0}+{1}", "{0}+detail+0,{1}", "{0}_VLAN-{1}", "{0}_MAC-{1}",
                  "{0}+VFI+CHIP+{1}+VAL+{1}", "{0}+interface={1}", "cancel {1}",
                  "{0}+dst-mac=0200.0200.0002,vlan-id=0,ingress-intf-id={1}")
        with Agent("--demo") as agent:
            before = numNames()
            self.assertGreater(before, 50)
            keywords = [("plain", row) for row in keywordsOf("PlainHandlerChain.cpp")] + \
                       [("sync", "VXLAN_VLAN_SUMMARY"), ("agent", "")] + \
                       [("async", row) for row in keywordsOf("FormattedHandlerChain.cpp")]
            self.assertGreater(len(keywords), 30)
            for entry, keyword in keywords:
                for shape in shapes:
                    agent.ask(f"{entry} text {shape.format(keyword, name())}\n")
            self.assertEqual(numNames(), before)
            self.assertAnswers(agent)


def keywordsOf(source):
    text = (kSource / "KorvoL2" / "KorvoL2CliCallbacks" / source).read_text()
    return re.findall(r'[rR]ow<CliCallback\w*::\w+>\("([^"]+)"\)', text)


class OpenFiles(TestCase):
    def test_the_agent_holds_nothing_open_that_others_could_change_or_inherit(self):
        state = self.write("state.json", '{"version": 1}')
        trace = state.parent / "trace"
        with Agent("--demo", "--state", state, "--trace-file", trace) as agent:
            for line in Surroundings.kRequests:
                agent.ask(line + "\n")
            folder = pathlib.Path(f"/proc/{agent.process.pid}")
            numbers = [int(entry.name) for entry in (folder / "fd").iterdir()]
            self.assertGreater(len(numbers), 4)
            for number in numbers:
                if number <= 2:
                    continue
                target = os.readlink(folder / "fd" / str(number))
                flags = int(re.search(r"flags:\s+(\d+)", (folder / "fdinfo" / str(number)).read_text())[1], 8)
                self.assertTrue(flags & os.O_CLOEXEC, target)
                self.assertNotEqual(target, str(state))
                if target == str(trace):
                    self.assertEqual(flags & os.O_ACCMODE, os.O_WRONLY)
                    self.assertTrue(flags & os.O_APPEND)
                elif target.startswith("/"):
                    self.assertEqual(flags & os.O_ACCMODE, os.O_RDONLY, target)
                else:
                    self.assertRegex(target, r"^(socket|pipe|anon_inode):")

    @unittest.skipIf(kSanitized, "a sanitizer maps memory of its own")
    def test_no_memory_of_the_agent_is_shared_writable_or_code_that_can_be_written(self):
        with Agent("--demo") as agent:
            agent.ask("async text MACT_ALL\n")
            modes = re.findall(r"^\S+ (\S{4}) .*$",
                               pathlib.Path(f"/proc/{agent.process.pid}/maps").read_text(), re.M)
            self.assertGreater(len(modes), 20)
            for mode in set(modes):
                self.assertFalse("w" in mode and ("s" in mode or "x" in mode), mode)


class TraceFiles(TestCase):
    kLoud = ["--trace", "KorvoL2CliCallbacks=9", "--trace", "KorvoAgent=9"]

    def assertUnharmed(self, agent, times=1):
        with Agent("--demo") as quiet:
            expected = quiet.ask("async text MACT_ALL\n")
        for _ in range(times):
            self.assertEqual(agent.ask("async text MACT_ALL\n"), expected)
        self.assertAnswers(agent)

    def folder(self):
        folder = pathlib.Path(tempfile.mkdtemp(prefix="korvo-test-"))
        self.addCleanup(shutil.rmtree, folder, True)
        return folder

    def test_a_full_disk_does_not_hurt(self):
        with Agent("--demo", *self.kLoud, "--trace-file", "/dev/full") as agent:
            self.assertUnharmed(agent)

    def test_the_limit_of_file_sizes_does_not_hurt(self):
        path = self.folder() / "trace"
        limit = 4096
        with Agent("--demo", *self.kLoud, "--trace-file", path,
                   preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit))
                   ) as agent:
            self.assertUnharmed(agent, times=20)
            self.assertEqual(path.stat().st_size, limit)

    def test_a_pipe_that_nobody_opens_is_refused_at_once(self):
        path = self.folder() / "pipe"
        os.mkfifo(path)
        status, out, err = runAgent("--socket", path.parent / "agent.sock", "--trace-file", path)
        self.assertEqual((status, out), (1, ""))
        self.assertIn(f"cannot open trace file {path}", err)

    def test_a_pipe_that_nobody_reads_does_not_hurt(self):
        path = self.folder() / "pipe"
        os.mkfifo(path)
        reader = os.open(path, os.O_RDONLY | os.O_NONBLOCK)
        try:
            with Agent("--demo", *self.kLoud, "--trace-file", path) as agent:
                # Until it is full: each answer writes several lines, and a pipe takes 64 KiB.
                self.assertUnharmed(agent, times=400)
        finally:
            os.close(reader)

    def test_who_may_read_it_is_not_the_starters_choice(self):
        for umask in (0, 0o777):
            path = self.folder() / "trace"
            with Agent(*self.kLoud, "--trace-file", path, umask=umask) as agent:
                agent.ask("plain text NOPE\n")
                self.assertEqual(oct(stat.S_IMODE(path.stat().st_mode)), oct(0o640))
                self.assertEqual(oct(stat.S_IMODE(os.lstat(agent.socket).st_mode)), oct(0o660))
                self.assertGreater(path.stat().st_size, 0)


def cached(name):
    cache = (kBuild / "CMakeCache.txt").read_text()
    match = re.search(rf"^{name}:\w+=(.*)$", cache, re.M)
    return match[1] if match else ""


def readelf(*options):
    *flags, name = options
    path = kBuild / "bin" / name if name in kPrograms else next(kBuild.rglob(name))
    return subprocess.run(["readelf", *flags, path], stdin=subprocess.DEVNULL, text=True,
                          capture_output=True, check=True, timeout=kPatience).stdout


@unittest.skipIf(kSanitized, "a sanitizer's build is not what is installed")
@unittest.skipUnless(shutil.which("readelf"), "there is no readelf here")
class Hardening(TestCase):
    def test_addresses_are_made_anew_in_every_process(self):
        for name in kPrograms:
            self.assertRegex(readelf("-h", name), r"Type:\s+DYN ")
            self.assertRegex(readelf("-d", name), r"\(FLAGS_1\).*\bPIE\b")
        for name in kLibraries:
            self.assertRegex(readelf("-h", name), r"Type:\s+DYN ")

    def test_tables_of_addresses_are_read_only_once_it_runs(self):
        for name in kPrograms + kLibraries:
            self.assertRegex(readelf("-lW", name), r"\n\s+GNU_RELRO\s")
            self.assertRegex(readelf("-d", name), r"\(FLAGS(_1)?\).*\b(BIND_)?NOW\b")
            self.assertNotIn("(TEXTREL)", readelf("-d", name))

    def test_data_is_no_code_and_code_is_no_data(self):
        for name in kPrograms + kLibraries:
            segments = readelf("-lW", name)
            stack = re.search(r"\n\s+GNU_STACK\s.*?\s([RWE ]+)\s+0x[0-9a-f]+\n", segments)
            self.assertEqual(stack[1].replace(" ", ""), "RW", name)
            loaded = re.findall(r"\n\s+LOAD\s.*?\s([RWE ]+)\s+0x[0-9a-f]+(?=\n)", segments)
            self.assertGreater(len(loaded), 2)
            for flags in loaded:
                self.assertFalse("W" in flags and "E" in flags, name)

    def test_an_overrun_stack_is_noticed(self):
        for name in kPrograms + kLibraries:
            self.assertIn("__stack_chk_fail", readelf("--dyn-syms", "--wide", name), name)

    def test_the_build_that_is_installed_asks_for_checks(self):
        folder = pathlib.Path(tempfile.mkdtemp(prefix="korvo-test-"))
        self.addCleanup(shutil.rmtree, folder, True)
        done = subprocess.run(
            [cached("CMAKE_COMMAND"), "-S", kSource, "-B", folder, "-G", "Ninja",
             "-DCMAKE_BUILD_TYPE=Release", "-DKORVO_BUILD_TESTS=OFF",
             f"-DCMAKE_CXX_COMPILER={cached('CMAKE_CXX_COMPILER')}",
             f"-DKORVO_FMT_ROOT={cached('KORVO_FMT_ROOT')}"],
            stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=kPatience)
        self.assertEqual(done.returncode, 0, done.stderr)
        commands = json.loads((folder / "compile_commands.json").read_text())
        self.assertGreater(len(commands), 50)
        for command in commands:
            words = command["command"].split()
            for word in ("-D_FORTIFY_SOURCE=2", "-fstack-protector-strong",
                         "-fstack-clash-protection"):
                self.assertIn(word, words, command["file"])
            # Without optimisation the library leaves its checks out.
            self.assertRegex([word for word in words if re.fullmatch("-O.?", word)][-1], "-O[123]")

    def test_copies_of_known_size_are_checked(self):
        for name in kPrograms + ["libKorvoPlatform.so"]:
            self.assertRegex(readelf("--dyn-syms", "--wide", name), r"\s__\w+_chk@")


class Promises(TestCase):
    """docs/security.md names the tests that stand behind it."""

    def setUp(self):
        self.text = (kSource / "docs" / "security.md").read_text()
        # A promise is an item that begins in bold; the lines from "Tests:" on are names and no more.
        self.promises = re.findall(r"^- \*\*.*?(?=^\S|\Z)", self.text, re.M | re.S)

    def named(self, promise):
        tests = re.search(r"^  Tests: (.*)", promise, re.M | re.S)
        self.assertIsNotNone(tests, promise)
        names = re.findall(r"`(\w+(?:\.\w+)+)`", tests[1])
        self.assertEqual(re.sub(r"[,.\s]", "", re.sub(r"`[\w.]*`", "", tests[1])), "", promise)
        return names

    def test_every_promise_names_tests_that_exist(self):
        self.assertEqual(len(self.promises), len(re.findall(r"^- \*\*", self.text, re.M)))
        self.assertGreater(len(self.promises), 15)
        existing = existingTests()
        for promise in self.promises:
            names = self.named(promise)
            self.assertNotEqual(names, [], promise)
            self.assertEqual(sorted(set(names) - existing), [], promise)

    def test_every_test_of_this_page_is_named(self):
        named = {name for promise in self.promises for name in self.named(promise)}
        mine = {name for name in existingTests() if name.startswith("test_security.")
                and not name.startswith("test_security.Promises.")}
        self.assertGreater(len(mine), 15)
        self.assertEqual(sorted(mine - named), [])

    def test_every_changing_command_of_the_agent_is_listed(self):
        source = (kSource / "agent" / "server" / "ChangingCommands.cpp").read_text()
        rows = re.findall(r'\.entry = Entry::(\w+),\s*\.keyword = "([^"]+)",\s*\.what = "([^"]+)"',
                          source)
        self.assertNotEqual(rows, [])
        for entry, keyword, what in rows:
            self.assertIn(f"| `{entry} text {keyword}` | {what} |\n", self.text)


if __name__ == "__main__":
    unittest.main()
