"""Link aggregation: frames spread over the members by the LAG's strategy,
one member per frame, and none over a member without link."""
import pytest
from scapy.all import IP, UDP, Ether

import vornlcapi
from vornlcapi import MacEvent
from vornlcapi.testing import verify_no_other_packets, verify_packet

LAG = "0/1/1"
MEMBERS = ["1/1/2", "1/1/3", "1/1/4"]
HOST = "02:00:00:00:aa:aa"
Strategy = vornlcapi.LagPsc


@pytest.fixture(autouse=True)
def uplink(card):
    """LAG 0/1/1 of 1/1/2-4 and the access port 1/1/1, untagged in VLAN 10."""
    card.lag.create(LAG)
    card.lag.add_ports(LAG, MEMBERS)
    card.vlan.create(10)
    card.vlan.add_ports(10, untagged=["1/1/1", LAG])
    card.port("1/1/1").pvid = 10
    for port in MEMBERS:
        card.port(port).pvid = 10


def frame(index, vary):
    """Frame `index` of a stream whose MACs or IP addresses (`vary`) change."""
    mac = "02:00:00:01:%02x:%02x" % (index >> 8, index & 0xff)
    ip = "10.0.%d.%d" % (index >> 8, index & 0xff)
    src_mac, dst_mac = (mac, "02:00:00:00:ff:ff") if vary == "src_mac" else (HOST, mac)
    src_ip, dst_ip = (ip, "10.9.9.9") if vary == "src_ip" else ("10.9.9.9", ip)
    return bytes(Ether(src=src_mac, dst=dst_mac) / IP(src=src_ip, dst=dst_ip) / UDP(sport=1, dport=2))


def members_taken(ports, frames):
    """The member each frame left by: exactly one per frame."""
    taken = []
    for data in frames:
        result = ports.send("1/1/1", data)
        assert len(result.egress) == 1, "one member per frame: %r" % (result,)
        taken.append(result.egress[0].port)
    ports.clear()
    return taken


@pytest.mark.parametrize("strategy, vary, spreads", [
    (Strategy.SRC_MAC, "src_mac", True),
    (Strategy.SRC_MAC, "dst_mac", False),
    (Strategy.DST_MAC, "dst_mac", True),
    (Strategy.DST_MAC, "src_mac", False),
    (Strategy.SRC_DST_MAC, "src_mac", True),
    (Strategy.SRC_IP, "src_ip", True),
    (Strategy.SRC_IP, "dst_ip", False),
    (Strategy.DST_IP, "dst_ip", True),
    (Strategy.SRC_DST_IP, "dst_ip", True),
], ids=lambda value: value.name.lower() if isinstance(value, Strategy) else str(value))
def test_the_strategy_chooses_what_spreads_frames_over_the_members(card, ports, strategy, vary, spreads):
    card.lag.balancing(LAG, strategy)
    assert card.lag.balancing(LAG) == strategy
    taken = members_taken(ports, [frame(index, vary) for index in range(64)])
    assert set(taken) <= set(MEMBERS)
    if spreads:
        assert set(taken) == set(MEMBERS), "64 streams over all three members"
    else:
        assert len(set(taken)) == 1, "what does not count for the strategy keeps one member"


def test_a_stream_keeps_its_member(card, ports):
    card.lag.balancing(LAG, Strategy.SRC_DST_MAC)
    assert len(set(members_taken(ports, [frame(7, "src_mac")] * 10))) == 1


def test_a_member_without_link_carries_nothing(card, ports):
    card.lag.balancing(LAG, Strategy.SRC_MAC)
    card.cable("1/1/3", False)
    taken = members_taken(ports, [frame(index, "src_mac") for index in range(64)])
    assert set(taken) == {"1/1/2", "1/1/4"}
    card.cable("1/1/3", True)
    assert set(members_taken(ports, [frame(index, "src_mac") for index in range(64)])) == set(MEMBERS)


def test_a_port_taken_out_of_the_lag_is_a_port_of_its_own(card, ports):
    """It keeps the LAG's VLANs: flooded frames reach it beside one member."""
    card.lag.balancing(LAG, Strategy.SRC_MAC)
    card.lag.remove_ports(LAG, ["1/1/4"])
    taken = set()
    for index in range(64):
        result = ports.send("1/1/1", frame(index, "src_mac"))
        left = sorted(egress.port for egress in result.egress)
        assert len(left) == 2 and left[1] == "1/1/4", left
        taken.add(left[0])
    assert taken == {"1/1/2", "1/1/3"}


def test_what_enters_by_a_member_is_not_sent_back_over_the_lag(ports):
    ports.send("1/1/3", frame(1, "src_mac"))
    verify_packet("1/1/1", frame(1, "src_mac"))
    verify_no_other_packets()


def test_a_station_learned_on_the_lag_is_reached_through_it_alone(card, ports, events):
    card.vlan.add_ports(10, untagged=["1/1/5"])
    far = "02:00:00:01:00:03"
    back = bytes(Ether(src=HOST, dst=far) / IP() / UDP())
    unknown = ports.send("1/1/1", back)
    assert sorted(egress.port for egress in unknown.egress)[1:] == ["1/1/5"], "flooded while unknown"
    ports.send("1/1/4", frame(3, "src_mac"))  # `far` speaks from behind the LAG
    learned = [(event.mac, event.port, event.lag) for event in events.of(MacEvent) if event.mac == far]
    assert learned == [(far, LAG, True)]
    ports.clear()
    assert members_taken(ports, [back])[0] in MEMBERS
