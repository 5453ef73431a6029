"""Card ports on Linux TAP interfaces, in a network namespace of the test's
own, driven from the Linux side with packet sockets.

    linux = LinuxPorts(card, ports)        # the plugin's linux_ports fixture
    linux.attach("1/1/2")                  # a TAP in the test's namespace
    ports.send("1/1/2", frame)             # written on the TAP, served in
    ports.verify_packet("1/1/2", frame)    # read off the TAP

The first use moves the whole process into network and mount namespaces of
its own (root only), so whatever a failed run leaves goes with the process;
the test namespaces live on a tmpfs over /run/netns there.
"""
import ctypes
import os
import select
import shutil
import socket
import struct
import subprocess
import time

# Generous: a loaded machine shared by several builds is slow, and every
# wait ends as soon as its condition holds.
DEADLINE = 30.0
SERVE_SLICE = 0.01

CLONE_NEWNS = 0x00020000
CLONE_NEWNET = 0x40000000
MS_REC = 0x4000
MS_PRIVATE = 1 << 18
ETH_P_ALL = 0x0003
SOL_PACKET = 263
PACKET_AUXDATA = 8
PACKET_OUTGOING = 4
TP_STATUS_VLAN_VALID = 0x10
TP_STATUS_VLAN_TPID_VALID = 0x40
AUXDATA = struct.Struct("=IIIHHHH")  # tpacket_auxdata
NETNS_DIR = "/run/netns"

_libc = ctypes.CDLL(None, use_errno=True)
_private = False


class Unavailable(Exception):
    """What this machine lacks for Linux ports."""


def _check(status, what):
    if status != 0:
        error = ctypes.get_errno()
        raise Unavailable("%s: %s" % (what, os.strerror(error)))


def missing_requirements():
    """What the Linux ports need that is missing, in words (empty: none)."""
    missing = []
    if os.geteuid() != 0:
        missing.append("root (network namespaces and TAP interfaces)")
    if not os.path.exists("/dev/net/tun"):
        missing.append("/dev/net/tun")
    if shutil.which("ip") is None:
        missing.append("the ip command (iproute2)")
    return missing


def enter_private_namespaces():
    """Moves this process into new network and mount namespaces, once, with
    a tmpfs of its own over /run/netns."""
    global _private  # pylint: disable=global-statement
    if _private:
        return
    _check(_libc.unshare(CLONE_NEWNET | CLONE_NEWNS), "unshare of the network and mount namespaces")
    _check(_libc.mount(None, b"/", None, MS_REC | MS_PRIVATE, None), "making the mounts private")
    os.makedirs(NETNS_DIR, exist_ok=True)
    _check(_libc.mount(b"tmpfs", NETNS_DIR.encode(), b"tmpfs", 0, None), "a tmpfs on " + NETNS_DIR)
    _private = True


def run(*argv):
    done = subprocess.run(argv, capture_output=True, text=True, timeout=DEADLINE, check=False)
    if done.returncode != 0:
        raise RuntimeError("%s: exit %d: %s" % (" ".join(argv), done.returncode, done.stderr.strip()))
    return done.stdout


def serve_until(card, condition, what, take=None):
    """Serves the card in small slices until condition() holds, handing
    what each slice collected to take(); AssertionError naming `what` after
    the deadline."""
    end = time.monotonic() + DEADLINE
    while not condition():
        if time.monotonic() > end:
            raise AssertionError("%s did not happen within %g s" % (what, DEADLINE))
        card.serve(SERVE_SLICE)
        if take is not None:
            take(card.collect())


class InNamespace:
    """The calling thread in network namespace `netns` for a while."""

    def __init__(self, netns):
        self.netns = netns
        self._original = None

    def __enter__(self):
        self._original = os.open("/proc/thread-self/ns/net", os.O_RDONLY | os.O_CLOEXEC)
        target = os.open(os.path.join(NETNS_DIR, self.netns), os.O_RDONLY | os.O_CLOEXEC)
        try:
            _check(_libc.setns(target, CLONE_NEWNET), "entering network namespace " + self.netns)
        finally:
            os.close(target)
        return self

    def __exit__(self, *exc):
        try:
            _check(_libc.setns(self._original, CLONE_NEWNET), "leaving network namespace " + self.netns)
        finally:
            os.close(self._original)


def with_tag(data, auxdata):
    """The frame as it was on the wire: the 802.1Q tag the kernel moved into
    the packet's auxiliary data put back after the MACs."""
    if len(auxdata) < AUXDATA.size:
        return data
    status, _, _, _, _, tci, tpid = AUXDATA.unpack_from(auxdata)
    if not status & TP_STATUS_VLAN_VALID:
        return data
    if not status & TP_STATUS_VLAN_TPID_VALID:
        tpid = 0x8100
    return data[:12] + struct.pack("!HH", tpid, tci) + data[12:]


