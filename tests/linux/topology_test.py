"""The card between Linux hosts: vornsh with its ports attached to TAP
interfaces and veth ends, hosts in network namespaces on the other side,
traffic from the hosts' own stacks (ping) and from scapy, looked at with
scapy and tcpdump.

Usage: /usr/bin/python3 topology_test.py VORNSH [unittest arguments]

The program re-executes itself in a network and mount namespace of its own,
so whatever a failed case leaves ends with it.  Without the privileges or
tools it needs it skips, saying what is missing; when the environment
variable CI is "true", it fails instead.
"""
import importlib.util
import os
import shutil
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

import topology_net  # noqa: E402
import topology_pcap  # noqa: E402
import topology_peer  # noqa: E402
from topology_card import Card, fdb_rows  # noqa: E402
from topology_net import host, set_link, wait_for_ping  # noqa: E402

HERE = os.path.abspath(__file__)
INSIDE = "VORN_TOPOLOGY_INSIDE"
UNSHARE = ["unshare", "--net", "--mount", "--propagation", "private"]
VORNSH = None

H1 = "02:00:00:00:01:01"
H2 = "02:00:00:00:02:02"
FAR = "02:00:00:00:0f:0f"
ROUTER10 = "02:00:00:00:0a:01"
ROUTER20 = "02:00:00:00:14:01"


def scapy():
    import scapy.all  # pylint: disable=import-outside-toplevel
    return scapy.all


def untag(frame):
    """The frame without its 802.1Q tag."""
    return frame[:12] + frame[16:]


def tag(frame, vid, pcp=0):
    return frame[:12] + bytes([0x81, 0x00, (pcp << 5) | (vid >> 8), vid & 0xff]) + frame[12:]


class CardCase(unittest.TestCase):
    """Each case builds its topology from nothing and takes it down after,
    whatever happened."""

    def setUp(self):
        self.workdir = tempfile.mkdtemp(prefix="topology-")
        self.addCleanup(shutil.rmtree, self.workdir, ignore_errors=True)
        self.net = topology_net.Topology()
        self.addCleanup(self.net.cleanup)

    def card(self, lines, after=(), name="card"):
        return Card(self.net, VORNSH, self.workdir, name, lines, after)


class Bridging(CardCase):
    def test_hosts_on_access_ports_of_one_vlan_ping_and_are_learned(self):
        self.net.namespace("h1")
        self.net.namespace("h2")
        self.net.veth("c2", "h2e", "h2")
        host("h2", "h2e", H2, "10.0.10.2/24")
        card = self.card(["vlan create 10", "vlan add 10 - 1/1/1-2", "port 1/1/1-2 pvid 10",
                          "attach 1/1/1 tap h1t netns h1", "attach 1/1/2 dev c2"],
                         after=["show fdb"])
        host("h1", "h1t", H1, "10.0.10.1/24")
        wait_for_ping("h1", "10.0.10.2")
        wait_for_ping("h2", "10.0.10.1")
        learned = fdb_rows(card.stop())
        self.assertLessEqual({("10", H1, "1/1/1", "learned"), ("10", H2, "1/1/2", "learned")}, learned)

    def test_a_trunk_carries_tags_that_access_ports_do_not(self):
        s = scapy()
        self.net.namespace("trunk")
        self.net.namespace("access")
        self.net.veth("c2", "t2", "trunk")
        host("trunk", "t2", FAR)
        # VLAN 10 reaches the access port; VLAN 20, on the trunk too, goes to
        # 1/1/3 (in memory) only.
        card = self.card(["vlan create 10,20", "vlan add 10 1/1/2 1/1/1", "vlan add 20 1/1/2 1/1/3",
                          "port 1/1/1 pvid 10", "port 1/1/3 pvid 20",
                          "attach 1/1/1 tap a1 netns access", "attach 1/1/2 dev c2"])
        host("access", "a1", H1)
        payload = s.IP(src="10.0.10.9", dst="10.0.10.1") / s.UDP(sport=5000, dport=7) / (b"v" * 64)

        inward = bytes(s.Ether(dst=H1, src=FAR) / s.Dot1Q(vlan=10, prio=5) / payload)
        elsewhere = bytes(s.Ether(dst=H1, src=FAR) / s.Dot1Q(vlan=20) / payload / b"20")
        sniffer = topology_peer.start_sniffer(self.net, "access", "a1", FAR, 1)
        topology_peer.send("trunk", "t2", [elsewhere, inward])
        self.assertEqual(topology_peer.sniffed(sniffer), [untag(inward)],
                         "the VLAN 10 frame, untagged, and not the VLAN 20 one")

        outward = bytes(s.Ether(dst=FAR, src=H1) / payload)
        sniffer = topology_peer.start_sniffer(self.net, "trunk", "t2", H1, 1)
        topology_peer.send("access", "a1", [outward])
        seen = topology_peer.sniffed(sniffer)
        self.assertEqual(len(seen), 1)
        received = s.Ether(seen[0])
        self.assertIn(s.Dot1Q, received, "no 802.1Q tag on the trunk: %s" % received.summary())
        self.assertEqual(received[s.Dot1Q].vlan, 10)
        self.assertEqual(untag(seen[0]), outward)
        card.stop()


