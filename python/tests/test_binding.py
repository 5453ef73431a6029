"""The wrapper layer itself: card.api against the entry-point table, conversions by
kind and their errors, refusals, quirks, events and what inject reports."""

import inspect
import os
import subprocess
import sys

import pytest

import vornlcapi
from vornlcapi import MirrorType, Port, Refused, StpState, values
from vornlcapi._entry_points import ENTRY_POINTS

BROADCAST_ARP = bytes.fromhex("ffffffffffff001b2100000108060001080006040001001b210000010a000001"
                              "0000000000000a000002")
SOURCE_MAC = "00:1b:21:00:00:01"


def frame(destination, source=SOURCE_MAC, ethertype=b"\x08\x06", payload=bytes(46)):
    return values.mac_in(destination) + values.mac_in(source) + ethertype + payload


@pytest.fixture
def card():
    with vornlcapi.Card(ports=8) as opened:
        yield opened


@pytest.fixture
def vlan10(card):
    """VLAN 10: 1/1/1 tagged, 1/1/2-3 untagged with PVID 10."""
    card.vlan.create(10)
    card.vlan.add_ports(10, tagged=["1/1/1"], untagged=["1/1/2", "1/1/3"])
    for port in ("1/1/2", "1/1/3"):
        card.api.set_port_pvid(port, 10)
    return card


# --- Ports ----------------------------------------------------------------------------------
@pytest.mark.parametrize("form", ["1/1/3", (1, 1, 3), [1, 1, 3], Port("1/1/3"), Port((1, 1, 3))])
def test_port_forms(form):
    port = Port(form)
    assert (port, port.unit, port.slot, port.port) == ("1/1/3", 1, 1, 3)
    assert isinstance(port, str) and hash(port) == hash("1/1/3")


@pytest.mark.parametrize("form, error, text", [
    ("1/1", ValueError, "bad port '1/1'"),
    ("1/1/3/4", ValueError, "bad port '1/1/3/4'"),
    ("a/b/c", ValueError, "bad port 'a/b/c'"),
    ("1/1/-3", ValueError, "bad port '1/1/-3'"),
    ("", ValueError, "bad port ''"),
    ((1, 1), TypeError, "bad port (1, 1)"),
    ((1, 1, -1), ValueError, "bad port (1, 1, -1)"),
    ((1, 1, 2 ** 32), ValueError, "bad port"),
    ((1, "1", 3), TypeError, "bad port"),
    (13, TypeError, "bad port 13"),
    (None, TypeError, "bad port None"),
])
def test_bad_port_forms(card, form, error, text):
    with pytest.raises(error, match=text.replace("(", r"\(").replace(")", r"\)")):
        Port(form)
    # Through an entry point the call and the parameter are named too.
    with pytest.raises(error, match="^set_port_pvid: port: bad port"):
        card.api.set_port_pvid(form, 1)


def test_port_forms_reach_the_same_port(vlan10):
    for form in ("1/1/2", (1, 1, 2), Port("1/1/2"), [1, 1, 2]):
        vlan10.api.set_port_pvid(form, 1)
        assert vlan10.api.get_port_pvid("1/1/2") == 1
        vlan10.api.set_port_pvid("1/1/2", 10)
        assert vlan10.api.get_port_pvid(form) == 10


# --- Conversions by kind --------------------------------------------------------------------
@pytest.mark.parametrize("convert, form, expected", [
    (values.mac_in, "00:1b:21:0a:0b:0c", b"\x00\x1b\x21\x0a\x0b\x0c"),
    (values.mac_in, "00-1B-21-0A-0B-0C", b"\x00\x1b\x21\x0a\x0b\x0c"),
    (values.mac_in, b"\x01\x02\x03\x04\x05\x06", b"\x01\x02\x03\x04\x05\x06"),
    (values.ipv4_in, "10.1.2.3", 0x0A010203),
    (values.ipv4_in, 0x0A010203, 0x0A010203),
    (values.ipv6_in, "2001:db8::1", bytes.fromhex("20010db8000000000000000000000001")),
    (values.ipv6_mask_in, 32, bytes.fromhex("ffffffff000000000000000000000000")),
    (values.ipv6_mask_in, "/33", bytes.fromhex("ffffffff800000000000000000000000")),
    (values.ipv6_mask_in, "ffff:ff00::", bytes.fromhex("ffffff00000000000000000000000000")),
    (values.ipv6_mask_in, 0, bytes(16)),
    (values.vlan_bitmap_in, [1, 10, 4095], bytes([0x02, 0x04]) + bytes(509) + b"\x80"),
    (values.frame_in, bytearray(b"\x01\x02"), b"\x01\x02"),
    (values.frame_in, memoryview(b"\x01\x02"), b"\x01\x02"),
])
def test_conversions(convert, form, expected):
    assert convert(form) == expected


