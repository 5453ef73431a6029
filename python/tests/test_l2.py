"""Bridging in one VLAN: flooding, learning, known unicast, aging, MAC moves."""
import pytest
from scapy.all import IP, UDP, Ether

from vornlcapi.testing import verify_no_other_packets, verify_packet, verify_packets

ACCESS = ["1/1/1", "1/1/2", "1/1/3", "1/1/4"]
A = "02:00:00:00:00:0a"
B = "02:00:00:00:00:0b"
C = "02:00:00:00:00:0c"


@pytest.fixture(autouse=True)
def vlan10(vlan_of):
    """Ports 1/1/1-4 untagged in VLAN 10, their PVID; 1/1/5 outside it."""
    vlan_of(10, untagged=ACCESS)


def frame(src, dst, payload=b"l2"):
    return bytes(Ether(src=src, dst=dst) / IP(src="10.0.0.1", dst="10.0.0.2") / UDP(sport=1, dport=2) / payload)


def others(port):
    return [p for p in ACCESS if p != port]


def learn(ports, port, mac):
    """`mac` speaks on `port` once; what it flooded is forgotten."""
    ports.send(port, frame(mac, "ff:ff:ff:ff:ff:ff", b"hello"))
    ports.clear()


@pytest.mark.parametrize("ingress", ACCESS)
def test_unknown_unicast_floods_to_every_other_member_of_the_vlan(ports, ingress):
    ports.send(ingress, frame(A, B))
    verify_packets(frame(A, B), others(ingress))


def test_broadcast_floods_and_reaches_the_cpu(ports):
    broadcast = frame(A, "ff:ff:ff:ff:ff:ff")
    ports.send("1/1/2", broadcast)
    for port in others("1/1/2"):
        verify_packet(port, broadcast)
    cpu = ports.verify_cpu_packet(broadcast, reason="broadcast")
    assert (cpu.port, cpu.vlan) == ("1/1/2", 10)
    verify_no_other_packets()


def test_a_learned_station_is_reached_on_its_port_only(card, ports):
    learn(ports, "1/1/3", B)
    ports.send("1/1/1", frame(A, B))
    verify_packet("1/1/3", frame(A, B))
    verify_no_other_packets()
    # and the answer goes back to where A was learned meanwhile
    ports.send("1/1/3", frame(B, A))
    verify_packet("1/1/1", frame(B, A))
    verify_no_other_packets()


def test_a_frame_to_a_station_on_the_ingress_port_goes_nowhere(ports):
    learn(ports, "1/1/1", B)
    result = ports.send("1/1/1", frame(A, B))
    verify_no_other_packets()
    assert result.drop, "a reason for the drop"


def test_a_port_outside_the_vlan_neither_sends_nor_is_heard(ports):
    ports.send("1/1/1", frame(A, B))
    ports.verify_no_packet("1/1/5")
    ports.clear()
    result = ports.send("1/1/5", frame(C, A))
    verify_no_other_packets()
    assert result.drop


def test_an_entry_ages_out_with_the_clock(card, ports):
    card.fdb.aging_time = 30
    learn(ports, "1/1/2", B)
    card.advance_clock(20)
    ports.send("1/1/1", frame(A, B))
    verify_packet("1/1/2", frame(A, B))
    verify_no_other_packets()
    card.advance_clock(31)
    ports.send("1/1/1", frame(A, B))
    verify_packets(frame(A, B), others("1/1/1"))


def test_a_station_that_moves_is_followed(ports):
    learn(ports, "1/1/2", B)
    learn(ports, "1/1/4", B)
    ports.send("1/1/1", frame(A, B))
    verify_packet("1/1/4", frame(A, B))
    verify_no_other_packets()


def test_a_static_entry_does_not_move(card, ports):
    card.fdb.add("1/1/2", B, 10)
    learn(ports, "1/1/4", B)
    ports.send("1/1/1", frame(A, B))
    verify_packet("1/1/2", frame(A, B))
    verify_no_other_packets()


def test_clearing_the_table_floods_again(card, ports):
    learn(ports, "1/1/2", B)
    card.fdb.clear()
    ports.send("1/1/1", frame(A, B))
    verify_packets(frame(A, B), others("1/1/1"))
