// The spanning tree: a port's state and its state in the MSTP instance of
// the frame's VLAN gate forwarding and learning, on the way in and on the
// way out; BPDUs reach the CPU whatever the tree says.
#include "frames.hh"

namespace {

using namespace dataplane_test;

const Mac unknown = station(0xee);

TEST_F(Card, EachPortStateForwardsLearnsOrDrops)
{
    access_vlan(10, {1, 2});
    struct Case {
        const char* what;
        stp_state_t state;
        const char* out;
        const char* drop;
        bool learned;
    };
    const Case cases[] = {
        {"disabled", STP_STATE_DISABLED, "", "discarding in VLAN 10", false},
        {"blocking", STP_STATE_BLOCKING, "", "discarding in VLAN 10", false},
        {"listening", STP_STATE_LISTENING, "", "discarding in VLAN 10", false},
        {"learning", STP_STATE_LEARNING, "", "learns, does not forward", true},
        {"forwarding", STP_STATE_FORWARDING, "2", "", true},
    };
    unsigned int source = 1;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        ASSERT_TRUE(vorn_set_port_stp_state(port(1), c.state));
        const Mac from = station(source++);
        expect_result(inject(1, frame(unknown, from)), c.out, c.drop);
        EXPECT_EQ(fdb_entry(10, from), c.learned ? "1/1/1" : "");
    }
}

TEST_F(Card, TheStricterOfPortStateAndInstanceStateWins)
{
    access_vlan(10, {1, 2});
    ASSERT_TRUE(vorn_sim::set_vlan_instance(10, 3));
    struct Case {
        const char* what;
        stp_state_t port_state;
        unsigned int instance;
        mstp_state_t instance_state;
        const char* out;
        const char* drop;
        bool learned;
    };
    const Case cases[] = {
        {"both forwarding", STP_STATE_FORWARDING, 3, MSTP_STATE_FORWARDING, "2", "", true},
        {"the instance discards", STP_STATE_FORWARDING, 3, MSTP_STATE_DISCARDING, "", "instance 3",
         false},
        {"the instance learns", STP_STATE_FORWARDING, 3, MSTP_STATE_LEARNING, "",
         "learns, does not forward", true},
        {"the port learns", STP_STATE_LEARNING, 3, MSTP_STATE_FORWARDING, "",
         "learns, does not forward", true},
        {"the port blocks", STP_STATE_BLOCKING, 3, MSTP_STATE_FORWARDING, "",
         "discarding in VLAN 10", false},
        {"learning and discarding", STP_STATE_LEARNING, 3, MSTP_STATE_DISCARDING, "", "discarding",
         false},
        {"another instance discards", STP_STATE_FORWARDING, 4, MSTP_STATE_DISCARDING, "2", "",
         true},
        {"instance 0 discards, VLAN 10 left it", STP_STATE_FORWARDING, 0, MSTP_STATE_DISCARDING,
         "2", "", true},
    };
    unsigned int source = 1;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        ASSERT_TRUE(vorn_set_port_stp_state(port(1), c.port_state));
        for (unsigned int instance : {0u, 3u, 4u})
            ASSERT_TRUE(vorn_set_port_mstp_state(
                port(1), instance == c.instance ? c.instance_state : MSTP_STATE_FORWARDING,
                instance));
        const Mac from = station(source++);
        expect_result(inject(1, frame(unknown, from)), c.out, c.drop);
        EXPECT_EQ(fdb_entry(10, from), c.learned ? "1/1/1" : "");
    }
}