@pytest.mark.parametrize("convert, form, error, text", [
    (values.mac_in, "00:1b:21:0a:0b", ValueError, "bad MAC '00:1b:21:0a:0b'"),
    (values.mac_in, "00:1b:21:0a:0b:zz", ValueError, "bad MAC"),
    (values.mac_in, "001b:21:0a:0b:0c:0d", ValueError, "bad MAC"),
    (values.mac_in, b"\x00" * 5, ValueError, "expected 6 bytes, got 5"),
    (values.mac_in, 12, TypeError, "bad MAC 12"),
    (values.ipv4_in, "10.1.2", ValueError, "bad IPv4 address '10.1.2'"),
    (values.ipv4_in, "10.1.2.256", ValueError, "bad IPv4 address"),
    (values.ipv4_in, -1, ValueError, "bad IPv4 address -1"),
    (values.ipv4_in, 2 ** 32, ValueError, "bad IPv4 address"),
    (values.ipv4_in, b"\x0a\x00\x00\x01", TypeError, "bad IPv4 address"),
    (values.ipv6_in, "2001:db8:::1", ValueError, "bad IPv6 address"),
    (values.ipv6_in, b"\x00" * 15, ValueError, "expected 16 bytes, got 15"),
    (values.ipv6_mask_in, 129, ValueError, "bad IPv6 prefix length 129"),
    (values.ipv6_mask_in, "ffff:00ff::", ValueError, "not leading"),
    (values.ipv6_mask_in, "x", ValueError, "bad IPv6 mask 'x'"),
    (values.vlan_bitmap_in, [4096], ValueError, "bad VLAN 4096"),
    (values.vlan_bitmap_in, 10, TypeError, "bad VLAN set 10"),
    (values.frame_in, "ffff", TypeError, "bad frame 'ffff'"),
    (values.frame_in, None, TypeError, "bad frame None"),
    (values.prefix_in, "10.0.0.0", ValueError, "bad prefix '10.0.0.0'"),
    (values.prefix_in, "10.0.0.0/x", ValueError, "not a number"),
])
def test_bad_conversions(convert, form, error, text):
    with pytest.raises(error, match=text):
        convert(form)


@pytest.mark.parametrize("call, args, error, text", [
    ("set_mac_vlan", ("00:1b:21", 10, 0), ValueError, "^set_mac_vlan: mac: bad MAC"),
    ("set_ipv4_subnet_vlan", ("10.0.0.0", "255.0.0", 10, 0), ValueError,
     "^set_ipv4_subnet_vlan: mask: bad IPv4 address"),
    ("set_ipv6_subnet_vlan", ("2001::db8::", 32, 10, 0), ValueError, "^set_ipv6_subnet_vlan: address: "),
    ("add_system_mac_vlan_bitmap", (SOURCE_MAC, [1, 5000]), ValueError,
     "^add_system_mac_vlan_bitmap: vlan_bitmap: bad VLAN 5000"),
    ("add_ports_to_vlan", (10, "1/1/1", []), TypeError, "^add_ports_to_vlan: tagged: bad port list"),
    ("add_ports_to_vlan", (10, [], ["1/1/1", "1/1"]), ValueError, "^add_ports_to_vlan: untagged: bad port '1/1'"),
    ("send_packet_from_cpu", ("ffff",), TypeError, "^send_packet_from_cpu: packet: bad frame"),
    ("add_of_flow", ({"in_prot": "1/1/1"},), ValueError, "^add_of_flow: flow: unknown flow match field 'in_prot'"),
    ("add_of_flow", ([1, 2],), TypeError, "^add_of_flow: flow: bad flow"),
    ("set_port_pvid", ("1/1/1", "10"), TypeError, "^set_port_pvid: pvid: "),
    ("set_port_pvid", ("1/1/1", 2 ** 32), ValueError, "^set_port_pvid: pvid: "),
    ("set_port_bpdu_processing", ("1/1/1", 2), ValueError, "^set_port_bpdu_processing: enabled: "),
    ("create_l3_interface_with_id", (SOURCE_MAC, 10, 1, None), TypeError,
     "^create_l3_interface_with_id: replace: "),
])
def test_bad_arguments_name_the_call_and_parameter(card, call, args, error, text):
    before = card.refusal_count
    with pytest.raises(error, match=text):
        getattr(card.api, call)(*args)
    assert card.refusal_count == before  # nothing reached the card


