"""The programs that are compared: how each gets a table of so many rows, and how it prints it.

A table is started by `with`, has a command that prints it, and a pattern of the rows in what that
prints. It raises Unavailable where the program cannot be had or cannot be given the table.
"""

import contextlib
import os
import subprocess

import unixctl
from processes import Unavailable, daemon, kPatience, listening, run, waitFor


class Table:
    title = ""           # the command as an operator types it
    package = ""         # where its programs come from
    mustReach = None     # our rows a second over its own
    aimFor = None
    most = None          # rows that it can hold
    rowPattern = b""     # a whole row; the group is its key

    def __init__(self, programs, folder, rows):
        self.programs, self.folder, self.rows = programs, folder, rows
        self.environment = programs.environment
        self.stack = contextlib.ExitStack()
        self.command = []

    def __enter__(self):
        if self.most is not None and self.rows > self.most:
            raise Unavailable(f"it holds at most {self.most} rows")
        self.folder.mkdir()
        with contextlib.ExitStack() as stack:
            self.start(stack)
            self.stack = stack.pop_all()
        return self

    def __exit__(self, *failure):
        return self.stack.__exit__(*failure)

    def start(self, stack):
        """Starts what holds the table, which goes with the stack, fills it and sets `command`."""
        raise NotImplementedError


def macAddress(number):
    return "02:4b:%02x:%02x:%02x:%02x" % tuple(number.to_bytes(4, "big"))


class Korvo(Table):
    title = "korvoctl show mac address-table"
    rowPattern = (rb"^ *((?:\d+|-) +[0-9a-f]{4}\.[0-9a-f]{4}\.[0-9a-f]{4})"
                  rb" +\S+ +\S+ +\S+ +\S+ +\S+ +\S+ +\S+ *$")

    def __init__(self, programs, folder, rows, bin):
        super().__init__(programs, folder, rows)
        self.bin = bin
        self.environment = dict(os.environ)

    def start(self, stack):
        socket, log = self.folder / "agent.sock", self.folder / "log"
        agent = stack.enter_context(daemon(
            [self.bin / "korvo-l2-agent", "--socket", socket, "--macs", self.rows, "--seed", 1], log,
            self.environment, stdout=subprocess.PIPE))
        ready = agent.stdout.readline()
        if ready.decode() != f"ready {socket}\n":
            raise Unavailable(f"the agent said {ready!r} and: {log.read_text().strip()}")
        self.command = [self.bin / "korvoctl", "-s", socket, "show", "mac", "address-table"]


class OpenVSwitch(Table):
    title = "ovs-appctl fdb/show"
    package = "openvswitch-switch"
    mustReach, aimFor = 5, 10
    most = 1_000_000
    rowPattern = rb"^ *(?:\d+|LOCAL) +(\d+ +[0-9a-f:]{17}) +(?:static|\d+) *$"

    def start(self, stack):
        def find(*paths):
            return self.programs.find(*paths, package=self.package)
        server = find("usr/sbin/ovsdb-server")
        switch = find("usr/lib/openvswitch-switch/ovs-vswitchd", "usr/sbin/ovs-vswitchd")
        schema = find("usr/share/openvswitch/vswitch.ovsschema")
        tool, vsctl, appctl = (find(f"usr/bin/{name}") for name in ("ovsdb-tool", "ovs-vsctl", "ovs-appctl"))

        folders = ("OVS_RUNDIR", "OVS_LOGDIR", "OVS_DBDIR", "OVS_SYSCONFDIR")
        self.environment = {**self.environment, **{name: str(self.folder) for name in folders}}
        database, socket = self.folder / "conf.db", self.folder / "db.sock"
        run([tool, "create", database, schema], self.environment)
        log = self.folder / "server.log"
        process = stack.enter_context(daemon(
            [server, database, f"--remote=punix:{socket}", f"--unixctl={self.folder / 'db.ctl'}",
             "--no-chdir"], log, self.environment))
        waitFor(lambda: listening(socket), process, log)
        control, log = self.folder / "switch.ctl", self.folder / "switch.log"

        def configure(*words):
            run([vsctl, f"--db=unix:{socket}", f"--timeout={kPatience}", *words], self.environment)
        configure("--no-wait", "init")
        # Only ports and a data path that exist in this process alone, whatever the kernel could do.
        process = stack.enter_context(daemon(
            [switch, f"unix:{socket}", "--enable-dummy", "--disable-system", f"--unixctl={control}",
             "--no-chdir"], log, self.environment))
        waitFor(lambda: listening(control), process, log)
        ports = [f"swp{number}" for number in range(1, 5)]
        configure("add-br", "br0", "--", "set", "bridge", "br0", "datapath_type=dummy",
                  f"other-config:mac-table-size={self.rows}", "other-config:mac-aging-time=86400",
                  *[word for port in ports for word in ("--", "add-port", "br0", port, "--",
                                                        "set", "interface", port, "type=dummy")])
        # Learned, as in a switch at work, by following one made-up frame of each address. Static entries
        # would be filled in less time and dumped in three times as much: the daemon looks at all of them
        # between any two pieces of an answer.
        try:
            unixctl.sendAll(str(control), (
                ("ofproto/trace", "br0", f"in_port={ports[number % len(ports)]},dl_vlan={number % 4094 + 1},"
                 f"dl_src={macAddress(number)},dl_dst=02:4b:ff:ff:ff:ff,dl_type=0x1234", "-generate")
                for number in range(self.rows)), kPatience)
        except (RuntimeError, OSError) as e:
            raise Unavailable(f"its table could not be filled: {e}") from e
        self.command = [appctl, "-t", control, "fdb/show", "br0"]