// Port 2 knows station 2; whatever keeps port 2 from forwarding in VLAN 10
// keeps frames from leaving there, flooded or sent to station 2.
TEST_F(Card, NothingLeavesThroughAPortThatDoesNotForward)
{
    access_vlan(10, {1, 2, 3});
    ASSERT_TRUE(vorn_sim::set_vlan_instance(10, 5));
    expect_result(inject(2, frame(unknown, station(2))), "1 3", "");
    struct Case {
        const char* what;
        stp_state_t port_state;
        mstp_state_t instance_state;
    };
    const Case cases[] = {
        {"blocking", STP_STATE_BLOCKING, MSTP_STATE_FORWARDING},
        {"learning", STP_STATE_LEARNING, MSTP_STATE_FORWARDING},
        {"discarding in the VLAN's instance", STP_STATE_FORWARDING, MSTP_STATE_DISCARDING},
        {"learning in the VLAN's instance", STP_STATE_FORWARDING, MSTP_STATE_LEARNING},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        ASSERT_TRUE(vorn_set_port_stp_state(port(2), c.port_state));
        ASSERT_TRUE(vorn_set_port_mstp_state(port(2), c.instance_state, 5));
        expect_result(inject(1, frame(unknown, station(1))), "3", "");
        expect_result(inject(1, frame(broadcast_mac, station(1))), "3 cpu:broadcast", "");
        expect_result(inject(1, frame(station(2), station(1))), "",
                      "port 1/1/2: discarding in VLAN 10");
    }
    ASSERT_TRUE(vorn_set_port_stp_state(port(2), STP_STATE_FORWARDING));
    ASSERT_TRUE(vorn_set_port_mstp_state(port(2), MSTP_STATE_FORWARDING, 5));
    expect_result(inject(1, frame(station(2), station(1))), "2", "");
}

TEST_F(Card, BpdusAreTrappedWhileBpduProcessingIsOn)
{
    vlan(1, {}, {1});  // a BPDU forwarded would flood to port 1
    struct Case {
        const char* what;
        stp_state_t state;
        bool member;
        bool processing;
        const char* out;
        const char* drop;
    };
    const Case cases[] = {
        {"forwarding", STP_STATE_FORWARDING, true, true, "cpu:BPDU", ""},
        {"blocking", STP_STATE_BLOCKING, true, true, "cpu:BPDU", ""},
        {"disabled", STP_STATE_DISABLED, true, true, "cpu:BPDU", ""},
        {"not a member of its VLAN", STP_STATE_FORWARDING, false, true, "cpu:BPDU", ""},
        {"processing off, forwarding", STP_STATE_FORWARDING, true, false, "",
         "BPDU processing is off"},
        {"processing off, blocking", STP_STATE_BLOCKING, true, false, "", "BPDU processing is off"},
    };
    unsigned int at = 1;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        ++at;
        if (c.member) {
            ASSERT_TRUE(vorn_add_ports_to_vlan(1, {}, {port(at)}));
        }
        ASSERT_TRUE(vorn_set_port_stp_state(port(at), c.state));
        ASSERT_TRUE(vorn_set_port_bpdu_processing(port(at), c.processing));
        expect_result(inject(at, frame(bridge_group_mac, station(at))), c.out, c.drop);
    }
}

// 01:80:c2:00:00:00 to :0f are trapped, the bridge group address as a
// BPDU; the rest of the multicast range is flooded like any multicast.
TEST_F(Card, OnlyTheLinkLocalBlockIsTrapped)
{
    vlan(1, {}, {1, 2, 3});
    ASSERT_TRUE(vorn_set_port_stp_state(port(1), STP_STATE_BLOCKING));
    struct Case {
        unsigned char last_bytes[2];
        unsigned int in;
        const char* out;
        const char* drop;
    };
    const Case cases[] = {
        {{0x00, 0x00}, 1, "cpu:BPDU", ""},
        {{0x00, 0x02}, 1, "cpu:link-local control frame", ""},
        {{0x00, 0x0f}, 1, "cpu:link-local control frame", ""},
        {{0x00, 0x10}, 1, "", "discarding"},
        {{0x00, 0x10}, 2, "3 cpu:multicast", ""},
        {{0x01, 0x00}, 2, "3 cpu:multicast", ""},
    };
    for (const Case& c : cases) {
        Mac destination = bridge_group_mac;
        destination[4] = c.last_bytes[0];
        destination[5] = c.last_bytes[1];
        SCOPED_TRACE(std::to_string(c.last_bytes[0]) + ":" + std::to_string(c.last_bytes[1]));
        expect_result(inject(c.in, frame(destination, station(c.in))), c.out, c.drop);
    }
}

}  // namespace