# --- Conversions through the card, both ways ----------------------------------------------------
def test_mac_and_vlan_round_trip_through_an_l3_interface(card):
    card.vlan.create(20)
    interface = card.api.create_l3_interface("02:00:00:00:00:2a", 20)
    assert card.api.get_l3_interface(interface) == (20, "02:00:00:00:00:2a")
    assert card.l3.add_interface(b"\x02\x00\x00\x00\x00\x2b", 20) != interface


def test_ipv4_route_round_trip(card):
    card.vlan.create(20)
    interface = card.l3.add_interface("02:00:00:00:00:01", 20)
    card.l3.add_route("1/1/4", "10.2.0.0/16", "00:1b:21:0f:0f:0f", interface, 20)
    assert card.api.get_l3_route_by_subnet_ip4("10.2.0.0", "255.255.0.0", "1/1/4") == (
        "00:1b:21:0f:0f:0f", interface, 20)
    assert card.api.get_l3_route_by_subnet_ip4(0x0A020000, 0xFFFF0000, (1, 1, 4))[0] == "00:1b:21:0f:0f:0f"
    with pytest.raises(Refused):  # the mask is the second address: a /8 is another route
        card.api.get_l3_route_by_subnet_ip4("10.2.0.0", "255.0.0.0", "1/1/4")


def test_ipv6_route_round_trip(card):
    card.vlan.create(20)
    interface = card.l3.add_interface("02:00:00:00:00:01", 20)
    card.l3.add_route("1/1/4", "2001:db8::/32", "00:1b:21:0f:0f:0f", interface)
    for mask in (32, "ffff:ffff::", "/32"):
        assert card.api.get_l3_route_by_subnet_ip6("2001:db8::", mask, "1/1/4") == (interface, "00:1b:21:0f:0f:0f")
    with pytest.raises(Refused):
        card.api.get_l3_route_by_subnet_ip6("2001:db8::", 48, "1/1/4")


def test_vlan_bitmap_reaches_the_vlans_it_names(vlan10):
    vlan10.vlan.create(20)
    vlan10.api.add_system_mac_vlan_bitmap("02:00:00:00:00:99", [10, 20])
    result = vlan10.inject("1/1/2", frame("02:00:00:00:00:99"))
    assert [(cpu.port, cpu.vlan) for cpu in result.cpu] == [("1/1/2", 10)]
    assert result.egress == []


def test_packet_and_port_lists_of_a_cpu_send(vlan10):
    data = frame("ff:ff:ff:ff:ff:ff", "02:00:00:00:00:01")
    vlan10.cpu.send(data, tagged=["1/1/1"], untagged=["1/1/2"])
    sent = vlan10.collect()
    assert [egress.port for egress in sent.egress] == ["1/1/1", "1/1/2"]
    tagged, untagged = (egress.data for egress in sent.egress)
    assert (tagged[:12] + tagged[16:], untagged) == (data, data)
    assert vlan10.collect().egress == []  # handed over once
    with pytest.raises(Refused, match="^send_packet_from_cpu: "):  # an empty packet sends nothing
        vlan10.api.send_packet_from_cpu(b"")


# --- Refusals, quirks, outputs ------------------------------------------------------------------
def test_refused_carries_the_hosts_reason_and_the_call(card):
    card.api.create_vlan(10)
    with pytest.raises(Refused) as raised:
        card.api.create_vlan(10)
    assert (raised.value.call, raised.value.operation) == ("create_vlan", "create_vlan")
    assert raised.value.reason == "VLAN 10 already exists" and raised.value.slot >= 0
    assert str(raised.value) == "create_vlan: VLAN 10 already exists"
    with pytest.raises(Refused, match="^delete_vlan: VLAN 5 does not exist$"):
        card.vlan.delete(5)
    with pytest.raises(Refused, match="^cable: unknown port 1/1/9$") as raised:
        card.cable("1/1/9", False)
    assert (raised.value.operation, raised.value.slot) == ("set_cable", -1)


