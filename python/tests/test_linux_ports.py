"""A card port on a TAP in a network namespace of the test's own: frames
from Linux enter the card, frames the card sends come out on Linux.  Needs
root: skipped without it (failed when CI=true)."""
import subprocess
import sys

import pytest
from scapy.all import IP, UDP, Dot1Q, Ether

from vornlcapi import LinkEvent, PhyState
from vornlcapi.testing import verify_no_other_packets, verify_packet, verify_packets

LINUX = "02:00:00:00:01:01"
MEMORY = "02:00:00:00:00:02"


@pytest.fixture(autouse=True)
def vlan10(vlan_of):
    """1/1/1-3 untagged in VLAN 10, 1/1/4 tagged."""
    vlan_of(10, untagged=["1/1/1", "1/1/2", "1/1/3"], tagged=["1/1/4"])


def frame(src, dst="ff:ff:ff:ff:ff:ff", text=b"linux"):
    return bytes(Ether(src=src, dst=dst) / IP(src="10.0.0.1", dst="10.0.0.2") / UDP(sport=9, dport=9) / text)


def tagged(src, dst="ff:ff:ff:ff:ff:ff", text=b"linux"):
    return bytes(Ether(src=src, dst=dst) / Dot1Q(vlan=10) / IP(src="10.0.0.1", dst="10.0.0.2")
                 / UDP(sport=9, dport=9) / text)


@pytest.mark.linux_ports("1/1/2")
def test_a_frame_from_linux_floods_to_the_in_memory_ports(ports, linux_ports):
    ports.send("1/1/2", frame(LINUX))
    verify_packet("1/1/1", frame(LINUX))
    verify_packet("1/1/3", frame(LINUX))
    verify_packet("1/1/4", tagged(LINUX))
    ports.verify_cpu_packet(frame(LINUX), reason="broadcast")
    verify_no_other_packets()


@pytest.mark.linux_ports("1/1/2")
def test_a_frame_injected_in_memory_floods_out_to_linux(ports):
    assert (ports.linux("1/1/2").interface, ports.linux("1/1/1")) == ("tap1_1_2", None)
    ports.send("1/1/1", frame(MEMORY, text=b"to linux"))
    verify_packet("1/1/2", frame(MEMORY, text=b"to linux"))
    verify_packet("1/1/3", frame(MEMORY, text=b"to linux"))
    verify_packet("1/1/4", tagged(MEMORY, text=b"to linux"))
    ports.verify_cpu_packet(frame(MEMORY, text=b"to linux"))
    verify_no_other_packets()


def test_a_tagged_frame_reaches_linux_with_its_tag_and_a_learned_one_only_there(card, ports, linux_ports):
    linux_ports.attach("1/1/4")
    ports.send("1/1/4", tagged(LINUX, dst=MEMORY))  # LINUX is learned behind 1/1/4
    verify_packets(frame(LINUX, dst=MEMORY), ["1/1/1", "1/1/2", "1/1/3"])
    ports.send("1/1/1", frame(MEMORY, dst=LINUX))
    verify_packet("1/1/4", tagged(MEMORY, dst=LINUX))
    verify_no_other_packets()


def test_a_failed_verify_on_a_linux_port_says_what_linux_received(ports, linux_ports):
    linux_ports.attach("1/1/3")
    ports.send("1/1/1", frame(MEMORY, dst=LINUX))
    with pytest.raises(AssertionError, match="verify_packet on 1/1/3: the frame that left differs"):
        verify_packet("1/1/3", frame(MEMORY, dst=LINUX, text=b"other"))
    verify_packet("1/1/2", frame(MEMORY, dst=LINUX))
    verify_packet("1/1/4", tagged(MEMORY, dst=LINUX))
    verify_no_other_packets()


def linux_side(linux_port, *argv):
    """A command run on the Linux side of `linux_port` (in its namespace)."""
    subprocess.run(("ip", "netns", "exec", linux_port.netns) + argv, check=True, timeout=30,
                   capture_output=True)


def test_a_frame_another_program_writes_on_linux_enters_while_the_card_serves(card, ports, linux_ports):
    tap = linux_ports.attach("1/1/2")
    sender = ("import socket, sys; s = socket.socket(socket.AF_PACKET, socket.SOCK_RAW); "
              "s.bind((sys.argv[1], 0)); s.send(bytes.fromhex(sys.argv[2]))")
    linux_side(tap, sys.executable, "-c", sender, tap.interface, frame(LINUX, dst=MEMORY).hex())
    linux_ports.serve_until(lambda: ports.sent_to("1/1/1"), "the frame from Linux leaving 1/1/1")
    assert ports.sent_to("1/1/4") == [tagged(LINUX, dst=MEMORY)]
    verify_packet("1/1/4", tagged(LINUX, dst=MEMORY))
    verify_packets(frame(LINUX, dst=MEMORY), ["1/1/1", "1/1/3"])


def test_the_ports_link_follows_the_linux_interface(card, events, linux_ports):
    tap = linux_ports.attach("1/1/3")
    assert card.port("1/1/3").link == PhyState.UP
    events.clear()
    for state, link in (("down", PhyState.DOWN), ("up", PhyState.UP)):
        linux_side(tap, "ip", "link", "set", "dev", tap.interface, state)
        linux_ports.serve_until(lambda: card.port("1/1/3").link == link, "link %s on 1/1/3" % state)
    assert [(event.port, event.up) for event in events.of(LinkEvent)] == [("1/1/3", False), ("1/1/3", True)]
