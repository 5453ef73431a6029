// A control plane's day on one line card, end to end: the card is brought
// up through the library alone, as examples/bringup.cc does it, then
// traffic enters its ports (between access ports, over the uplink LAG,
// routed between the VLANs), and at the end every port's counters, read
// through the library, are exactly what went in and what came out.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <list>
#include <map>
#include <string>
#include <vector>

#include "frames.hh"
#include "vorn_api.hh"
#include "vorn_sim.hh"

namespace {

using namespace dataplane_test;

const Mac router_mac = {{0x02, 0x00, 0x00, 0x00, 0x00, 0x01}};
const Mac server_mac = {{0x00, 0x1b, 0x21, 0x0a, 0x0b, 0x0c}};
const Mac gateway_mac = {{0x00, 0x1b, 0x21, 0x0f, 0x0f, 0x0f}};
// Stations 02:00:00:00:0a:nn, apart from the router's 02:00:00:00:00:01.
const Mac host_a = station(0x0a01);        // on access port 1
const Mac host_b = station(0x0a02);        // on access port 2
const Mac blocked_host = station(0x0a09);  // behind port 9
const Mac trunk_host = station(0x0a2f);    // behind trunk port 47, in VLAN 20
const std::uint32_t host_a_ip = ip4(192, 168, 10, 2);
const Usp uplink = lag(1);

std::list<Usp> port_range(unsigned int first, unsigned int last)
{
    std::list<Usp> list;
    for (unsigned int n = first; n <= last; ++n) list.push_back(port(n));
    return list;
}

// A frame's counts as a port's counters see it.
struct Tally {
    unsigned long long octets = 0, unicast = 0, multicast = 0, broadcast = 0, discards = 0;

    void add(const Bytes& frame)
    {
        octets += frame.size();
        const bool to_all = std::all_of(frame.begin(), frame.begin() + 6,
                                        [](unsigned char b) { return b == 0xff; });
        ++(to_all ? broadcast : (frame[0] & 1) ? multicast : unicast);
    }
};

// The frame as it leaves an untagged port, from one that came in tagged.
Bytes untagged(Bytes frame)
{
    frame.erase(frame.begin() + 12, frame.begin() + 16);
    return frame;
}

// The one LAG member a frame left through ("45" or "46", untagged), or "".
std::string uplink_member(const vorn_sim::FrameResult& r)
{
    const std::string out = summary(r);
    return out == "45" || out == "46" ? out : "";
}

class EndToEnd : public Card {
protected:
    // The bring-up of examples/bringup.cc, call for call; then an L3
    // interface in VLAN 10 too, and host A's address, so that the access
    // ports are routed to VLAN 20 and back.
    void bring_up()
    {
        ASSERT_TRUE(vorn_create_vlan(10) && vorn_create_vlan(20));
        ASSERT_TRUE(vorn_add_ports_to_vlan(10, port_range(47, 48), port_range(1, 8)));
        ASSERT_TRUE(vorn_add_ports_to_vlan(20, port_range(47, 48), {}));
        ASSERT_TRUE(vorn_set_ports_pvid(port_range(1, 8), 10));
        ASSERT_TRUE(vorn_add_ports_to_lag(uplink, {port(45), port(46)}));
        ASSERT_TRUE(vorn_set_lag_balancing_strategy(uplink, LAG_PSC_SRC_DST_IP));
        ASSERT_TRUE(vorn_add_ports_to_vlan(20, {}, {port(45), port(46)}));
        ASSERT_TRUE(vorn_set_ports_stp_state(port_range(1, 8), STP_STATE_FORWARDING));
        ASSERT_TRUE(vorn_set_port_stp_state(port(9), STP_STATE_BLOCKING));
        ASSERT_TRUE(vorn_set_port_broadcast_control(uplink, 10000));
        ASSERT_TRUE(vorn_add_mac_to_port(port(3), server_mac.data(), 10));

        unsigned int uplink_interface = 0, access_interface = 0;
        ASSERT_TRUE(vorn_create_l3_interface(router_mac.data(), 20, uplink_interface));
        ASSERT_TRUE(vorn_add_l3_host_ip4(port(47), ip4(192, 168, 20, 2), gateway_mac.data(),
                                         uplink_interface));
        ASSERT_TRUE(vorn_add_l3_route_ip4(uplink, ip4(10, 0, 0, 0), 0xff000000, gateway_mac.data(),
                                          uplink_interface, 20));
        const unsigned char prefix6[16] = {0x20, 0x01, 0x0d, 0xb8};
        const unsigned char mask6[16] = {0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff};
        ASSERT_TRUE(
            vorn_add_l3_route_ip6(port(48), prefix6, mask6, gateway_mac.data(), uplink_interface));

        of_flow_s flow;
        std::memset(&flow.match, 0, sizeof flow.match);
        flow.in_port = port(1);
        flow.match.eth_type = 0x0806;
        flow.match.match_flags = OF_MATCH_IN_PORT | OF_MATCH_ETH_TYPE;
        unsigned int flow_id = 0;
        of_flow_qualify_udf_s udf = {{0, 0, 0, 0}};
        ASSERT_TRUE(vorn_add_of_flow(flow, flow_id, udf));
        of_action_param_s out = {{2 + 7, 0, 0}};
        ASSERT_TRUE(vorn_add_of_flow_action(flow_id, OF_ACTION_OUTPUT, out));
        ASSERT_TRUE(vorn_add_ip_protocol_filter(89));

        ASSERT_TRUE(vorn_create_l3_interface(router_mac.data(), 10, access_interface));
        ASSERT_TRUE(vorn_add_l3_host_ip4(port(1), host_a_ip, host_a.data(), access_interface));
    }