def test_a_refusal_by_the_library_alone_has_no_host_reason(card):
    card.vlan.create(10)
    with pytest.raises(Refused, match="already exists"):  # the host's refusal, taken by this call
        card.vlan.create(10)
    card.lag.create("0/1/1")
    card.lag.add_ports("0/1/1", ["1/1/1"])
    with pytest.raises(Refused) as raised:  # a VLAN interface: the library refuses, the host never hears
        card.api.set_port_state("0/2/10", True)
    assert (raised.value.operation, raised.value.reason, raised.value.slot) == ("", "", -1)
    assert str(raised.value) == "set_port_state: refused by the library"


def test_get_system_mac_limit_answers_zero_always(card):
    card.api.set_system_mac_limit(100)
    assert card.api.get_system_mac_limit() is None  # no raise, no value
    limit = card.ffi.new("int *", -7)
    assert card.lib.ctype_vorn_get_system_mac_limit(limit) == 0 and limit[0] == -7


def test_outputs_only_on_success(card):
    with pytest.raises(Refused, match="^get_port_pvid: "):
        card.api.get_port_pvid("1/1/9")
    with pytest.raises(Refused, match="^lag_id_to_lag_usp: "):
        card.api.lag_id_to_lag_usp(5)
    card.lag.create("0/1/3")
    assert card.api.lag_id_to_lag_usp(card.lag.id("0/1/3")) == Port("0/1/3")


def test_enumeration_outputs(card):
    card.api.set_port_stp_state("1/1/1", StpState.BLOCKING)
    state = card.api.get_port_stp_state("1/1/1")
    assert state is StpState.BLOCKING and state.name == "BLOCKING"
    assert card.port("1/1/2").stp_state is StpState.FORWARDING
    card.lag.create("0/1/1")
    card.lag.balancing("0/1/1", vornlcapi.LagPsc.SRC_DST_IP)
    assert card.lag.balancing("0/1/1") is vornlcapi.LagPsc.SRC_DST_IP
    assert card.port("1/1/1").link is vornlcapi.PhyState.UP
    assert card.api.get_port_flow_control_8023x("1/1/1") in {(a, b) for a in (False, True) for b in (False, True)}


def test_enumerations_leave_out_the_range_bounds():
    for enumeration in vornlcapi.enums.BY_C_NAME.values():
        assert all("RANGE" not in member.name for member in enumeration)
    assert [member.name for member in vornlcapi.MstpState] == ["DISCARDING", "LEARNING", "FORWARDING"]
    assert vornlcapi.SpeedType.SPEED_1G == 2 and vornlcapi.StatType.IF_IN_UCAST_PKTS == 1


# --- The card's lifecycle ------------------------------------------------------------------------
def test_one_open_card_per_process():
    with vornlcapi.Card(ports=4) as first:
        with pytest.raises(vornlcapi.Error, match=r"already open .*Card\(ports=4\)"):
            vornlcapi.Card()
        first.vlan.create(10)
    assert first.closed
    first.close()  # again: nothing
    with vornlcapi.Card(ports=4) as second:  # a fresh card: VLAN 10 is gone
        with pytest.raises(Refused, match="VLAN 10 does not exist"):
            second.vlan.delete(10)


@pytest.mark.parametrize("settings, text", [
    ({"portz": 8}, "unknown card setting 'portz'"),
    ({"ports": 0}, "bad card setting ports=0"),
    ({"ports": "8"}, "bad card setting ports='8'"),
])
def test_bad_settings_open_no_card(settings, text):
    with pytest.raises(ValueError, match=text):
        vornlcapi.Card(**settings)
    vornlcapi.Card(ports=2).close()


def test_settings_of_one_card_do_not_leak_into_the_next():
    with vornlcapi.Card(ports=2, lags=2):
        pass
    with vornlcapi.Card() as card:
        card.api.get_port_pvid("1/1/48")
        card.lag.create("0/1/3")


# --- Events and frames ---------------------------------------------------------------------------
def test_events_of_a_cable_and_a_learned_mac(vlan10):
    card = vlan10
    card.events.clear()
    card.cable("1/1/3", False)
    card.cable("1/1/3", True)
    links = card.events.of(vornlcapi.LinkEvent)
    assert [(event.port, event.up) for event in links] == [("1/1/3", False), ("1/1/3", True)]
    assert isinstance(links[0].speed, vornlcapi.SpeedType)
    card.inject("1/1/2", BROADCAST_ARP)
    learned = card.events.of(vornlcapi.MacEvent)
    assert learned == [vornlcapi.MacEvent(SOURCE_MAC, 10, "1/1/2", "learned", False, False)]
    rx = card.events.of(vornlcapi.RxPacket)
    assert [(packet.port, packet.vlan, packet.data) for packet in rx] == [("1/1/2", 10, BROADCAST_ARP)]
    card.fdb.aging_time = 10
    card.advance_clock(30)
    assert card.events.of(vornlcapi.MacEvent)[-1].what == "aged"
    assert card.callback_errors == []


