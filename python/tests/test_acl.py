"""Flows and packet filters: drop, output and to-CPU with their counters,
priorities, and the filters that copy ARP and IP protocols to the CPU."""
import pytest
from scapy.all import ARP, IP, TCP, UDP, Ether

from vornlcapi.testing import verify_no_other_packets, verify_packet, verify_packets

H1 = "02:00:00:00:00:01"
H2 = "02:00:00:00:00:02"
MEMBERS = ["1/1/1", "1/1/2", "1/1/3", "1/1/4"]


@pytest.fixture(autouse=True)
def vlan10(vlan_of):
    vlan_of(10, untagged=MEMBERS)


def udp(dport=53, src="10.0.0.1", dst="10.0.0.2"):
    return bytes(Ether(src=H1, dst=H2) / IP(src=src, dst=dst) / UDP(sport=1000, dport=dport))


def tcp(dport=80):
    return bytes(Ether(src=H1, dst=H2) / IP(src="10.0.0.1", dst="10.0.0.2") / TCP(sport=1000, dport=dport))


def arp(pdst="10.0.0.2"):
    return bytes(Ether(src=H1, dst="ff:ff:ff:ff:ff:ff") / ARP(hwsrc=H1, psrc="10.0.0.1", pdst=pdst))


def test_a_drop_flow_drops_what_it_matches_and_counts_it(card, ports):
    flow = card.flow.add(in_port="1/1/1", eth_type=0x0800, ip_proto=17, l4_dst_port=53, actions=["drop"])
    result = ports.send("1/1/1", udp(53))
    verify_no_other_packets()
    assert result.drop
    ports.send("1/1/1", udp(54))
    verify_packets(udp(54), ["1/1/2", "1/1/3", "1/1/4"])
    ports.send("1/1/2", udp(53))  # another ingress port: no match
    verify_packets(udp(53), ["1/1/1", "1/1/3", "1/1/4"])
    assert card.flow.packets(flow) == 1


def test_an_output_flow_sends_to_its_port_only(card, ports):
    flow = card.flow.add(dst_ip="10.0.0.0/24", actions=[("output", "1/1/4")])
    for _ in range(3):
        ports.send("1/1/1", udp())
        verify_packet("1/1/4", udp())
        verify_no_other_packets()
    assert card.flow.packets(flow) == 3


def test_a_to_cpu_flow_traps_the_frame(card, ports):
    flow = card.flow.add(eth_type=0x0800, ip_proto=6, l4_dst_port=179, actions=["to_cpu"])
    ports.send("1/1/2", tcp(179))
    received = ports.verify_cpu_packet(tcp(179))
    assert received.reason.startswith("flow") and received.port == "1/1/2"
    verify_no_other_packets()
    assert card.flow.packets(flow) == 1


@pytest.mark.parametrize("drop_priority, output_priority, leaves", [
    (10, 20, "1/1/3"),
    (20, 10, None),
])
def test_the_higher_priority_flow_decides(card, ports, drop_priority, output_priority, leaves):
    dropping = card.flow.add(eth_type=0x0800, priority=drop_priority, actions=["drop"])
    sending = card.flow.add(src_ip="10.0.0.1/32", priority=output_priority, actions=[("output", "1/1/3")])
    assert card.flow.priority(dropping) == drop_priority
    ports.send("1/1/1", udp())
    if leaves:
        verify_packet(leaves, udp())
    verify_no_other_packets()
    counted = {dropping: card.flow.packets(dropping), sending: card.flow.packets(sending)}
    assert counted == {dropping: int(leaves is None), sending: int(leaves is not None)}


def test_a_deleted_flow_no_longer_acts(card, ports):
    flow = card.flow.add(eth_type=0x0800, actions=["drop"])
    card.flow.delete(flow)
    ports.send("1/1/1", udp())
    verify_packets(udp(), ["1/1/2", "1/1/3", "1/1/4"])


@pytest.mark.parametrize("pdst, copied", [("10.0.0.2", True), ("10.0.0.254", True), ("10.0.1.2", False)])
def test_an_arp_filter_copies_arp_for_its_subnet_to_the_cpu_and_lets_it_go_on(card, ports, pdst, copied):
    card.filter.add_arp("10.0.0.0", "255.255.255.0")
    ports.send("1/1/1", arp(pdst))
    if copied:
        ports.verify_cpu_packet(arp(pdst), reason="ARP filter")
    else:
        ports.verify_cpu_packet(arp(pdst), reason="broadcast")
    verify_packets(arp(pdst), ["1/1/2", "1/1/3", "1/1/4"])


def test_an_ip_protocol_filter_copies_that_protocol_to_the_cpu(card, ports):
    card.filter.add_ip_protocol(6)
    ports.send("1/1/1", tcp())
    ports.verify_cpu_packet(tcp(), reason="IP protocol filter")
    verify_packets(tcp(), ["1/1/2", "1/1/3", "1/1/4"])
    ports.send("1/1/1", udp())
    verify_packets(udp(), ["1/1/2", "1/1/3", "1/1/4"])
    card.filter.delete_ip_protocol(6)
    ports.send("1/1/1", tcp())
    verify_packets(tcp(), ["1/1/2", "1/1/3", "1/1/4"])
