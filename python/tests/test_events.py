"""Events as a control plane hears them: link changes, MACs learned, aged
and deleted."""
import pytest
from scapy.all import IP, UDP, Ether

from vornlcapi import LinkEvent, MacEvent, PhyState

A = "02:00:00:00:00:0a"
B = "02:00:00:00:00:0b"


@pytest.fixture(autouse=True)
def vlan10(vlan_of):
    vlan_of(10, untagged=["1/1/1", "1/1/2"])


def frame(src, dst=B):
    return bytes(Ether(src=src, dst=dst) / IP() / UDP())


def test_pulling_and_plugging_a_cable_is_heard(card, events):
    card.cable("1/1/2", False)
    card.cable("1/1/2", True)
    changes = [(event.port, event.up) for event in events.of(LinkEvent)]
    assert changes == [("1/1/2", False), ("1/1/2", True)]
    assert card.port("1/1/2").link == PhyState.UP


def test_a_pulled_cable_leaves_the_port_without_link(card, events):
    card.cable("1/1/3", False)
    assert card.port("1/1/3").link == PhyState.DOWN
    assert card.port("1/1/2").link == PhyState.UP
    assert events == [LinkEvent("1/1/3", False, events[0].speed, events[0].duplex)]


def test_a_port_without_link_takes_nothing_in(card, ports):
    card.cable("1/1/1", False)
    result = ports.send("1/1/1", frame(A))
    ports.verify_no_other_packets()
    assert "no link" in result.drop
    card.cable("1/1/1", True)
    ports.send("1/1/1", frame(A))
    ports.verify_packet("1/1/2", frame(A))


def macs(events):
    return [(event.mac, event.vlan, event.port, event.what) for event in events.of(MacEvent)]


def test_a_source_is_learned_once(card, ports, events):
    ports.send("1/1/1", frame(A))
    ports.send("1/1/1", frame(A))
    assert macs(events) == [(A, 10, "1/1/1", "learned")]
    assert not events.of(MacEvent)[0].static


def test_a_learned_source_ages_out_with_the_clock(card, ports, events):
    card.fdb.aging_time = 10
    ports.send("1/1/1", frame(A))
    events.clear()
    card.advance_clock(5)
    assert macs(events) == []
    card.advance_clock(10)
    assert macs(events) == [(A, 10, "1/1/1", "aged")]


def test_deleting_a_mac_is_heard(card, ports, events):
    ports.send("1/1/1", frame(A))
    events.clear()
    card.api.delete_mac(10, A)
    assert macs(events) == [(A, 10, "1/1/1", "deleted")]


def test_a_static_entry_is_reported_static_and_stays_when_the_clock_runs(card, events):
    card.fdb.add("1/1/2", B, 10)
    card.fdb.aging_time = 10
    card.advance_clock(100)
    card.fdb.delete(B, 10)
    assert [(event.mac, event.port, event.what, event.static) for event in events.of(MacEvent)] \
        == [(B, "1/1/2", "learned", True), (B, "1/1/2", "deleted", True)]


def test_events_clear_and_filter_by_kind(card, ports, events):
    ports.send("1/1/1", frame(A))
    card.cable("1/1/2", False)
    assert [type(event) for event in events] == [MacEvent, LinkEvent]
    events.clear()
    assert events == [] and events.of(MacEvent) == []