    // A frame into port n, tallied: what came in on n, what left each port.
    vorn_sim::FrameResult send(unsigned int n, const Bytes& frame)
    {
        vorn_sim::FrameResult result = inject(n, frame);
        received[n].add(frame);
        for (const vorn_sim::EgressFrame& e : result.egress) sent[e.port.port()].add(e.frame);
        return result;
    }

    std::map<unsigned int, Tally> received, sent;
};

TEST_F(EndToEnd, BringUpThenTrafficThenCounters)
{
    bring_up();
    if (HasFatalFailure()) return;

    // --- Between access ports, in VLAN 10.
    {
        const Bytes to_server =
            frame(server_mac, host_a).ipv4(host_a_ip, ip4(192, 168, 10, 3)).udp(5000, 80);
        const vorn_sim::FrameResult r = send(1, to_server);
        expect_result(r, "3", "");
        ASSERT_EQ(r.egress.size(), 1u);
        EXPECT_EQ(r.egress[0].frame, to_server) << "bridged frames leave as they came";

        expect_result(
            send(3, frame(host_a, server_mac).ipv4(ip4(192, 168, 10, 3), host_a_ip).udp(80, 5000)),
            "1", "");
        EXPECT_EQ(fdb_entry(10, host_a), "1/1/1");

        // A broadcast reaches every other member of VLAN 10, tagged on the
        // trunks, and the CPU; an ARP from port 1 takes the bring-up's flow.
        expect_result(send(2, frame(broadcast_mac, host_b).arp(ip4(192, 168, 10, 4), host_a_ip)),
                      "1 3 4 5 6 7 8 47:10 48:10 cpu:broadcast", "");
        expect_result(send(1, frame(broadcast_mac, host_a).arp(host_a_ip, ip4(192, 168, 10, 4))),
                      "2", "");

        // Port 9 is in no VLAN, and blocks: what comes in is counted and dropped.
        expect_result(send(9, frame(host_a, blocked_host)), "", "port 1/1/9");
        received[9].discards = 1;
    }

    // --- Over the uplink LAG, in VLAN 20: tagged in on a member, untagged out.
    {
        const Bytes to_gateway =
            frame(gateway_mac, trunk_host).tag(20).ipv4(ip4(192, 168, 20, 47), ip4(10, 9, 9, 9));
        vorn_sim::FrameResult r = send(47, to_gateway);  // unknown yet: flooded, the LAG once
        EXPECT_EQ(r.egress.size(), 2u) << summary(r);
        EXPECT_NE(summary(r).find("48:20"), std::string::npos) << summary(r);

        const Bytes reply =
            frame(trunk_host, gateway_mac).tag(20).ipv4(ip4(10, 9, 9, 9), ip4(192, 168, 20, 47));
        r = send(46, reply);
        expect_result(r, "47:20", "");
        ASSERT_EQ(r.egress.size(), 1u);
        EXPECT_EQ(r.egress[0].frame, reply);
        EXPECT_EQ(fdb_entry(20, gateway_mac), "0/1/1") << "learned on the LAG, not on the member";

        r = send(47, to_gateway);
        EXPECT_NE(uplink_member(r), "") << summary(r);
        ASSERT_EQ(r.egress.size(), 1u);
        EXPECT_EQ(r.egress[0].frame, untagged(to_gateway));
    }

    // --- Routed between VLANs 10 and 20: new MACs, TTL one less, checksum right.
    {
        auto expect_routed = [](const vorn_sim::EgressFrame& e, const Mac& next_hop,
                                std::size_t ttl_at) {
            const Seen s = seen(e.frame);
            EXPECT_EQ(s.dst, next_hop);
            EXPECT_EQ(s.src, router_mac);
            EXPECT_EQ(e.frame.at(s.l3 + 2 + ttl_at), 63) << "TTL or hop limit";
        };
        auto expect_ipv4_checksum = [](const vorn_sim::EgressFrame& e) {
            EXPECT_EQ(internet_checksum(&e.frame[seen(e.frame).l3 + 2], 20), 0u);
        };

        vorn_sim::FrameResult r =
            send(1, frame(router_mac, host_a).ipv4(host_a_ip, ip4(10, 1, 2, 3)).udp(5000, 53));
        ASSERT_NE(uplink_member(r), "")
            << "10.0.0.0/8 via the LAG, untagged: " << summary(r) << trace_text(r);
        expect_routed(r.egress[0], gateway_mac, 8);
        expect_ipv4_checksum(r.egress[0]);

        r = send(1, frame(router_mac, host_a).ipv4(host_a_ip, ip4(192, 168, 20, 2)).udp(5000, 53));
        expect_result(r, "47:20", "");
        ASSERT_EQ(r.egress.size(), 1u);
        expect_routed(r.egress[0], gateway_mac, 8);
        expect_ipv4_checksum(r.egress[0]);

        r = send(1, frame(router_mac, host_a).ipv6(ip6(10, 2), ip6(0, 5)).udp(5000, 53));
        expect_result(r, "48:20", "");
        ASSERT_EQ(r.egress.size(), 1u);
        expect_routed(r.egress[0], gateway_mac, 7);

        // Back from the uplink, tagged on a member, to host A's address.
        r = send(
            45,
            frame(router_mac, gateway_mac).tag(20).ipv4(ip4(10, 1, 2, 3), host_a_ip).udp(53, 5000));
        expect_result(r, "1", "");
        ASSERT_EQ(r.egress.size(), 1u);
        expect_routed(r.egress[0], host_a, 8);
        expect_ipv4_checksum(r.egress[0]);
    }

    // --- Every port's counters: what came in, what went out, what was
    // dropped; by kind and in octets (frames without their FCS).
    // The tallies the counters are held to, by hand for port 1: in, the
    // frame to the server, its ARP and three routed frames; out, the
    // server's reply, port 2's ARP and the routed reply.
    EXPECT_EQ(received[1].unicast, 4u);
    EXPECT_EQ(received[1].broadcast, 1u);
    EXPECT_EQ(sent[1].unicast, 2u);
    EXPECT_EQ(sent[1].broadcast, 1u);
    for (unsigned int n = 1; n <= 48; ++n) {
        SCOPED_TRACE("port " + std::to_string(n));
        const Tally& in = received[n];
        const Tally& out = sent[n];
        EXPECT_EQ(counter(n, STAT_IF_IN_OCTETS), in.octets);
        EXPECT_EQ(counter(n, STAT_IF_IN_UCAST_PKTS), in.unicast);
        EXPECT_EQ(counter(n, STAT_IF_IN_MULTICAST_PKTS), in.multicast);
        EXPECT_EQ(counter(n, STAT_IF_IN_BROADCAST_PKTS), in.broadcast);
        EXPECT_EQ(counter(n, STAT_IF_IN_DISCARDS), in.discards);
        EXPECT_EQ(counter(n, STAT_IF_OUT_OCTETS), out.octets);
        EXPECT_EQ(counter(n, STAT_IF_OUT_UCAST_PKTS), out.unicast);
        EXPECT_EQ(counter(n, STAT_IF_OUT_MULTICAST_PKTS), out.multicast);
        EXPECT_EQ(counter(n, STAT_IF_OUT_BROADCAST_PKTS), out.broadcast);
        EXPECT_EQ(counter(n, STAT_IF_OUT_DISCARDS), 0u);

        const std::map<brief_stat_type_t, unsigned long long> brief = {
            {BRIEF_STAT_RX_BYTES, in.octets},
            {BRIEF_STAT_RX_PACKETS, in.unicast + in.multicast + in.broadcast},
            {BRIEF_STAT_RX_DROPS, in.discards},
            {BRIEF_STAT_TX_BYTES, out.octets},
            {BRIEF_STAT_TX_PACKETS, out.unicast + out.multicast + out.broadcast},
            {BRIEF_STAT_TX_DROPS, 0},
        };
        for (const auto& expected : brief) {
            unsigned long long value = ~0ULL;
            EXPECT_TRUE(vorn_get_port_brief_stat_counter64(port(n), expected.first, value));
            EXPECT_EQ(value, expected.second) << "brief counter " << expected.first;
        }
    }
}

}  // namespace
