// Port counters after traffic, and trace_frame: it tells what injecting
// the frame would do and changes nothing.
#include <cstring>

#include "frames.hh"

namespace {

using namespace dataplane_test;

const Mac unknown = station(0xee);

struct Count {
    unsigned int port;
    stat_type_t kind;
    unsigned long long value;
};

void expect_counts(const std::vector<Count>& counts)
{
    for (const Count& c : counts)
        EXPECT_EQ(counter(c.port, c.kind), c.value) << "port " << c.port << " counter " << c.kind;
}

// Port 1 sends one frame of each kind; port 2 gets them all, port 3 none
// (its egress is off), so it counts a discard for each flood.
TEST_F(Card, PortsCountByKindAndDirection)
{
    access_vlan(10, {1, 2, 3});
    expect_result(inject(2, frame(unknown, station(2))), "1 3", "");
    for (unsigned int n : {1u, 2u, 3u}) ASSERT_TRUE(vorn_clear_port_stat_counter(port(n)));
    ASSERT_TRUE(vorn_set_port_egress_admin_state(port(3), false));
    const Bytes unicast = frame(station(2), station(1));
    const Bytes multicast =
        frame(multicast_mac, station(1)).ipv4(ip4(10, 0, 0, 1), ip4(224, 0, 0, 1)).udp(1, 2);
    Bytes broadcast = frame(broadcast_mac, station(1));
    broadcast.resize(100, 0);
    EXPECT_EQ(summary(inject(1, unicast)), "2");
    EXPECT_EQ(summary(inject(1, multicast)), "2 cpu:multicast");
    EXPECT_EQ(summary(inject(1, broadcast)), "2 cpu:broadcast");
    const unsigned long long octets = unicast.size() + multicast.size() + broadcast.size();
    expect_counts({
        {1, STAT_IF_IN_OCTETS, octets},
        {1, STAT_IF_IN_UCAST_PKTS, 1},
        {1, STAT_IF_IN_MULTICAST_PKTS, 1},
        {1, STAT_IF_IN_BROADCAST_PKTS, 1},
        {1, STAT_IF_IN_DISCARDS, 0},
        {1, STAT_IF_OUT_OCTETS, 0},
        {2, STAT_IF_OUT_OCTETS, octets},
        {2, STAT_IF_OUT_UCAST_PKTS, 1},
        {2, STAT_IF_OUT_MULTICAST_PKTS, 1},
        {2, STAT_IF_OUT_BROADCAST_PKTS, 1},
        {2, STAT_IF_OUT_DISCARDS, 0},
        {2, STAT_IF_IN_OCTETS, 0},
        {3, STAT_IF_OUT_OCTETS, 0},
        {3, STAT_IF_OUT_DISCARDS, 2},
    });
    // Dropped on the way in: received, and a discard.
    expect_result(inject(1, frame(unknown, station(1)).tag(99)), "", "VLAN 99 does not exist");
    expect_counts({{1, STAT_IF_IN_DISCARDS, 1}, {1, STAT_IF_IN_OCTETS, octets + 60}});
}

TEST_F(Card, TaggedFramesCountTheirTagOnTheWayOut)
{
    vlan(10, {2}, {1});
    ASSERT_TRUE(vorn_set_port_pvid(port(1), 10));
    const Bytes untagged = frame(unknown, station(1));
    EXPECT_EQ(summary(inject(1, untagged)), "2:10");
    expect_counts(
        {{1, STAT_IF_IN_OCTETS, untagged.size()}, {2, STAT_IF_OUT_OCTETS, untagged.size() + 4}});
}

// --- trace_frame ---------------------------------------------------------------

int rx_packets;
int mac_updates;

// Everything a frame may change: the FDB, the counters of ports 1 to 3,
// flow 1's count, the callbacks heard.
std::string card_state()
{
    static std::string* text;
    std::string entries;
    text = &entries;
    auto collect = [](L2Addr* a, int, void*) {
        *text += std::to_string(a->vlan) + "/" + std::to_string(a->mac[5]) + "@" +
                 std::to_string(a->port.port()) + " ";
    };
    EXPECT_TRUE(vorn_traverse_mac_table(reinterpret_cast<void*>(+collect)));
    std::string state = "fdb " + entries;
    for (unsigned int n : {1u, 2u, 3u})
        for (stat_type_t kind :
             {STAT_IF_IN_OCTETS, STAT_IF_IN_DISCARDS, STAT_IF_OUT_OCTETS, STAT_IF_OUT_DISCARDS})
            state += " " + std::to_string(counter(n, kind));
    unsigned long long packets = 0;
    EXPECT_TRUE(vorn_get_of_flow_stat_counter64(1, packets));
    state += " flow " + std::to_string(packets);
    return state + " rx " + std::to_string(rx_packets) + " mac " + std::to_string(mac_updates);
}

// Each frame is traced twice, then injected: the trace changes nothing
// (no learning, counting, callbacks or storm budget) and says what the
// injection then does.
TEST_F(Card, TracingAFrameTellsWhatInjectingItDoesAndChangesNothing)
{
    access_vlan(10, {1, 2, 3});
    ASSERT_TRUE(vorn_set_port_broadcast_control(port(1), 1));
    ASSERT_TRUE(vorn_set_port_mac_limit(port(1), 1));
    ASSERT_TRUE(vorn_set_port_stp_state(port(3), STP_STATE_LEARNING));
    of_flow_s from_station5;
    std::memset(&from_station5.match, 0, sizeof from_station5.match);
    from_station5.match.match_flags = OF_MATCH_SRC_MAC;
    std::memcpy(from_station5.match.src_mac, station(5).data(), 6);
    ASSERT_TRUE(vorn_add_of_flow_with_id(from_station5, 1));
    ASSERT_TRUE(vorn_add_of_flow_action(1, OF_ACTION_SET_PRIORITY, of_action_param_s{{3, 0, 0}}));
    rx_packets = mac_updates = 0;
    ASSERT_TRUE(vorn_register_rx_packet_callback([](RxPacket*, void*) { ++rx_packets; }, nullptr));
    ASSERT_TRUE(
        vorn_register_mac_update_callback([](L2Addr*, int, void*) { ++mac_updates; }, nullptr));
    const Bytes frames[] = {
        frame(unknown, station(1)),          // learned, flooded
        frame(unknown, station(5)),          // over the MAC limit; flow 1 counts it
        frame(station(1), station(5)),       // flow 1 counts it; back where it came from
        frame(broadcast_mac, station(1)),    // to the CPU too
        frame(broadcast_mac, station(1)),    // over the storm rate
        frame(unknown, station(1)).tag(99),  // a VLAN that does not exist
    };
    int n = 0;
    for (const Bytes& f : frames) {
        SCOPED_TRACE("frame " + std::to_string(++n));
        const std::string before = card_state();
        const vorn_sim::FrameResult traced = trace(1, f);
        EXPECT_EQ(summary(trace(1, f)), summary(traced));
        EXPECT_EQ(card_state(), before);
        const vorn_sim::FrameResult injected = inject(1, f);
        EXPECT_EQ(summary(traced), summary(injected));
        EXPECT_EQ(traced.drop, injected.drop);
        ASSERT_EQ(traced.egress.size(), injected.egress.size());
        for (std::size_t i = 0; i < traced.egress.size(); ++i)
            EXPECT_EQ(traced.egress[i].frame, injected.egress[i].frame);
        EXPECT_FALSE(traced.trace.empty());
    }
    // A learning port: the trace learns nothing there either.
    const std::string before = card_state();
    expect_result(trace(3, frame(unknown, station(3))), "", "learns, does not forward");
    EXPECT_EQ(card_state(), before);
    EXPECT_EQ(fdb_entry(10, station(3)), "");
}

}  // namespace
