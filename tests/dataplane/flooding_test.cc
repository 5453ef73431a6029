// Flooding: what flood blocking holds back from other ports and from the
// CPU, unknown unicast to the CPU, and storm control on the card's clock.
#include "frames.hh"

namespace {

using namespace dataplane_test;

const Mac unknown = station(0xee);

// Port 1 holds back broadcasts from port 3 and unknown unicast from port 2.
TEST_F(Card, FloodBlockingHoldsBackEachKindFromTheChosenPorts)
{
    access_vlan(10, {1, 2, 3});
    ASSERT_TRUE(vorn_set_port_flood_blocking({port(1)}, port(3), FLOOD_BLOCK_BROADCAST));
    ASSERT_TRUE(vorn_set_port_flood_blocking({port(1)}, port(2), FLOOD_BLOCK_UNKNOWN_UNICAST));
    run_frames({
        {"broadcast", 1, frame(broadcast_mac, station(1)), "2 cpu:broadcast", ""},
        {"unknown unicast", 1, frame(unknown, station(1)), "3", ""},
        {"multicast", 1, frame(multicast_mac, station(1)), "2 3 cpu:multicast", ""},
        {"broadcast from another port", 2, frame(broadcast_mac, station(2)), "1 3 cpu:broadcast",
         ""},
        {"known unicast is not flooded", 1, frame(station(2), station(1)), "2", ""},
    });
}

TEST_F(Card, FloodBlockingTowardsTheCpu)
{
    access_vlan(10, {1, 2});
    ASSERT_TRUE(vorn_set_port_flood_blocking_cpu({port(1)}, FLOOD_BLOCK_BROADCAST));
    run_frames({
        {"broadcast", 1, frame(broadcast_mac, station(1)), "2", ""},
        {"multicast", 1, frame(multicast_mac, station(1)), "2 cpu:multicast", ""},
        {"broadcast from another port", 2, frame(broadcast_mac, station(2)), "1 cpu:broadcast", ""},
    });
}

TEST_F(Card, UnknownUnicastReachesTheCpuPerPortOrSwitchWide)
{
    access_vlan(10, {1, 2, 3});
    ASSERT_TRUE(vorn_set_port_switch_unknown_unicast_to_cpu(port(1), true));
    run_frames({
        {"from the port that sends it there", 1, frame(unknown, station(1)),
         "2 3 cpu:unknown unicast", ""},
        {"from another port", 2, frame(unknown, station(2)), "1 3", ""},
    });
    ASSERT_TRUE(vorn_set_switch_unknown_unicast_to_cpu(true));
    run_frames({
        {"switch-wide, from another port", 2, frame(unknown, station(2)), "1 3 cpu:unknown unicast",
         ""},
        {"switch-wide, known unicast", 2, frame(station(1), station(2)), "1", ""},
    });
    ASSERT_TRUE(vorn_set_port_flood_blocking_cpu({port(2)}, FLOOD_BLOCK_UNKNOWN_UNICAST));
    run_frames({
        {"switch-wide, blocked towards the CPU", 2, frame(unknown, station(2)), "1 3", ""},
    });
}

// A broadcast rate of 2: the third broadcast of a second is dropped, the
// next second has two more; other kinds and other ports are not counted.
TEST_F(Card, StormControlDropsWhatExceedsTheRateInASecond)
{
    access_vlan(10, {1, 2});
    ASSERT_TRUE(vorn_set_port_broadcast_control(port(1), 2));
    const Bytes broadcast = frame(broadcast_mac, station(1));
    struct Step {
        unsigned int advance;
        unsigned int in;
        Bytes frame;
        const char* out;
        const char* drop;
    };
    const Step steps[] = {
        {0, 1, broadcast, "2 cpu:broadcast", ""},
        {0, 1, broadcast, "2 cpu:broadcast", ""},
        {0, 1, broadcast, "", "broadcast storm control on port 1/1/1"},
        {0, 1, frame(multicast_mac, station(1)), "2 cpu:multicast", ""},
        {0, 1, frame(unknown, station(1)), "2", ""},
        {0, 2, frame(broadcast_mac, station(2)), "1 cpu:broadcast", ""},
        {1, 1, broadcast, "2 cpu:broadcast", ""},
        {0, 1, broadcast, "2 cpu:broadcast", ""},
        {0, 1, broadcast, "", "broadcast storm control on port 1/1/1"},
    };
    int n = 0;
    for (const Step& s : steps) {
        SCOPED_TRACE("step " + std::to_string(++n));
        vorn_sim::advance_clock(s.advance);
        expect_result(inject(s.in, s.frame), s.out, s.drop);
    }
}

// Each kind has its own rate and its own budget: with a rate of 1 for
// each, the first frame of every kind passes and the second of every kind
// is dropped.
TEST_F(Card, StormControlCountsEachKindAgainstItsOwnRate)
{
    access_vlan(10, {1, 2});
    struct Case {
        const char* what;
        bool (*set)(const Usp&, unsigned int rate);
        Bytes frame;
        const char* out;
    };
    const Case cases[] = {
        {"broadcast", vorn_set_port_broadcast_control, frame(broadcast_mac, station(1)),
         "2 cpu:broadcast"},
        {"multicast", vorn_set_port_multicast_control, frame(multicast_mac, station(1)),
         "2 cpu:multicast"},
        {"unknown unicast", vorn_set_port_unicast_control, frame(unknown, station(1)), "2"},
    };
    for (const Case& c : cases) ASSERT_TRUE(c.set(port(1), 1)) << c.what;
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string("first ") + c.what);
        expect_result(inject(1, c.frame), c.out, "");
    }
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string("second ") + c.what);
        expect_result(inject(1, c.frame), "", std::string(c.what) + " storm control on port 1/1/1");
    }
    // Known unicast is not held back.
    expect_result(inject(2, frame(station(1), station(2))), "1", "");
    expect_result(inject(1, frame(station(2), station(1))), "2", "");
}

}  // namespace