class Routing(CardCase):
    def test_hosts_in_two_vlans_ping_through_the_cards_interfaces(self):
        self.net.namespace("h1")
        self.net.namespace("h2")
        self.net.veth("c1", "h1e", "h1")
        host("h1", "h1e", H1, "10.0.10.2/24")
        card = self.card(["vlan create 10,20", "vlan add 10 - 1/1/1", "vlan add 20 - 1/1/2",
                          "port 1/1/1 pvid 10", "port 1/1/2 pvid 20",
                          "create_l3_interface_with_id %s 10 1 off" % ROUTER10,
                          "create_l3_interface_with_id %s 20 2 off" % ROUTER20,
                          "l3 host add 10.0.10.2 1/1/1 %s 1" % H1,
                          "l3 host add 10.0.20.2 1/1/2 %s 2" % H2,
                          # h2 answers for 192.0.2.1 too: reached by a route, not a host entry.
                          "l3 route add 192.0.2.0/24 1/1/2 %s 2 20" % H2,
                          "attach 1/1/1 dev c1", "attach 1/1/2 tap h2t netns h2"])
        host("h2", "h2t", H2, "10.0.20.2/24")
        topology_net.run("ip", "-n", "h2", "addr", "add", "192.0.2.1/32", "dev", "lo")
        for netns, interface, router, router_mac in (("h1", "h1e", "10.0.10.1", ROUTER10),
                                                     ("h2", "h2t", "10.0.20.1", ROUTER20)):
            topology_net.run("ip", "-n", netns, "neigh", "add", router, "lladdr", router_mac, "dev", interface,
                             "nud", "permanent")
            topology_net.run("ip", "-n", netns, "route", "add", "default", "via", router)
        wait_for_ping("h1", "10.0.20.2")
        wait_for_ping("h1", "192.0.2.1")
        wait_for_ping("h2", "10.0.10.2")
        card.stop()


