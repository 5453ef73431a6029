"""Namespaces, links and watched processes for the topology tests.

Everything here runs inside the test program's own network and mount
namespaces (topology_test.py re-executes itself there), so a failed run
leaves nothing behind on the machine.
"""
import re
import signal
import subprocess
import threading
import time

# Generous: a loaded machine shared by several builds is slow, and a wait
# ends as soon as its condition holds.
DEADLINE = 30.0

IPV6_OFF = ("net.ipv6.conf.all.disable_ipv6=1", "net.ipv6.conf.default.disable_ipv6=1")


def run(*argv, netns=None, check=True):
    """Runs a command (inside `netns` when given) and returns its output."""
    argv = (("ip", "netns", "exec", netns) if netns else ()) + tuple(argv)
    done = subprocess.run(argv, capture_output=True, text=True, timeout=DEADLINE)
    if check and done.returncode != 0:
        raise RuntimeError("%s: exit %d: %s" % (" ".join(argv), done.returncode, done.stderr.strip()))
    return done.stdout


def poll(condition, what, deadline=DEADLINE, interval=0.05):
    """Calls `condition` until it returns something true, and returns that."""
    end = time.monotonic() + deadline
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > end:
            raise AssertionError("%s did not happen within %g s" % (what, deadline))
        time.sleep(interval)


def quiet_ipv6():
    """No IPv6 in the current namespace: the kernel then sends nothing of its
    own (router solicitations, MLD reports) through the card."""
    run("sysctl", "-qw", *IPV6_OFF)


class Watched:
    """A process whose output (stdout and stderr together) is read line by
    line as it comes, so a test can wait for a line."""

    def __init__(self, argv, name, cwd=None):
        self.name = name
        self.lines = []
        self.ended = False
        self._changed = threading.Condition()
        self.process = subprocess.Popen(argv, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                        stderr=subprocess.STDOUT, text=True, bufsize=1, cwd=cwd)
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()

    def _read(self):
        for line in self.process.stdout:
            with self._changed:
                self.lines.append(line.rstrip("\n"))
                self._changed.notify_all()
        with self._changed:
            self.ended = True
            self._changed.notify_all()

    def output(self):
        with self._changed:
            return "\n".join(self.lines)

    def wait_for(self, pattern, after=0, deadline=DEADLINE):
        """Waits for a line matching `pattern` past the first `after` lines;
        returns the index of the line after it."""
        found = re.compile(pattern)

        def match():
            for index in range(after, len(self.lines)):
                if found.search(self.lines[index]):
                    return index + 1
            return None

        with self._changed:
            self._changed.wait_for(lambda: match() is not None or self.ended, timeout=deadline)
            index = match()
        if index is None:
            why = "ended without it" if self.ended else "did not print it within %g s" % deadline
            raise AssertionError("%s %s: /%s/; its output:\n%s" % (self.name, why, pattern, self.output()))
        return index

    def count(self, pattern):
        found = re.compile(pattern)
        with self._changed:
            return sum(1 for line in self.lines if found.search(line))

    def stop(self, sig=signal.SIGINT):
        """Signals the process and waits for the end of its output; returns
        its exit status."""
        if self.process.poll() is None:
            self.process.send_signal(sig)
        return self.finish()

    def finish(self):
        """Waits for the process to end by itself; returns its exit status."""
        try:
            status = self.process.wait(timeout=DEADLINE)
        except subprocess.TimeoutExpired:
            raise AssertionError("%s did not end within %g s; its output:\n%s"
                                 % (self.name, DEADLINE, self.output()))
        self._reader.join(DEADLINE)
        return status

    def kill(self):
        if self.process.poll() is None:
            self.process.kill()
        self.process.wait()
        self._reader.join(DEADLINE)


class Topology:
    """The namespaces, links and processes of one test case; cleanup()
    removes them, in the reverse order, whatever state the case left."""

    def __init__(self):
        self._undo = []

    def cleanup(self):
        errors = []
        while self._undo:
            action = self._undo.pop()
            try:
                action()
            except Exception as error:  # pylint: disable=broad-except
                errors.append(str(error))
        if errors:
            raise RuntimeError("clean-up: " + "; ".join(errors))

    def watch(self, argv, name, cwd=None):
        process = Watched(argv, name, cwd)
        self._undo.append(process.kill)
        return process

    def namespace(self, name):
        """A fresh network namespace with its loopback up and no IPv6."""
        run("ip", "netns", "add", name)
        self._undo.append(lambda: run("ip", "netns", "del", name))
        run("ip", "-n", name, "link", "set", "lo", "up")
        run("sysctl", "-qw", *IPV6_OFF, netns=name)
        return name

    def veth(self, card_end, peer_end, netns):
        """A veth pair: `card_end` here, for the card to open; `peer_end` in
        namespace `netns`, left down."""
        run("ip", "link", "add", card_end, "type", "veth", "peer", "name", peer_end, "netns", netns)
        self._undo.append(lambda: run("ip", "link", "del", card_end, check=False))

    def wire(self, end1, end2):
        """A veth pair with both ends here (a cable between two cards)."""
        run("ip", "link", "add", end1, "type", "veth", "peer", "name", end2)
        self._undo.append(lambda: run("ip", "link", "del", end1, check=False))


def host(netns, interface, mac, address=None, up=True):
    """Makes `interface` in `netns` a host's card: its MAC, its IPv4
    address (CIDR), up."""
    run("ip", "-n", netns, "link", "set", "dev", interface, "address", mac)
    if address:
        run("ip", "-n", netns, "addr", "add", address, "dev", interface)
    if up:
        set_link(netns, interface, "up")


def set_link(netns, interface, state):
    run("ip", "-n", netns, "link", "set", "dev", interface, state)


def pings(netns, address):
    """One echo request from `netns` to `address`: True when answered."""
    done = subprocess.run(("ip", "netns", "exec", netns, "ping", "-n", "-c", "1", "-W", "1", address),
                          capture_output=True, text=True, timeout=DEADLINE)
    return done.returncode == 0


def wait_for_ping(netns, address):
    poll(lambda: pings(netns, address), "a ping from %s to %s answered" % (netns, address))