class LinuxPort:
    """Card port `port` on TAP `interface` in namespace `netns`, with a
    packet socket on the TAP's Linux side."""

    def __init__(self, card, port, netns, interface):
        self.card = card
        self.port = port
        self.netns = netns
        self.interface = interface
        self._socket = None
        card.attach_tap(port, interface, netns)
        try:
            run("ip", "-n", netns, "link", "set", "dev", interface, "up")
            with InNamespace(netns):
                sock = socket.socket(socket.AF_PACKET, socket.SOCK_RAW, socket.htons(ETH_P_ALL))
                try:
                    sock.bind((interface, ETH_P_ALL))
                    sock.setsockopt(SOL_PACKET, PACKET_AUXDATA, 1)
                except BaseException:
                    sock.close()
                    raise
            self._socket = sock
            serve_until(card, self._has_link, "a link on %s (TAP %s up in %s)" % (port, interface, netns))
        except BaseException:
            self.close()
            raise

    def _has_link(self):
        return int(self.card.api.get_port_link_state(self.port)) == 1

    def _received_octets(self):
        return self.card.port(self.port).counter("if_in_octets")

    def send(self, data):
        """`data` leaves the Linux side of the TAP; returns what the card did
        with it (and anything else it collected while serving)."""
        if not self._has_link():
            raise AssertionError("port %s has no link: a frame from %s cannot enter it" % (self.port, self.interface))
        before = self._received_octets()
        self._socket.send(data)
        collected = Collected()
        serve_until(self.card, lambda: self._received_octets() != before,
                    "the card taking in the frame sent on %s in %s (port %s counts what enters it)"
                    % (self.interface, self.netns, self.port), collected.add)
        collected.add(self.card.collect())
        return collected

    def _read(self, timeout):
        """The next frame the Linux side received, or None after `timeout`."""
        end = time.monotonic() + timeout
        while True:
            left = max(0.0, end - time.monotonic())
            readable, _, _ = select.select([self._socket], [], [], left)
            if not readable:
                return None
            data, ancillary, _, address = self._socket.recvmsg(65536, socket.CMSG_SPACE(AUXDATA.size))
            if address[2] == PACKET_OUTGOING:
                continue
            for level, kind, value in ancillary:
                if level == SOL_PACKET and kind == PACKET_AUXDATA:
                    data = with_tag(data, value)
            return data

    def receive(self, port):
        """The next frame the Linux side received (the card says it sent
        one on `port`)."""
        data = self._read(DEADLINE)
        if data is None:
            raise AssertionError("the card sent a frame on %s, but %s in %s received nothing within %g s"
                                 % (port, self.interface, self.netns, DEADLINE))
        return data

    def close(self):
        if self._socket is not None:
            self._socket.close()
            self._socket = None
        try:
            self.card.detach(self.port)
        except Exception:  # pylint: disable=broad-except
            pass  # the card may be gone already; the TAP goes with it


class Collected:
    """Results of several collects, as one Result."""

    def __init__(self):
        self.egress = []
        self.cpu = []
        self.drop = ""
        self.trace = []

    def add(self, result):
        self.egress.extend(result.egress)
        self.cpu.extend(result.cpu)
        self.trace.extend(result.trace)
        if result.drop:
            self.drop = result.drop


class LinuxPorts:
    """The Linux ports of one test, in a namespace of the test's own."""

    _count = 0

    def __init__(self, card, ports):
        enter_private_namespaces()
        LinuxPorts._count += 1
        self.card = card
        self.ports = ports
        self.netns = "vornpy%d" % LinuxPorts._count
        self._attached = {}
        run("ip", "netns", "add", self.netns)
        with InNamespace(self.netns):
            # The kernel then sends nothing of its own through the card.
            for scope in ("all", "default"):
                with open("/proc/sys/net/ipv6/conf/%s/disable_ipv6" % scope, "w") as setting:
                    setting.write("1")

    def attach(self, port, interface=None):
        """Card port `port` on a TAP in the test's namespace."""
        port = self.ports.port(port)
        if port in self._attached:
            raise ValueError("port %s is on a Linux interface already (%s)"
                             % (port, self._attached[port].interface))
        interface = interface or "tap" + port.replace("/", "_")
        linux = LinuxPort(self.card, port, self.netns, interface)
        self._attached[port] = linux
        self.ports.attach_linux(port, linux)
        return linux

    def __getitem__(self, port):
        return self._attached[self.ports.port(port)]

    def serve_until(self, condition, what):
        """Serves the card in small slices, queuing what it sends on `ports`,
        until condition() holds (a generous deadline, then AssertionError
        naming `what`)."""
        serve_until(self.card, condition, what, self.ports.take)

    def close(self):
        for port, linux in self._attached.items():
            self.ports.detach_linux(port)
            linux.close()
        self._attached.clear()
        run("ip", "netns", "del", self.netns)
