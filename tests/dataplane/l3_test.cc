// Routing: host entry before route, longest prefix, the frame rewritten
// for its next hop, and what goes to the CPU instead.
#include <cstring>

#include "frames.hh"

namespace {

using namespace dataplane_test;

const Mac router10 = {{0x02, 0, 0, 0, 0xaa, 0x10}};
const Mac router20 = {{0x02, 0, 0, 0, 0xaa, 0x20}};
const Mac client = station(1);

// VLAN 10: port 1, where the client is, and port 4; an interface there.
// VLAN 20: port 2 tagged (a trunk), port 3 untagged; an interface there.
// Next hops are stations 0x51 to 0x56.
class Router : public Card {
protected:
    void SetUp() override
    {
        Card::SetUp();
        access_vlan(10, {1, 4});
        vlan(20, {2}, {3});
        ASSERT_TRUE(vorn_create_l3_interface(router10.data(), 10, interface10));
        ASSERT_TRUE(vorn_create_l3_interface(router20.data(), 20, interface20));
        ASSERT_TRUE(
            vorn_add_l3_host_ip4(port(2), ip4(10, 20, 0, 5), station(0x51).data(), interface20));
        route4(3, ip4(10, 20, 0, 0), 16, 0x52);
        route4(2, ip4(10, 20, 1, 0), 24, 0x53);
        route4(3, ip4(10, 0, 0, 0), 8, 0x54);
        ASSERT_TRUE(vorn_add_l3_host_ip4(port(1), ip4(10, 10, 0, 1), router10.data(), interface10));
        ASSERT_TRUE(
            vorn_add_l3_host_ip6(port(2), ip6(0x20, 5).data(), station(0x55).data(), interface20));
        Ip6 mask{};
        std::fill(mask.begin(), mask.begin() + 6, 0xff);  // /48
        ASSERT_TRUE(vorn_add_l3_route_ip6(port(3), ip6(0x20, 0).data(), mask.data(),
                                          station(0x56).data(), interface20));
    }
    void route4(unsigned int out, std::uint32_t network, unsigned int length, unsigned int next_hop)
    {
        const std::uint32_t mask = length ? ~std::uint32_t(0) << (32 - length) : 0;
        ASSERT_TRUE(vorn_add_l3_route_ip4(port(out), network, mask, station(next_hop).data(),
                                          interface20, 20));
    }

    unsigned int interface10 = 0;
    unsigned int interface20 = 0;
};

struct Case {
    const char* what;
    Bytes frame;
    const char* out;
    const char* drop;
    unsigned int next_hop;  // station number; 0: not routed
};

// The routed frame: from the interface's MAC to the next hop's, the IP
// packet unchanged but for a TTL (hop limit) one less and, for IPv4, a
// header checksum that is right again.
void expect_routed(const Bytes& in, const Bytes& out, unsigned int next_hop)
{
    const bool ipv4 = read16(in, 12) == 0x0800;
    const Seen s = seen(out);
    EXPECT_EQ(s.dst, station(next_hop));
    EXPECT_EQ(s.src, router20);
    const std::size_t in_ip = 14, out_ip = s.l3 + 2;
    ASSERT_EQ(out.size() - out_ip, in.size() - in_ip);
    Bytes before(in.begin() + in_ip, in.end()), after(out.begin() + out_ip, out.end());
    const std::size_t ttl_at = ipv4 ? 8 : 7;
    EXPECT_EQ(after[ttl_at] + 1, before[ttl_at]);
    if (ipv4) {
        EXPECT_EQ(internet_checksum(after.data(), 20), 0u) << "IPv4 header checksum";
        for (Bytes* packet : {&before, &after}) (*packet)[10] = (*packet)[11] = 0;
    }
    after[ttl_at] = before[ttl_at];
    EXPECT_EQ(after, before) << "the rest of the packet";
}

void run(const std::vector<Case>& cases)
{
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        vorn_sim::FrameResult result;
        ASSERT_TRUE(vorn_sim::inject_frame(port(1), c.frame, &result))
            << vorn_sim::last_refusal().reason;
        expect_result(result, c.out, c.drop);
        if (c.next_hop && result.egress.size() == 1)
            expect_routed(c.frame, result.egress[0].frame, c.next_hop);
    }
}