def test_inject_result(vlan10):
    result = vlan10.inject("1/1/2", BROADCAST_ARP)
    assert [egress.port for egress in result.egress] == ["1/1/1", "1/1/3"]
    tagged = result.egress[0].data
    assert tagged[12:16] == b"\x81\x00\x00\x0a" and tagged[:12] + tagged[16:] == BROADCAST_ARP
    assert result.egress[1] == vornlcapi.Frame(Port("1/1/3"), BROADCAST_ARP)
    assert result.cpu == [vornlcapi.CpuFrame("1/1/2", 10, "broadcast", BROADCAST_ARP)]
    assert result.drop == "" and result.trace[0].startswith("ingress 1/1/2")
    reply = frame(SOURCE_MAC, "00:1b:21:00:00:03")
    assert [egress.port for egress in vlan10.inject("1/1/3", reply).egress] == ["1/1/2"]
    dropped = vlan10.inject("1/1/4", BROADCAST_ARP)
    assert (dropped.egress, dropped.cpu) == ([], [])
    assert "not a member of VLAN 1" in dropped.drop


def test_trace_explains_and_changes_nothing(vlan10):
    vlan10.events.clear()
    traced = vlan10.trace("1/1/2", BROADCAST_ARP)
    assert traced.trace[0].startswith("ingress 1/1/2: 42 bytes")
    assert [egress.port for egress in traced.egress] == ["1/1/1", "1/1/3"]
    assert vlan10.events == []
    with pytest.raises(Refused, match="^trace: "):
        vlan10.trace("1/1/2", b"\x00" * 10)
    with pytest.raises(TypeError, match="bad frame"):
        vlan10.inject("1/1/2", "ffff")


# --- card.api is the table -------------------------------------------------------------------------
def _python_parameters(arguments):
    """The parameters a caller gives: inputs, less the counts that follow port lists."""
    names, index = [], 0
    while index < len(arguments):
        name, direction, kind = arguments[index]
        if direction != "out":
            names.append(name)
        index += 2 if kind == "usp_list" else 1
    return names


def test_api_covers_every_entry_point_of_the_table(card):
    assert sorted(dir(card.api)) == sorted(name for name, _, _ in ENTRY_POINTS)
    for name, _, arguments in ENTRY_POINTS:
        function = getattr(card.api, name)
        assert function.__name__ == name
        assert list(inspect.signature(function).parameters) == _python_parameters(arguments), name


def test_the_entry_point_with_cxx_linkage(card):
    flow = card.flow.add(in_port="1/1/1", eth_type=0x0806, priority=100, actions=[("output", "1/1/2")])
    card.api.delete_of_flow_action(flow, vornlcapi.OfAction.OUTPUT, 9)
    card.api.add_of_flow_action(flow, vornlcapi.OfAction.DROP, 0)
    assert card.flow.priority(flow) == 100


# --- Arguments in their C order, by behaviour ----------------------------------------------------------
def test_mirror_target_and_source(vlan10):
    vlan10.api.set_port_mirror("1/1/5", "1/1/2", MirrorType.INGRESS)
    assert vlan10.api.get_port_mirror("1/1/2") == (Port("1/1/5"), MirrorType.INGRESS)
    out = [egress.port for egress in vlan10.inject("1/1/2", BROADCAST_ARP).egress]
    assert "1/1/5" in out
    assert "1/1/2" not in [egress.port for egress in vlan10.inject("1/1/5", BROADCAST_ARP).egress]


def test_flood_blocking_ports_and_other(vlan10):
    vlan10.api.set_port_flood_blocking(["1/1/2"], "1/1/3", vornlcapi.FloodBlockType.BROADCAST)
    assert vlan10.api.get_port_flood_blocking("1/1/2", "1/1/3") is vornlcapi.FloodBlockType.BROADCAST
    assert [egress.port for egress in vlan10.inject("1/1/2", BROADCAST_ARP).egress] == ["1/1/1"]
    assert "1/1/2" in [egress.port for egress in vlan10.inject("1/1/3", BROADCAST_ARP).egress]