class Bird(Table):
    title = "birdc show route"
    package = "bird2"
    mustReach, aimFor = 5, 10
    most = 1 << 24
    rowPattern = rb"^(10\.\d+\.\d+\.\d+/32) +blackhole \[.*\] .*$"

    def start(self, stack):
        bird, client = (self.programs.find(f"usr/sbin/{name}", package=self.package)
                        for name in ("bird", "birdc"))
        config, socket, log = (self.folder / name for name in ("bird.conf", "bird.sock", "log"))
        with open(config, "w", encoding="ascii") as file:
            file.write("log stderr all;\nrouter id 192.0.2.1;\nprotocol static {\n  ipv4 {};\n")
            for number in range(self.rows):
                file.write("  route 10.%d.%d.%d/32 blackhole;\n" % tuple(number.to_bytes(3, "big")))
            file.write("}\n")
        process = stack.enter_context(daemon(
            [bird, "-f", "-c", config, "-s", socket, "-P", self.folder / "bird.pid"], log, self.environment))
        waitFor(lambda: listening(socket), process, log)
        wanted = f"{self.rows} of {self.rows} routes ".encode()
        waitFor(lambda: wanted in run([client, "-s", socket, "show", "route", "count"], self.environment),
                process, log)
        self.command = [client, "-s", socket, "show", "route"]


class LinuxBridge(Table):
    title = "bridge fdb show"
    package = "iproute2"
    rowPattern = rb"^([0-9a-f:]{17}) dev swp\d+ master br0 static *$"

    def __init__(self, programs, folder, rows, noNetwork):
        super().__init__(programs, folder, rows)
        self.noNetwork = noNetwork

    def start(self, stack):
        if self.noNetwork:
            raise Unavailable(f"a network of its own is not permitted here: {self.noNetwork}; "
                              "it needs root, or user namespaces")
        ip, bridge = (self.programs.find(f"usr/sbin/{name}", f"sbin/{name}", f"bin/{name}", f"usr/bin/{name}",
                                         package=self.package) for name in ("ip", "bridge"))
        run([ip, "link", "add", "br0", "type", "bridge"], self.environment)
        stack.callback(run, [ip, "link", "del", "br0"], self.environment)
        ports = [f"swp{number}" for number in range(1, 5)]
        for port in ports:
            run([ip, "link", "add", port, "type", "veth", "peer", "name", f"{port}-peer"], self.environment)
            stack.callback(run, [ip, "link", "del", port], self.environment)
            run([ip, "link", "set", port, "master", "br0", "up"], self.environment)
        run([ip, "link", "set", "br0", "up"], self.environment)
        run([bridge, "-batch", "-"], self.environment, stdin=None, input="".join(
            f"fdb add {macAddress(number)} dev {ports[number % len(ports)]} master static\n"
            for number in range(self.rows)).encode())
        self.command = [bridge, "fdb", "show", "br", "br0"]
