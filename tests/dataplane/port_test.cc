// The ports themselves: what keeps a frame from entering or leaving
// (admin state, link, MTU, L2 enable, ingress discarding, egress admin
// state), and the packet filters and system MACs that send it to the CPU.
#include "frames.hh"

namespace {

using namespace dataplane_test;

const Mac unknown = station(0xee);

// A frame of `size` bytes (without FCS), tagged or not.
Bytes sized(unsigned int size, bool tagged)
{
    FrameBuilder builder = frame(unknown, station(1));
    if (tagged) builder.tag(10);
    Bytes bytes = builder;
    bytes.resize(size, 0);
    return bytes;
}

// Port 1 in VLAN 10 (PVID, and tagged frames too) with port 2; one setting
// of port 1 per case, undone after it.
TEST_F(Card, WhatKeepsAFrameFromEntering)
{
    vlan(10, {}, {1, 2});
    ASSERT_TRUE(vorn_set_port_pvid(port(1), 10));
    ASSERT_TRUE(vorn_set_port_mtu(port(1), 1500));
    struct Case {
        const char* what;
        bool (*set)(const Usp&, bool on);
        Bytes frame;
        const char* out;
        const char* drop;
    };
    const auto admin = [](const Usp& p, bool on) { return vorn_set_port_state(p, !on); };
    const auto cable = [](const Usp& p, bool on) { return vorn_sim::set_cable(p, !on); };
    const auto no_l2 = [](const Usp& p, bool on) { return vorn_set_port_l2_enable(p, !on); };
    const auto nothing = [](const Usp&, bool) { return true; };
    const auto untagged = [](const Usp& p, bool on) {
        return vorn_set_port_ingress_discarding(
            p, on ? INGRESS_DISCARD_UNTAGGED : INGRESS_DISCARD_NONE);
    };
    const auto tagged = [](const Usp& p, bool on) {
        return vorn_set_port_ingress_discarding(p,
                                                on ? INGRESS_DISCARD_TAGGED : INGRESS_DISCARD_NONE);
    };
    const auto all = [](const Usp& p, bool on) {
        return vorn_set_port_ingress_discarding(p, on ? INGRESS_DISCARD_ALL : INGRESS_DISCARD_NONE);
    };
    const Bytes plain = frame(unknown, station(1));
    const Bytes with_tag = frame(unknown, station(1)).tag(10);
    const Case cases[] = {
        {"disabled", admin, plain, "", "port 1/1/1 is disabled"},
        {"no link", cable, plain, "", "port 1/1/1 has no link"},
        {"layer 2 off", no_l2, plain, "", "layer 2 is disabled on port 1/1/1"},
        {"discarding untagged: untagged", untagged, plain, "", "discards untagged frames"},
        {"discarding untagged: tagged", untagged, with_tag, "2", ""},
        {"discarding tagged: tagged", tagged, with_tag, "", "discards tagged frames"},
        {"discarding tagged: untagged", tagged, plain, "2", ""},
        {"discarding all", all, plain, "", "discards all frames"},
        {"the MTU with the FCS", nothing, sized(1496, false), "2", ""},
        {"one byte over the MTU", nothing, sized(1497, false), "",
         "over the MTU of port 1/1/1 (1500)"},
        {"a tag does not count", nothing, sized(1500, true), "2", ""},
        {"over the MTU with a tag", nothing, sized(1501, true), "", "over the MTU"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        ASSERT_TRUE(c.set(port(1), true));
        expect_result(inject(1, c.frame), c.out, c.drop);
        ASSERT_TRUE(c.set(port(1), false));
        expect_result(inject(1, plain), "2", "");
    }
}

// Port 1 floods to ports 2 and 3; one setting of port 2 per case.
TEST_F(Card, WhatKeepsAFrameFromLeaving)
{
    access_vlan(10, {1, 2, 3});
    expect_result(inject(2, frame(unknown, station(2))), "1 3", "");
    struct Case {
        const char* what;
        bool (*set)(const Usp&, bool on);
        const char* drop;  // why the frame does not leave port 2
    };
    const Case cases[] = {
        {"disabled", [](const Usp& p, bool on) { return vorn_set_port_state(p, !on); },
         "port 1/1/2: the port is disabled"},
        {"no link", [](const Usp& p, bool on) { return vorn_sim::set_cable(p, !on); },
         "port 1/1/2: no link"},
        {"egress off",
         [](const Usp& p, bool on) { return vorn_set_port_egress_admin_state(p, !on); },
         "port 1/1/2: egress is disabled"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        ASSERT_TRUE(c.set(port(2), true));
        expect_result(inject(1, frame(unknown, station(1))), "3", "");
        expect_result(inject(3, frame(station(2), station(3))), "", c.drop);
        ASSERT_TRUE(c.set(port(2), false));
        // Port 2 speaks again: station 2 is known there from now on.
        expect_result(inject(2, frame(unknown, station(2))), "1 3", "");
    }
}

// Filters copy what they match to the CPU and the frame goes on; a system
// MAC takes the frame to the CPU instead.
TEST_F(Card, FiltersCopyToTheCpuAndSystemMacsTakeTheFrame)
{
    access_vlan(10, {1, 2});
    ASSERT_TRUE(vorn_add_arp_filter(ip4(10, 0, 0, 0), ip4(255, 0, 0, 0)));
    ASSERT_TRUE(vorn_add_ip_protocol_filter(253));
    ASSERT_TRUE(vorn_add_l4_destination_port_filter(179));
    ASSERT_TRUE(vorn_add_system_mac(station(0x77).data(), 10));
    const std::uint32_t host = ip4(172, 16, 0, 1);
    const struct Case {
        const char* what;
        Bytes frame;
        const char* out;
    } cases[] = {
        {"ARP for a filtered address", frame(broadcast_mac, station(1)).arp(host, ip4(10, 1, 2, 3)),
         "2 cpu:ARP filter"},
        {"ARP for another address", frame(broadcast_mac, station(1)).arp(host, ip4(192, 168, 0, 1)),
         "2 cpu:broadcast"},
        {"a filtered IP protocol", frame(unknown, station(1)).ipv4(host, ip4(172, 16, 0, 2)),
         "2 cpu:IP protocol filter"},
        {"a filtered UDP port",
         frame(unknown, station(1)).ipv4(host, ip4(172, 16, 0, 2)).udp(40000, 179),
         "2 cpu:L4 port filter"},
        {"another UDP port", frame(unknown, station(1)).ipv4(host, ip4(172, 16, 0, 2)).udp(179, 80),
         "2"},
        {"to a system MAC", frame(station(0x77), station(1)), "cpu:system MAC"},
        {"to a system MAC in another VLAN", frame(station(0x77), station(1)).tag(20), ""},
    };
    vlan(20, {1}, {});
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const vorn_sim::FrameResult result = inject(1, c.frame);
        expect_result(result, c.out, *c.out ? "" : "no port to send it to");
    }
}

// What the host refuses, and why, with nothing counted or learned.
TEST_F(Card, BadFramesAndPortsAreRefusedAndSaySo)
{
    access_vlan(10, {1, 2});
    const Bytes good = frame(station(0xee), station(1));
    const Bytes short_frame(13, 0x02);
    vorn_sim::FrameResult result;
    struct Case {
        const char* what;
        bool (*call)(const Bytes& good, const Bytes& short_frame, vorn_sim::FrameResult& result);
        const char* operation;
        const char* reason;
    };
    const Case cases[] = {
        {"a port the card does not have",
         [](const Bytes& f, const Bytes&, vorn_sim::FrameResult& r) {
             return vorn_sim::inject_frame(Usp(1, 1, 49), f, &r);
         },
         "inject_frame", "1/1/49"},
        {"a LAG is not a port a frame enters by",
         [](const Bytes& f, const Bytes&, vorn_sim::FrameResult& r) {
             return vorn_sim::inject_frame(lag(1), f, &r);
         },
         "inject_frame", "0/1/1"},
        {"shorter than an Ethernet header",
         [](const Bytes&, const Bytes& f, vorn_sim::FrameResult& r) {
             return vorn_sim::inject_frame(port(1), f, &r);
         },
         "inject_frame", "frame of 13 bytes is shorter than an Ethernet header"},
        {"traced on a port the card does not have",
         [](const Bytes& f, const Bytes&, vorn_sim::FrameResult& r) {
             return vorn_sim::trace_frame(Usp(1, 2, 1), f, r);
         },
         "trace_frame", "1/2/1"},
        {"traced, too short",
         [](const Bytes&, const Bytes& f, vorn_sim::FrameResult& r) {
             return vorn_sim::trace_frame(port(1), f, r);
         },
         "trace_frame", "shorter than an Ethernet header"},
        {"an MSTP instance for VLAN 0",
         [](const Bytes&, const Bytes&, vorn_sim::FrameResult&) {
             return vorn_sim::set_vlan_instance(0, 1);
         },
         "set_vlan_instance", "VLAN 0"},
        {"MSTP instance 4095",
         [](const Bytes&, const Bytes&, vorn_sim::FrameResult&) {
             return vorn_sim::set_vlan_instance(10, 4095);
         },
         "set_vlan_instance", "MSTP instance"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const unsigned long refusals = vorn_sim::refusal_count();
        EXPECT_FALSE(c.call(good, short_frame, result));
        EXPECT_EQ(vorn_sim::refusal_count(), refusals + 1);
        EXPECT_EQ(vorn_sim::last_refusal().operation, c.operation);
        EXPECT_NE(vorn_sim::last_refusal().reason.find(c.reason), std::string::npos)
            << vorn_sim::last_refusal().reason;
    }
    EXPECT_EQ(counter(1, STAT_IF_IN_OCTETS), 0u);
    EXPECT_EQ(fdb_entry(10, station(1)), "");
    // The refused mapping left VLAN 10 in instance 0.
    ASSERT_TRUE(vorn_set_port_mstp_state(port(1), MSTP_STATE_DISCARDING, 0));
    expect_result(inject(1, good), "", "discarding in VLAN 10 (spanning tree, instance 0)");
}

}  // namespace