class Captures(CardCase):
    def test_tcpdump_on_the_peer_sees_the_frames_the_card_captured_leaving(self):
        s = scapy()
        self.net.namespace("src")
        self.net.namespace("peer")
        self.net.veth("c1", "s1", "src")
        self.net.veth("c2", "p2", "peer")
        host("src", "s1", H1)
        host("peer", "p2", H2)
        card_pcap = os.path.join(self.workdir, "card.pcap")
        peer_pcap = os.path.join(self.workdir, "peer.pcap")
        # Out of 1/1/2: VLAN 10 tagged, VLAN 20 untagged; 1/1/1 the other way round.
        card = self.card(["vlan create 10,20", "vlan add 10 1/1/2 1/1/1", "vlan add 20 1/1/1 1/1/2",
                          "port 1/1/1 pvid 10", "port 1/1/2 pvid 20",
                          "attach 1/1/1 dev c1", "attach 1/1/2 dev c2", "capture 1/1/2 %s" % card_pcap],
                         after=["capture off"])
        tcpdump = self.net.watch(["ip", "netns", "exec", "peer", "tcpdump", "-U", "-Z", "root", "-nn",
                                  "-i", "p2", "-w", peer_pcap], "tcpdump")
        tcpdump.wait_for(r"listening on p2\b")
        udp = s.IP(src="10.0.0.1", dst="10.0.0.2") / s.UDP(sport=4000, dport=4001)
        arp = s.ARP(hwsrc=H1, psrc="10.0.0.1", pdst="10.0.0.2")
        broadcast = bytes(s.Ether(dst="ff:ff:ff:ff:ff:ff", src=H1) / arp)
        unicast = bytes(s.Ether(dst=FAR, src=H1) / udp / b"unicast")
        tagged = bytes(s.Ether(dst="ff:ff:ff:ff:ff:ff", src=H1) / s.Dot1Q(vlan=20) / udp / b"tagged")
        tagged_unicast = bytes(s.Ether(dst=H2, src=H1) / s.Dot1Q(vlan=20) / udp / b"tagged unicast")
        in_no_vlan = bytes(s.Ether(dst="ff:ff:ff:ff:ff:ff", src=H1) / s.Dot1Q(vlan=30) / udp / b"vlan 30")
        topology_peer.send("src", "s1", [in_no_vlan, broadcast, unicast, tagged, tagged_unicast])
        expected = [tag(broadcast, 10), tag(unicast, 10), untag(tagged), untag(tagged_unicast)]

        topology_net.poll(lambda: len(topology_pcap.frames(peer_pcap)) >= len(expected),
                          "tcpdump writing %d frames" % len(expected))
        self.assertEqual(tcpdump.stop(), 0, tcpdump.output())
        card.stop()
        from_card, from_peer = topology_pcap.frames(card_pcap), topology_pcap.frames(peer_pcap)
        for number, (ours, theirs) in enumerate(zip(from_card, from_peer), 1):
            self.assertEqual(ours.hex(), theirs.hex(), "frame %d: the card's capture, then tcpdump's" % number)
        self.assertEqual(len(from_card), len(from_peer), "frames in the card's capture and in tcpdump's")
        self.assertEqual([f.hex() for f in from_peer], [f.hex() for f in expected])


class TwoCards(CardCase):
    def test_hosts_ping_across_a_trunk_between_two_cards(self):
        self.net.wire("trA", "trB")
        cards = []
        for side, trunk in (("1", "trA"), ("2", "trB")):
            self.net.namespace("h" + side)
            cards.append(self.card(["vlan create 10", "vlan add 10 1/1/2 1/1/1", "port 1/1/1 pvid 10",
                                    "attach 1/1/1 tap h%st netns h%s" % (side, side),
                                    "attach 1/1/2 dev " + trunk], name="card" + side))
        host("h1", "h1t", H1, "10.0.10.1/24")
        host("h2", "h2t", H2, "10.0.10.2/24")
        tcpdump = self.net.watch(["tcpdump", "-l", "-e", "-nn", "-i", "trA"], "tcpdump")
        tcpdump.wait_for(r"listening on trA\b")
        wait_for_ping("h1", "10.0.10.2")
        for what in ("request", "reply"):
            tcpdump.wait_for(r"vlan 10, p \d, ethertype IPv4.*ICMP echo %s" % what)
        tcpdump.stop()
        untagged = [line for line in tcpdump.lines if "ICMP" in line and "vlan 10" not in line]
        self.assertEqual(untagged, [], "ICMP on the trunk without the VLAN 10 tag")
        for card in cards:
            card.stop()