def test_tagged_and_untagged_members(vlan10):
    assert vlan10.vlan.members(10) == ([Port("1/1/1")], [Port("1/1/2"), Port("1/1/3")])
    vlan10.vlan.remove_ports(10, ["1/1/3"])
    assert vlan10.vlan.members(10) == (["1/1/1"], ["1/1/2"])


def test_fdb_vlan_and_mac(vlan10):
    vlan10.fdb.add("1/1/3", "00:1b:21:00:00:09", 10)
    assert [e.port for e in vlan10.inject("1/1/2", frame("00:1b:21:00:00:09")).egress] == ["1/1/3"]
    vlan10.fdb.delete("00:1b:21:00:00:09", 10)  # delete_mac takes the VLAN first
    assert [e.port for e in vlan10.inject("1/1/2", frame("00:1b:21:00:00:09")).egress] == ["1/1/1", "1/1/3"]


# --- The reference host's operations --------------------------------------------------------------
def test_faults_by_operation_and_port(card):
    card.fail("create_vlan", nth=1)
    with pytest.raises(Refused) as raised:
        card.vlan.create(10)
    assert (raised.value.operation, raised.value.reason) == ("create_vlan", "injected fault")
    card.vlan.create(10)  # the first call only
    card.fail("set_port_pvid", port="1/1/2")
    card.api.set_port_pvid("1/1/3", 10)
    for _ in range(2):
        with pytest.raises(Refused, match="^set_port_pvid: injected fault$"):
            card.api.set_port_pvid("1/1/2", 10)
    card.clear_faults()
    card.api.set_port_pvid("1/1/2", 10)
    with pytest.raises(ValueError, match="unknown SDK operation 'create_vlans'"):
        card.fail("create_vlans")


def test_a_flow_refused_part_way_is_not_left_behind(vlan10):
    card = vlan10
    card.fail("add_of_flow_action", nth=2)
    with pytest.raises(Refused, match="^add_of_flow_action: injected fault$"):
        card.flow.add(in_port="1/1/2", priority=5, actions=[("output", "1/1/3"), "drop"])
    with pytest.raises(ValueError, match="unknown flow action 'fly'"):
        card.flow.add(in_port="1/1/2", actions=["fly"])
    with pytest.raises(ValueError, match="port 2/1/1 has no flow port number"):
        card.flow.add(in_port="1/1/2", actions=[("output", "2/1/1")])
    # No flow took the frame: it floods.
    assert [egress.port for egress in card.inject("1/1/2", BROADCAST_ARP).egress] == ["1/1/1", "1/1/3"]
    flow = card.flow.add(in_port="1/1/2", actions=[("output", "1/1/3")])
    assert [egress.port for egress in card.inject("1/1/2", BROADCAST_ARP).egress] == ["1/1/3"]
    assert card.flow.packets(flow) == 1


def test_capture_writes_what_the_port_saw(vlan10, tmp_path):
    path = tmp_path / "capture.pcap"
    vlan10.capture(["1/1/3"], path)
    vlan10.inject("1/1/2", BROADCAST_ARP)
    vlan10.stop_capture()
    data = path.read_bytes()
    assert data[:4] in (b"\xd4\xc3\xb2\xa1", b"\xa1\xb2\xc3\xd4") and BROADCAST_ARP in data
    with pytest.raises(Refused, match="^capture: "):
        vlan10.capture(["1/1/3"], tmp_path / "no such directory" / "capture.pcap")


@pytest.mark.parametrize("variable, what", [("VORNLCAPI_LIBVORNSIM", "the reference host"),
                                            ("VORNLCAPI_LIBRARY", "the library")])
def test_a_library_that_cannot_be_loaded_is_named(variable, what, tmp_path):
    missing = str(tmp_path / "libmissing.so")
    staged = os.path.dirname(os.path.dirname(os.path.abspath(vornlcapi.__file__)))
    environment = dict(os.environ, PYTHONPATH=staged, **{variable: missing})
    run = subprocess.run([sys.executable, "-c", "import vornlcapi"], env=environment, cwd=str(tmp_path),
                         capture_output=True, text=True)
    assert run.returncode == 1
    assert "ImportError: vornlcapi: cannot load %s %s (set %s to its full path)" % (what, missing, variable) \
        in run.stderr
