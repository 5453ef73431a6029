"""Masks and the verify helpers: what matches, what does not, and what a
failed verify says."""
import pytest
from scapy.all import IP, UDP, Dot1Q, Ether, IPv6

from vornlcapi import testing
from vornlcapi.testing import Mask, verify_no_other_packets, verify_packet

H1 = "02:00:00:00:00:01"
H2 = "02:00:00:00:00:02"


def udp(**ip):
    return Ether(src=H1, dst=H2) / Dot1Q(vlan=10, prio=3) / IP(src="10.0.0.1", dst="10.0.0.2", **ip) \
        / UDP(sport=1000, dport=2000) / (b"p" * 20)


def changed(packet, layer, **fields):
    packet = packet.copy()
    for name, value in fields.items():
        setattr(packet[layer], name, value)
    if layer is IP and "chksum" not in fields:
        del packet[IP].chksum
    return bytes(packet)


SENT = udp(ttl=64)


@pytest.mark.parametrize("got, ignored_fields, ignored_bytes, matches", [
    (bytes(SENT), (), (), True),
    (changed(SENT, IP, ttl=63), (), (), False),
    (changed(SENT, IP, ttl=63), ("IP.ttl", "IP.chksum"), (), True),
    (changed(SENT, IP, ttl=63), ("IP.ttl",), (), False),  # the checksum changed too
    (changed(SENT, Dot1Q, prio=5), ("Dot1Q.prio",), (), True),
    (changed(SENT, Dot1Q, prio=5, vlan=11), ("Dot1Q.prio",), (), False),  # bits of the same bytes
    (changed(SENT, IP, flags="DF"), ("IP.flags", "IP.chksum"), (), True),
    (changed(SENT, IP, frag=1), ("IP.flags", "IP.chksum"), (), False),
    (bytes(SENT)[:-4] + b"zzzz", (), ((len(SENT) - 4, 4),), True),
    (bytes(SENT)[:-5] + b"zzzzz", (), ((len(SENT) - 4, 4),), False),
    (bytes(SENT) + b"\0", (), (), False),
    (bytes(SENT)[:-1], (), (), False),
], ids=["same", "ttl", "ttl-and-checksum-ignored", "checksum-not-ignored", "priority-ignored",
        "vlan-beside-priority", "flags-ignored", "fragment-beside-flags", "bytes-ignored",
        "byte-before-range", "longer", "shorter"])
def test_a_mask_matches_what_differs_only_where_it_ignores(got, ignored_fields, ignored_bytes, matches):
    mask = Mask(SENT).ignore(*ignored_fields)
    for offset, length in ignored_bytes:
        mask.ignore_bytes(offset, length)
    assert mask.matches(got) is matches


def test_a_mask_over_ipv6_ignores_the_hop_limit():
    sent = Ether(src=H1, dst=H2) / IPv6(src="2001:db8::1", dst="2001:db8::2", hlim=64) / UDP() / b"x"
    routed = sent.copy()
    routed[IPv6].hlim = 63
    assert not Mask(sent).matches(bytes(routed))
    assert Mask(sent).ignore("IPv6.hlim").matches(bytes(routed))


@pytest.mark.parametrize("make, message", [
    (lambda mask: mask.ignore("IP.colour"), "no field 'IP.colour'"),
    (lambda mask: mask.ignore("TCP.sport"), "no field 'TCP.sport'"),
    (lambda mask: mask.ignore_bytes(len(SENT) - 2, 3), "not a byte range of the %d-byte frame" % len(SENT)),
    (lambda mask: mask.ignore_bytes(-1, 2), "not a byte range"),
])
def test_a_mask_refuses_what_the_frame_does_not_have(make, message):
    mask = Mask(SENT)
    with pytest.raises(ValueError, match=message):
        make(mask)
    assert mask.matches(bytes(SENT)) and not mask.matches(changed(SENT, IP, ttl=1)), "nothing half-applied"


def test_a_mask_cannot_be_sent(card, ports):
    with pytest.raises(TypeError, match="cannot be sent"):
        ports.send("1/1/1", Mask(SENT))


# --- The verify helpers on a card ------------------------------------------------