class Links(CardCase):
    """The port's link follows the interface's: a peer set down is a cable
    pulled, and the card reports it."""

    def link_follows(self, attach):
        """The peer's end, p1 in namespace peer, starts down."""
        card = self.card(["callbacks on", attach])
        at = card.serving
        for state in ("up", "down", "up"):
            set_link("peer", "p1", state)
            at = card.wait_for(r"^link-change 1/1/1 %s$" % state, after=at)
        card.stop()

    def test_a_veth_peer_set_down_and_up(self):
        self.net.namespace("peer")
        self.net.veth("c1", "p1", "peer")
        self.link_follows("attach 1/1/1 dev c1")

    def test_a_tap_set_down_and_up(self):
        self.net.namespace("peer")
        self.link_follows("attach 1/1/1 tap p1 netns peer")


def gtest_summary(result):
    """GoogleTest's summary lines, which the suite's report counts."""
    failed = sorted({str(test) for test, _ in result.failures + result.errors})
    skipped = len(result.skipped)
    passed = result.testsRun - len(failed) - skipped
    print("[==========] %d tests ran." % result.testsRun)
    print("[  PASSED  ] %d tests." % passed)
    if skipped:
        print("[  SKIPPED ] %d tests." % skipped)
    if failed:
        print("[  FAILED  ] %d tests, listed below:" % len(failed))
        for name in failed:
            print("[  FAILED  ] " + name)
    sys.stdout.flush()


def missing_requirements():
    missing = ["the %s command" % tool for tool in ("ip", "unshare", "tcpdump", "ping", "sysctl")
               if shutil.which(tool) is None]
    if importlib.util.find_spec("scapy") is None:
        missing.append("scapy for %s (run the tests with /usr/bin/python3)" % sys.executable)
    if not os.path.exists("/dev/net/tun"):
        missing.append("/dev/net/tun")
    if shutil.which("unshare"):
        probe = subprocess.run(UNSHARE + ["true"], capture_output=True, text=True)
        if probe.returncode != 0:
            missing.append("new network and mount namespaces (%s)" % probe.stderr.strip())
    return missing


def not_run(missing):
    """Skips, or fails under CI, saying what is missing."""
    message = "the topology tests need " + "; ".join(missing)
    count = unittest.defaultTestLoader.loadTestsFromModule(sys.modules[__name__]).countTestCases()
    if os.environ.get("CI") == "true":
        print("FAILED: %s" % message)
        print("[  PASSED  ] 0 tests.")
        print("[  FAILED  ] %d tests, listed below:" % count)
        return 1
    print("SKIPPED: %s" % message)
    print("[  PASSED  ] 0 tests.")
    print("[  SKIPPED ] %d tests." % count)
    return 0


def main(argv):
    global VORNSH  # pylint: disable=global-statement
    if len(argv) < 2 or not os.access(argv[1], os.X_OK):
        print("usage: %s VORNSH [unittest arguments]  (VORNSH: the vornsh program)" % argv[0], file=sys.stderr)
        return 2
    if os.environ.get(INSIDE) != "1":
        missing = missing_requirements()
        if missing:
            return not_run(missing)
        sys.stdout.flush()
        os.execvpe(UNSHARE[0], UNSHARE + [sys.executable, HERE] + argv[1:], dict(os.environ, **{INSIDE: "1"}))
    VORNSH = os.path.abspath(argv[1])
    os.makedirs("/run/netns", exist_ok=True)
    topology_net.run("mount", "-t", "tmpfs", "tmpfs", "/run/netns")
    topology_net.run("ip", "link", "set", "lo", "up")
    topology_net.quiet_ipv6()
    program = unittest.main(argv=[argv[0]] + argv[2:], exit=False,
                            testRunner=unittest.TextTestRunner(verbosity=2, stream=sys.stdout))
    gtest_summary(program.result)
    return 0 if program.result.wasSuccessful() else 1


if __name__ == "__main__":
    sys.exit(main(sys.argv))
