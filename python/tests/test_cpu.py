"""The CPU's side: frames trapped with their reasons, the rx-packet events,
frames the CPU sends by port or through the switch."""
import pytest
from scapy.all import ARP, IP, LLC, STP, UDP, Dot1Q, Dot3, Ether
from scapy.contrib.lldp import (LLDPDUChassisID, LLDPDUEndOfLLDPDU, LLDPDUPortID,
                                LLDPDUTimeToLive)

from vornlcapi import RxPacket
from vornlcapi.testing import verify_no_other_packets, verify_packet

PEER = "02:00:00:00:00:0e"
SYSTEM = "02:00:00:00:00:01"
MEMBERS = ["1/1/1", "1/1/2", "1/1/3"]


@pytest.fixture(autouse=True)
def vlan10(card):
    """1/1/1-2 untagged and 1/1/3 tagged in VLAN 10, their PVID."""
    card.vlan.create(10)
    card.vlan.add_ports(10, tagged=["1/1/3"], untagged=["1/1/1", "1/1/2"])
    for port in MEMBERS:
        card.port(port).pvid = 10


def bpdu():
    return bytes(Dot3(src=PEER, dst="01:80:c2:00:00:00") / LLC(dsap=0x42, ssap=0x42, ctrl=3) / STP())


def lldp():
    return bytes(Ether(src=PEER, dst="01:80:c2:00:00:0e", type=0x88cc)
                 / LLDPDUChassisID(subtype=4, id=PEER) / LLDPDUPortID(subtype=5, id=b"eth1")
                 / LLDPDUTimeToLive(ttl=120) / LLDPDUEndOfLLDPDU())


def arp_request():
    return bytes(Ether(src=PEER, dst="ff:ff:ff:ff:ff:ff") / ARP(hwsrc=PEER, psrc="10.0.0.9", pdst="10.0.0.1"))


def udp(dst, src=SYSTEM, text=b"from the cpu", vlan=None):
    ethernet = Ether(src=src, dst=dst) / Dot1Q(vlan=vlan) if vlan else Ether(src=src, dst=dst)
    return bytes(ethernet / IP(src="10.0.0.1", dst="10.0.0.9") / UDP(sport=5, dport=5) / text)


@pytest.mark.parametrize("frame, reason", [(bpdu(), "BPDU"), (lldp(), "link-local control frame")],
                         ids=["bpdu", "lldp"])
def test_control_frames_are_trapped_to_the_cpu_and_not_forwarded(ports, events, frame, reason):
    ports.send("1/1/2", frame)
    received = ports.verify_cpu_packet(frame, reason=reason)
    assert received.port == "1/1/2"
    verify_no_other_packets()
    assert events.of(RxPacket) == [RxPacket("1/1/2", received.vlan, frame)]


def test_a_broadcast_reaches_the_cpu_as_an_rx_event_in_its_vlan(ports, events):
    ports.send("1/1/1", arp_request())
    ports.verify_cpu_packet(arp_request(), reason="broadcast")
    assert events.of(RxPacket) == [RxPacket("1/1/1", 10, arp_request())]


def test_a_frame_received_at_the_cpu_is_an_event_and_teaches_its_source(card, ports, events):
    card.receive("1/1/2", 10, arp_request())
    assert events.of(RxPacket) == [RxPacket("1/1/2", 10, arp_request())]
    ports.send("1/1/1", udp(dst=PEER))
    verify_packet("1/1/2", udp(dst=PEER))
    verify_no_other_packets()


@pytest.mark.parametrize("tagged, untagged, leaves", [
    ([], ["1/1/1"], {"1/1/1": udp(PEER)}),
    (["1/1/3"], [], {"1/1/3": udp(PEER, vlan=10)}),  # tagged with the port's PVID
    (["1/1/3"], ["1/1/1", "1/1/2"], {"1/1/1": udp(PEER), "1/1/2": udp(PEER), "1/1/3": udp(PEER, vlan=10)}),
], ids=["untagged", "tagged", "both"])
def test_the_cpu_sends_by_port_as_it_is_told(card, ports, tagged, untagged, leaves):
    card.cpu.send(udp(PEER), tagged=tagged, untagged=untagged)
    for port, frame in leaves.items():
        verify_packet(port, frame)
    verify_no_other_packets()


def test_a_frame_the_cpu_sends_through_the_switch_is_forwarded_by_l2(card, ports):
    tagged = bytes(Ether(src=SYSTEM, dst="ff:ff:ff:ff:ff:ff") / Dot1Q(vlan=10) / IP() / UDP() / b"switched")
    card.cpu.send_switched(tagged)
    untagged = bytes(Ether(src=SYSTEM, dst="ff:ff:ff:ff:ff:ff") / IP() / UDP() / b"switched")
    verify_packet("1/1/1", untagged)
    verify_packet("1/1/2", untagged)
    verify_packet("1/1/3", tagged)
    verify_no_other_packets()


def test_collect_hands_over_what_the_cpu_sent_once(card):
    card.cpu.send(udp(PEER), untagged=["1/1/2"])
    collected = card.collect()
    assert [(frame.port, frame.data) for frame in collected.egress] == [("1/1/2", udp(PEER))]
    assert card.collect().egress == []


def test_a_system_mac_is_the_cpus(card, ports):
    card.api.add_system_mac(SYSTEM, 10)
    ports.send("1/1/1", udp(dst=SYSTEM, src=PEER))
    ports.verify_cpu_packet(udp(dst=SYSTEM, src=PEER), reason="system MAC")
    verify_no_other_packets()
