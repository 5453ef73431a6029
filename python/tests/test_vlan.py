"""VLANs: access ports untagged, trunks tagged, the PVID, ingress filtering."""
import pytest
from scapy.all import IP, UDP, Dot1Q, Ether

from vornlcapi.testing import verify_no_other_packets, verify_packet

H1 = "02:00:00:00:01:01"
FAR = "02:00:00:00:0f:0f"
ACCESS10, ACCESS20, TRUNK = "1/1/1", "1/1/2", "1/1/3"


@pytest.fixture(autouse=True)
def vlans(card):
    """VLAN 10: 1/1/1 untagged, the trunk 1/1/3 tagged; VLAN 20: 1/1/2
    untagged, the trunk tagged."""
    card.vlan.create(10)
    card.vlan.create(20)
    card.vlan.add_ports(10, tagged=[TRUNK], untagged=[ACCESS10])
    card.vlan.add_ports(20, tagged=[TRUNK], untagged=[ACCESS20])
    card.port(ACCESS10).pvid = 10
    card.port(ACCESS20).pvid = 20


def payload(text=b"vlan"):
    return IP(src="10.0.0.1", dst="10.0.0.2") / UDP(sport=7, dport=7) / text


def untagged(src=H1, dst=FAR):
    return bytes(Ether(src=src, dst=dst) / payload())


def tagged(vlan, src=H1, dst=FAR, prio=0):
    return bytes(Ether(src=src, dst=dst) / Dot1Q(vlan=vlan, prio=prio) / payload())


def test_the_vlans_hold_their_members(card):
    assert card.vlan.members(10) == ([TRUNK], [ACCESS10])
    assert card.vlan.members(20) == ([TRUNK], [ACCESS20])


@pytest.mark.parametrize("ingress, sent, egress, leaves", [
    (ACCESS10, untagged(), TRUNK, tagged(10)),
    (ACCESS20, untagged(), TRUNK, tagged(20)),
    (TRUNK, tagged(10, src=FAR, dst=H1), ACCESS10, untagged(src=FAR, dst=H1)),
    (TRUNK, tagged(20, src=FAR, dst=H1), ACCESS20, untagged(src=FAR, dst=H1)),
    (ACCESS10, tagged(10), TRUNK, tagged(10)),  # a tagged frame on an access port of its VLAN
], ids=["access10-to-trunk", "access20-to-trunk", "trunk-to-access10", "trunk-to-access20", "tagged-on-access"])
def test_frames_are_tagged_on_the_trunk_and_untagged_on_access_ports(ports, ingress, sent, egress, leaves):
    ports.send(ingress, sent)
    verify_packet(egress, leaves)
    verify_no_other_packets()


def test_the_priority_of_a_tag_survives_the_trunk(card, ports):
    card.vlan.add_ports(10, tagged=["1/1/4"])
    ports.send(TRUNK, tagged(10, prio=5))
    verify_packet(ACCESS10, untagged())
    verify_packet("1/1/4", tagged(10, prio=5))
    verify_no_other_packets()


def test_the_pvid_chooses_the_vlan_of_untagged_frames(card, ports):
    card.port(ACCESS10).pvid = 20
    card.vlan.add_ports(20, untagged=[ACCESS10])
    ports.send(ACCESS10, untagged())
    verify_packet(ACCESS20, untagged())
    verify_packet(TRUNK, tagged(20))
    verify_no_other_packets()


@pytest.mark.parametrize("ingress, sent", [
    (ACCESS10, tagged(20)),   # ingress filtering: 1/1/1 is not in VLAN 20
    (TRUNK, tagged(30)),      # no VLAN 30
    ("1/1/5", untagged()),    # PVID 1, and VLAN 1 holds no port
])
def test_frames_of_a_vlan_the_port_is_not_in_are_dropped(ports, ingress, sent):
    result = ports.send(ingress, sent)
    verify_no_other_packets()
    assert result.drop


def test_a_tagged_only_port_drops_untagged_frames(card, ports):
    card.vlan.add_ports(10, tagged=["1/1/4"])
    card.port("1/1/4").pvid = 10
    ports.send("1/1/4", untagged())
    verify_packet(ACCESS10, untagged())
    ports.clear()
    card.api.set_port_vlan_accept_frame("1/1/4", True)
    result = ports.send("1/1/4", untagged())
    verify_no_other_packets()
    assert result.drop
    ports.send("1/1/4", tagged(10))
    verify_packet(ACCESS10, untagged())


def test_removing_a_port_from_a_vlan_stops_its_frames(card, ports):
    card.vlan.remove_ports(10, [TRUNK])
    assert card.vlan.members(10) == ([], [ACCESS10])
    ports.send(ACCESS10, untagged())
    verify_no_other_packets()