@pytest.fixture
def flooding(vlan_of):
    """VLAN 10 on 1/1/1-3, untagged: what enters one port leaves the two others."""
    vlan_of(10, untagged=["1/1/1", "1/1/2", "1/1/3"])


def plain(**ip):
    return Ether(src=H1, dst=H2) / IP(src="10.0.0.1", dst="10.0.0.2", **ip) / UDP(sport=1000, dport=2000)


def failure(check, *args):
    with pytest.raises(AssertionError) as raised:
        check(*args)
    return str(raised.value)


def test_verify_packet_names_the_first_differing_byte_and_its_field(flooding, ports):
    ports.send("1/1/1", plain(ttl=64))
    message = failure(ports.verify_packet, "1/1/2", plain(ttl=65))
    assert message.startswith("verify_packet on 1/1/2: the frame that left differs")
    assert "first difference at byte 22 (IP.ttl): expected 0x41, got 0x40" in message
    assert "expected: Ether / IP / UDP 10.0.0.1:1000 > 10.0.0.2:2000" in message
    assert "1/1/3: Ether / IP / UDP" in message, "what is still pending elsewhere"


def test_verify_packet_on_a_port_that_sent_nothing_says_what_is_pending_and_why(flooding, ports):
    ports.send("1/1/1", plain())
    message = failure(ports.verify_packet, "1/1/4", plain())
    assert message.startswith("verify_packet on 1/1/4: no frame left that port")
    assert "    1/1/2: Ether / IP / UDP" in message and "    1/1/3: Ether / IP / UDP" in message
    ports.clear()
    ports.send("1/1/5", plain())
    message = failure(ports.verify_packet, "1/1/2", plain())
    assert "nothing else is pending on any port or at the CPU" in message
    assert "the last frame sent (on 1/1/5) was dropped: " in message


def test_verify_no_packet_fails_while_a_frame_is_pending(flooding, ports):
    ports.send("1/1/1", plain())
    ports.verify_no_packet("1/1/4")
    ports.verify_no_packet("1/1/2", plain(ttl=1))
    assert "verify_no_packet on 1/1/2: 1 frame(s) left that port" in failure(ports.verify_no_packet, "1/1/2")
    assert "verify_no_packet on 1/1/2: the frame left" in failure(ports.verify_no_packet, "1/1/2", plain())
    ports.verify_packet("1/1/2", plain())
    ports.verify_no_packet("1/1/2")


def test_verify_no_other_packets_covers_the_cpu(flooding, ports):
    broadcast = Ether(src=H1, dst="ff:ff:ff:ff:ff:ff") / IP() / UDP()
    ports.send("1/1/1", broadcast)
    ports.verify_packet("1/1/2", broadcast)
    ports.verify_packet("1/1/3", broadcast)
    message = failure(ports.verify_no_other_packets)
    assert message.startswith("verify_no_other_packets: frames are still pending")
    assert "cpu (from 1/1/1, VLAN 10, broadcast): Ether / IP / UDP" in message
    ports.verify_cpu_packet(broadcast, reason="broadcast")
    ports.verify_no_other_packets()


def test_verify_packet_with_a_mask_reports_only_what_the_mask_compares(flooding, ports):
    ports.send("1/1/1", plain(ttl=9, tos=4))
    expected = Mask(plain(ttl=64, tos=0)).ignore("IP.ttl", "IP.chksum")
    message = failure(ports.verify_packet, "1/1/2", expected)
    assert "first difference at byte 15 (IP.tos)" in message and ", masked" in message
    ports.verify_packet("1/1/3", Mask(plain(ttl=64, tos=4)).ignore("IP.ttl", "IP.chksum"))


def test_the_module_functions_act_on_the_running_tests_ports(flooding, ports):
    ports.send("1/1/1", plain())
    verify_packet("1/1/2", plain())
    assert ports.sent_to("1/1/2") == [] and ports.sent_to((1, 1, 3)) == [bytes(plain())]
    verify_packet((1, 1, 3), plain())
    verify_no_other_packets()


def test_the_module_functions_need_the_ports_fixture(card):
    with pytest.raises(RuntimeError, match="ask for the `ports` fixture"):
        testing.verify_no_other_packets()
