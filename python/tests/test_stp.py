"""Spanning tree: what each port state lets through and learns; BPDUs reach
the CPU whatever the state."""
import pytest
from scapy.all import IP, LLC, STP, UDP, Dot3, Ether

import vornlcapi
from vornlcapi.testing import verify_no_other_packets, verify_packet, verify_packets

A = "02:00:00:00:00:0a"
B = "02:00:00:00:00:0b"
MEMBERS = ["1/1/1", "1/1/2", "1/1/3"]
State = vornlcapi.StpState


@pytest.fixture(autouse=True)
def vlan10(vlan_of):
    vlan_of(10, untagged=MEMBERS)


def frame(src, dst):
    return bytes(Ether(src=src, dst=dst) / IP(src="10.0.0.1", dst="10.0.0.2") / UDP(sport=9, dport=9))


def bpdu(src=B):
    return bytes(Dot3(src=src, dst="01:80:c2:00:00:00") / LLC(dsap=0x42, ssap=0x42, ctrl=3) / STP())


@pytest.mark.parametrize("state, forwards, learns", [
    (State.BLOCKING, False, False),
    (State.LISTENING, False, False),
    (State.LEARNING, False, True),
    (State.FORWARDING, True, True),
], ids=lambda value: value.name.lower() if isinstance(value, State) else None)
def test_what_a_port_state_forwards_and_learns(card, ports, state, forwards, learns):
    card.port("1/1/2").stp_state = state
    assert card.port("1/1/2").stp_state == state

    result = ports.send("1/1/2", frame(B, A))
    if forwards:
        verify_packets(frame(B, A), ["1/1/1", "1/1/3"])
    else:
        verify_no_other_packets()
        assert result.drop

    # B answered from 1/1/1: to B's port alone if B was learned, else flooded
    # (and held back by 1/1/2 unless it forwards).
    ports.send("1/1/1", frame(A, B))
    if learns and forwards:
        verify_packet("1/1/2", frame(A, B))
    elif not learns:
        verify_packet("1/1/3", frame(A, B))
        if forwards:
            verify_packet("1/1/2", frame(A, B))
    verify_no_other_packets()


def test_a_blocking_port_does_not_send_what_is_flooded(card, ports):
    card.port("1/1/3").stp_state = State.BLOCKING
    ports.send("1/1/1", frame(A, B))
    verify_packet("1/1/2", frame(A, B))
    ports.verify_no_packet("1/1/3")
    verify_no_other_packets()


@pytest.mark.parametrize("state", [State.BLOCKING, State.LISTENING, State.LEARNING, State.FORWARDING,
                                   State.DISABLED], ids=lambda state: state.name.lower())
def test_bpdus_reach_the_cpu_in_every_state(card, ports, state):
    card.port("1/1/2").stp_state = state
    ports.send("1/1/2", bpdu())
    received = ports.verify_cpu_packet(bpdu(), reason="BPDU")
    assert received.port == "1/1/2"
    verify_no_other_packets()


def test_bpdus_are_dropped_while_bpdu_processing_is_off(card, ports):
    card.port("1/1/2").bpdu_processing = False
    result = ports.send("1/1/2", bpdu())
    verify_no_other_packets()
    assert result.drop
