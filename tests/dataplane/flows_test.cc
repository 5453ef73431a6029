// Flows (the best match counts the frame and decides where it goes) and
// port mirroring.
#include <cstring>
#include <map>

#include "frames.hh"

namespace {

using namespace dataplane_test;

const Mac unknown = station(0xee);

struct Action {
    of_action_t kind;
    int word;  // the VLAN, the priority, or the flow port of an output
};
// Flow port n is port 1/1/(n - 7).
Action output(unsigned int port)
{
    return Action{OF_ACTION_OUTPUT, int(port + 7)};
}

// A flow matching the fields `flags` names, with `fill` setting them.
template <class Fill>
void add_flow(unsigned int id, int priority, unsigned int flags, Fill fill,
              const std::vector<Action>& actions)
{
    of_flow_s flow;
    std::memset(&flow.match, 0, sizeof flow.match);
    flow.match.match_flags = flags;
    fill(flow.match);
    ASSERT_TRUE(vorn_add_of_flow_with_id(flow, id)) << "flow " << id;
    ASSERT_TRUE(vorn_set_of_flow_priority(id, priority)) << "flow " << id;
    for (const Action& action : actions) {
        const of_action_param_s param = {{action.word, 0, 0}};
        ASSERT_TRUE(vorn_add_of_flow_action(id, action.kind, param))
            << "flow " << id << " action " << action.kind;
    }
}

unsigned long long flow_packets(unsigned int id)
{
    unsigned long long packets = ~0ULL;
    EXPECT_TRUE(vorn_get_of_flow_stat_counter64(id, packets)) << "flow " << id;
    return packets;
}

// Flows 10 (IPv4 to 10.0.0.1: out of port 3) and 20 (UDP to port 53: drop,
// and ahead of 10); flows 30 (EtherType 0x88b5 from station 4: out of port
// 2) and 40 (EtherType 0x88b5: to the CPU) tie, and the lower id wins.
TEST_F(Card, TheBestFlowCountsTheFrameAndDecides)
{
    access_vlan(10, {1, 2, 3});
    add_flow(10, 100, OF_MATCH_DST_IP,
             [](of_flow_match_s& m) { m.dst_ip = ip4(10, 0, 0, 1), m.dst_ip_mask = ~0u; },
             {output(3)});
    add_flow(20, 200, OF_MATCH_IP_PROTO | OF_MATCH_L4_DST_PORT,
             [](of_flow_match_s& m) { m.ip_proto = 17, m.l4_dst_port = 53; },
             {{OF_ACTION_DROP, 0}});
    add_flow(40, 5, OF_MATCH_ETH_TYPE, [](of_flow_match_s& m) { m.eth_type = 0x88b5; },
             {{OF_ACTION_TO_CPU, 0}});
    add_flow(30, 5, OF_MATCH_ETH_TYPE | OF_MATCH_SRC_MAC,
             [](of_flow_match_s& m) {
                 m.eth_type = 0x88b5, std::memcpy(m.src_mac, station(4).data(), 6);
             },
             {output(2)});
    struct Case {
        const char* what;
        Bytes frame;
        const char* out;
        const char* drop;
        unsigned int counted;  // the flow that counts it; 0: none
    };
    // Station 9 sends only what flow 20 drops.
    const Bytes dns =
        frame(unknown, station(9)).ipv4(ip4(10, 0, 0, 9), ip4(10, 0, 0, 1)).udp(4000, 53);
    const Case cases[] = {
        {"two match, the higher priority drops", dns, "", "flow 20 drops it", 20},
        {"the lower one alone",
         frame(unknown, station(1)).ipv4(ip4(10, 0, 0, 9), ip4(10, 0, 0, 1)).udp(4000, 80), "3", "",
         10},
        {"to the CPU", frame(unknown, station(5)), "cpu:flow", "", 40},
        {"a tie: the lower id", frame(unknown, station(4)), "2", "", 30},
        {"no flow: bridged",
         frame(unknown, station(1)).ipv4(ip4(10, 0, 0, 9), ip4(10, 0, 0, 2)).udp(4000, 80), "2 3",
         "", 0},
        {"the same again", dns, "", "flow 20 drops it", 20},
    };
    std::map<unsigned int, unsigned long long> packets = {{10, 0}, {20, 0}, {30, 0}, {40, 0}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        expect_result(inject(1, c.frame), c.out, c.drop);
        if (c.counted) ++packets[c.counted];
        for (const auto& flow : packets)
            EXPECT_EQ(flow_packets(flow.first), flow.second) << "flow " << flow.first;
    }
    // Learning comes before the flows: what a flow drops has been learned.
    EXPECT_EQ(fdb_entry(10, station(9)), "1/1/1");
}

// A flow that sets the VLAN (and the priority) forwards the frame in the
// new VLAN: its members, its FDB, its tagging.  Port 1 is in VLAN 10 only.
TEST_F(Card, AFlowThatSetsTheVlanForwardsInTheNewVlan)
{
    access_vlan(10, {1, 2});
    vlan(20, {3}, {4});
    expect_result(inject(3, frame(unknown, station(0x30)).tag(20)), "4", "");
    const auto from = [](unsigned int source) {
        return [source](of_flow_match_s& m) { std::memcpy(m.src_mac, station(source).data(), 6); };
    };
    add_flow(1, 10, OF_MATCH_SRC_MAC, from(1),
             {{OF_ACTION_SET_VLAN, 20}, {OF_ACTION_SET_PRIORITY, 5}});
    add_flow(2, 10, OF_MATCH_SRC_MAC, from(2), {{OF_ACTION_SET_VLAN, 99}});
    struct Case {
        const char* what;
        Bytes frame;
        const char* out;
        const char* drop;
    };
    const Case cases[] = {
        {"flooded to the new VLAN's members", frame(unknown, station(1)), "3:20 4", ""},
        {"to a station the new VLAN knows", frame(station(0x30), station(1)), "3:20", ""},
        {"a VLAN that does not exist", frame(unknown, station(2)), "", "VLAN 99 does not exist"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const vorn_sim::FrameResult result = inject(1, c.frame);
        expect_result(result, c.out, c.drop);
        for (const auto& e : result.egress)
            if (seen(e.frame).vlan >= 0) {
                EXPECT_EQ(e.frame[14] >> 5, 5) << "the priority the flow set";
            }
    }
}

// Port 9 is the mirror port.  Port 1 (untagged) sends to station 2 behind
// port 2 (tagged): an ingress copy is the frame as received, untagged; an
// egress copy the frame as sent, tagged.
TEST_F(Card, MirroringCopiesWhatAPortReceivesSendsOrBoth)
{
    vlan(10, {2}, {1, 3});
    ASSERT_TRUE(vorn_set_port_pvid(port(1), 10));
    expect_result(inject(2, frame(unknown, station(2)).tag(10)), "1 3", "");
    struct Case {
        const char* what;
        unsigned int source;
        mirror_type_t type;
        const char* out;
    };
    const Case cases[] = {
        {"no mirroring", 1, MIRROR_TYPE_NONE, "2:10"},
        {"what port 1 receives", 1, MIRROR_TYPE_INGRESS, "2:10 9"},
        {"what port 1 sends", 1, MIRROR_TYPE_EGRESS, "2:10"},
        {"both ways on port 1", 1, MIRROR_TYPE_BOTH, "2:10 9"},
        {"what port 2 receives", 2, MIRROR_TYPE_INGRESS, "2:10"},
        {"what port 2 sends", 2, MIRROR_TYPE_EGRESS, "2:10 9:10"},
        {"both ways on port 2", 2, MIRROR_TYPE_BOTH, "2:10 9:10"},
    };
    const Bytes sent = frame(station(2), station(1));
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        for (unsigned int source : {1u, 2u})
            ASSERT_TRUE(vorn_set_port_mirror(port(9), port(source),
                                             source == c.source ? c.type : MIRROR_TYPE_NONE));
        const vorn_sim::FrameResult result = inject(1, sent);
        expect_result(result, c.out, "");
        for (const auto& e : result.egress)
            if (e.port.port() == 9) {
                const bool ingress_copy = seen(e.frame).vlan < 0;
                EXPECT_EQ(e.frame, ingress_copy ? sent : result.egress.front().frame);
            }
    }
    // A copy is not the frame: what keeps the frame from leaving still says so.
    ASSERT_TRUE(vorn_set_port_mirror(port(9), port(1), MIRROR_TYPE_INGRESS));
    ASSERT_TRUE(vorn_set_port_egress_admin_state(port(2), false));
    expect_result(inject(1, sent), "9", "port 1/1/2: egress is disabled");
    ASSERT_TRUE(vorn_set_port_stp_state(port(1), STP_STATE_BLOCKING));
    expect_result(inject(1, sent), "9", "discarding in VLAN 10");
}

}  // namespace
