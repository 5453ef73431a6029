"""Routing between two VLANs: IPv4 and IPv6, TTL and hop limit, MAC rewrite,
host entries before routes, and what goes to the CPU."""
import pytest
from scapy.all import IP, UDP, Ether, IPv6

from vornlcapi.testing import verify_no_other_packets, verify_packet

H1 = "02:00:00:00:01:01"      # on 1/1/1, VLAN 10
H2 = "02:00:00:00:02:02"      # on 1/1/2, VLAN 20
GATEWAY = "02:00:00:00:03:03"  # on 1/1/3, VLAN 20: the next hop of routes
ROUTER10 = "02:00:00:00:0a:01"
ROUTER20 = "02:00:00:00:14:01"


@pytest.fixture(autouse=True)
def router(card, vlan_of):
    """Interfaces in VLAN 10 (1/1/1) and VLAN 20 (1/1/2-3); H2 a host entry,
    192.0.2.0/24 and 2001:db8:20::/48 routes through GATEWAY."""
    vlan_of(10, untagged=["1/1/1"])
    vlan_of(20, untagged=["1/1/2", "1/1/3"])
    interfaces = {10: card.l3.add_interface(ROUTER10, 10), 20: card.l3.add_interface(ROUTER20, 20)}
    card.l3.add_host("1/1/2", "10.0.20.2", H2, interfaces[20])
    card.l3.add_host("1/1/2", "2001:db8:20::2", H2, interfaces[20])
    card.l3.add_route("1/1/3", "192.0.2.0/24", GATEWAY, interfaces[20], 20)
    card.l3.add_route("1/1/3", "2001:db8:30::/48", GATEWAY, interfaces[20])
    return interfaces


def ipv4(dst, ttl=64, src_mac=H1, dst_mac=ROUTER10):
    return Ether(src=src_mac, dst=dst_mac) / IP(src="10.0.10.2", dst=dst, ttl=ttl) / UDP(sport=3, dport=4) / b"v4"


def ipv6(dst, hlim=64, src_mac=H1, dst_mac=ROUTER10):
    return Ether(src=src_mac, dst=dst_mac) / IPv6(src="2001:db8:10::2", dst=dst, hlim=hlim) \
        / UDP(sport=3, dport=4) / b"v6"


@pytest.mark.parametrize("sent, egress, routed", [
    (ipv4("10.0.20.2"), "1/1/2", ipv4("10.0.20.2", ttl=63, src_mac=ROUTER20, dst_mac=H2)),
    (ipv4("192.0.2.7"), "1/1/3", ipv4("192.0.2.7", ttl=63, src_mac=ROUTER20, dst_mac=GATEWAY)),
    (ipv4("192.0.2.7", ttl=2), "1/1/3", ipv4("192.0.2.7", ttl=1, src_mac=ROUTER20, dst_mac=GATEWAY)),
    (ipv6("2001:db8:20::2"), "1/1/2", ipv6("2001:db8:20::2", hlim=63, src_mac=ROUTER20, dst_mac=H2)),
    (ipv6("2001:db8:30::9"), "1/1/3", ipv6("2001:db8:30::9", hlim=63, src_mac=ROUTER20, dst_mac=GATEWAY)),
], ids=["ipv4-host", "ipv4-route", "ipv4-ttl-2", "ipv6-host", "ipv6-route"])
def test_a_routed_frame_leaves_rewritten_with_one_hop_less(ports, sent, egress, routed):
    ports.send("1/1/1", sent)
    verify_packet(egress, routed)  # the checksum too: scapy computes it afresh
    verify_no_other_packets()


def test_a_host_entry_wins_over_the_route_that_covers_it(card, ports, router):
    card.l3.add_host("1/1/2", "192.0.2.9", H2, router[20])
    ports.send("1/1/1", ipv4("192.0.2.9"))
    verify_packet("1/1/2", ipv4("192.0.2.9", ttl=63, src_mac=ROUTER20, dst_mac=H2))
    verify_no_other_packets()


def test_the_longest_prefix_wins(card, ports, router):
    card.l3.add_route("1/1/2", "192.0.2.128/25", H2, router[20], 20)
    ports.send("1/1/1", ipv4("192.0.2.200"))
    verify_packet("1/1/2", ipv4("192.0.2.200", ttl=63, src_mac=ROUTER20, dst_mac=H2))
    ports.send("1/1/1", ipv4("192.0.2.100"))
    verify_packet("1/1/3", ipv4("192.0.2.100", ttl=63, src_mac=ROUTER20, dst_mac=GATEWAY))
    verify_no_other_packets()


@pytest.mark.parametrize("sent, reason", [
    (ipv4("198.51.100.1"), "no route"),
    (ipv6("2001:db8:99::1"), "no route"),
    (ipv4("192.0.2.7", ttl=1), "TTL expired"),
    (ipv6("2001:db8:30::9", hlim=1), "TTL expired"),
], ids=["ipv4-no-route", "ipv6-no-route", "ipv4-ttl-1", "ipv6-hop-limit-1"])
def test_what_the_card_cannot_route_goes_to_the_cpu_unchanged(ports, sent, reason):
    ports.send("1/1/1", sent)
    received = ports.verify_cpu_packet(sent, reason=reason)
    assert (received.port, received.vlan) == ("1/1/1", 10)
    verify_no_other_packets()


def test_without_a_route_the_frame_is_dropped_when_the_forward_mode_says_so(card, ports):
    card.api.set_switch_forward_mode(1)
    result = ports.send("1/1/1", ipv4("198.51.100.1"))
    verify_no_other_packets()
    assert result.drop


def test_a_frame_to_another_mac_is_bridged_not_routed(card, ports):
    card.vlan.add_ports(10, untagged=["1/1/4"])
    bridged = ipv4("10.0.20.2", dst_mac="02:00:00:00:00:99")
    ports.send("1/1/1", bridged)
    verify_packet("1/1/4", bridged)
    verify_no_other_packets()


def test_a_deleted_route_routes_no_more(card, ports):
    card.api.delete_l3_route_by_subnet_ip4("192.0.2.0", "255.255.255.0", "1/1/3")
    ports.send("1/1/1", ipv4("192.0.2.7"))
    ports.verify_cpu_packet(ipv4("192.0.2.7"), reason="no route")
    verify_no_other_packets()