Bytes to_router4(std::uint32_t dst, unsigned int ttl = 64)
{
    return frame(router10, client).ipv4(ip4(10, 10, 0, 9), dst, ttl);
}

TEST_F(Router, Ipv4HostsBeforeRoutesLongestPrefixFirst)
{
    run({
        {"a host entry before the route over it", to_router4(ip4(10, 20, 0, 5)), "2:20", "", 0x51},
        {"the /16", to_router4(ip4(10, 20, 0, 6)), "3", "", 0x52},
        {"the /24 inside the /16", to_router4(ip4(10, 20, 1, 9)), "2:20", "", 0x53},
        {"the /8 around both", to_router4(ip4(10, 99, 0, 1)), "3", "", 0x54},
        {"TTL 2 leaves with TTL 1", to_router4(ip4(10, 20, 0, 6), 2), "3", "", 0x52},
        {"UDP is routed whole",
         frame(router10, client).ipv4(ip4(10, 10, 0, 9), ip4(10, 20, 0, 6)).udp(5000, 53), "3", "",
         0x52},
    });
}

TEST_F(Router, WhatTheRouterCannotForwardGoesToTheCpu)
{
    run({
        {"TTL 1", to_router4(ip4(10, 20, 0, 6), 1), "cpu:TTL expired", "", 0},
        {"TTL 0", to_router4(ip4(10, 20, 0, 6), 0), "cpu:TTL expired", "", 0},
        {"no route", to_router4(ip4(192, 168, 0, 1)), "cpu:no route", "", 0},
        {"ARP to the router's MAC",
         frame(router10, client).arp(ip4(10, 10, 0, 9), ip4(10, 10, 0, 1)), "cpu:ARP", "", 0},
        {"a host entry that is the card's own", to_router4(ip4(10, 10, 0, 1)), "cpu:for the router",
         "", 0},
        {"a non-IP frame to the router", frame(router10, client), "cpu:for the router", "", 0},
        {"to another MAC: bridged", frame(station(0x99), client).ipv4(1, ip4(10, 20, 0, 6)), "4",
         "", 0},
        {"to the other interface's MAC: not this VLAN's",
         frame(router20, client).ipv4(1, ip4(10, 20, 0, 6)), "4", "", 0},
    });
    ASSERT_TRUE(vorn_set_switch_forward_mode(1));
    run({{"no route, forward mode bit 0", to_router4(ip4(192, 168, 0, 1)), "",
          "no route to 192.168.0.1", 0}});
}

// Flows and filters see a frame before it is routed: a flow's drop wins,
// a filter's copy to the CPU goes beside the routed frame.
TEST_F(Router, FlowsAndFiltersComeBeforeRouting)
{
    of_flow_s discard;
    std::memset(&discard.match, 0, sizeof discard.match);
    discard.match.match_flags = OF_MATCH_L4_DST_PORT;
    discard.match.l4_dst_port = 9;
    ASSERT_TRUE(vorn_add_of_flow_with_id(discard, 1));
    ASSERT_TRUE(vorn_add_of_flow_action(1, OF_ACTION_DROP, of_action_param_s{{0, 0, 0}}));
    ASSERT_TRUE(vorn_add_l4_destination_port_filter(179));
    const auto udp_to = [](unsigned int port) -> Bytes {
        return frame(router10, client).ipv4(ip4(10, 10, 0, 9), ip4(10, 20, 0, 6)).udp(5000, port);
    };
    run({
        {"a flow drops it", udp_to(9), "", "flow 1 drops it", 0},
        {"a filter copies it", udp_to(179), "3 cpu:L4 port filter", "", 0x52},
        {"neither", udp_to(80), "3", "", 0x52},
    });
}

TEST_F(Router, Ipv6IsRoutedWithTheHopLimitOneLess)
{
    const Ip6 source = ip6(0x10, 9);
    run({
        {"a host entry", frame(router10, client).ipv6(source, ip6(0x20, 5)), "2:20", "", 0x55},
        {"the /48 route", frame(router10, client).ipv6(source, ip6(0x20, 6)), "3", "", 0x56},
        {"hop limit 1", frame(router10, client).ipv6(source, ip6(0x20, 6), 1), "cpu:TTL expired",
         "", 0},
        {"no route", frame(router10, client).ipv6(source, ip6(0x99, 1)), "cpu:no route", "", 0},
    });
}

}  // namespace
