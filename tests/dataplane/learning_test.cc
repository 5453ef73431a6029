// Learning: sources learned on their port, moved when they show up
// elsewhere, static entries never moved; aging on the card's clock; MAC
// lock and MAC limits.
#include "frames.hh"

namespace {

using namespace dataplane_test;

const Mac unknown = station(0xee);

// The MAC-update callbacks: (last byte of the MAC, what happened).
std::vector<std::pair<unsigned int, int>> mac_events;

void listen_to_mac_updates()
{
    mac_events.clear();
    ASSERT_TRUE(vorn_register_mac_update_callback(
        [](L2Addr* address, int what, void*) { mac_events.emplace_back(address->mac[5], what); },
        nullptr));
}

// One frame of a scenario, and the FDB entry of one station after it.
struct Step {
    const char* what;
    unsigned int in;
    Bytes frame;
    const char* out;
    const char* drop;
    unsigned int station;
    const char* entry;
};

void run(unsigned int vlan, const std::vector<Step>& steps)
{
    for (const Step& s : steps) {
        SCOPED_TRACE(s.what);
        vorn_sim::FrameResult result;
        ASSERT_TRUE(vorn_sim::inject_frame(port(s.in), s.frame, &result))
            << vorn_sim::last_refusal().reason;
        expect_result(result, s.out, s.drop);
        EXPECT_EQ(fdb_entry(vlan, station(s.station)), s.entry);
    }
}

TEST_F(Card, SourcesAreLearnedAndFollowedWhenTheyMoveButStaticOnesStay)
{
    access_vlan(10, {1, 2, 3, 4});
    ASSERT_TRUE(vorn_add_mac_to_port(port(4), station(9).data(), 10));
    listen_to_mac_updates();
    run(10, {
                {"an unknown source is learned", 1, frame(unknown, station(1)), "2 3 4", "", 1,
                 "1/1/1"},
                {"a frame to it goes to its port", 2, frame(station(1), station(2)), "1", "", 2,
                 "1/1/2"},
                {"the station moves", 3, frame(unknown, station(1)), "1 2 4", "", 1, "1/1/3"},
                {"a frame to it follows", 2, frame(station(1), station(2)), "3", "", 1, "1/1/3"},
                {"back to where it came from", 3, frame(station(1), station(3)), "",
                 "where the frame came from", 3, "1/1/3"},
                {"a static source elsewhere is not moved", 1, frame(unknown, station(9)), "2 3 4",
                 "", 9, "1/1/4 static"},
                {"a frame to it goes to its static port", 2, frame(station(9), station(2)), "4", "",
                 9, "1/1/4 static"},
                {"a source is learned per VLAN", 1, frame(unknown, station(1)).tag(20), "",
                 "VLAN 20 does not exist", 1, "1/1/3"},
            });
    const std::vector<std::pair<unsigned int, int>> learned = {
        {1, LCMGR_MAC_LEARNED}, {2, LCMGR_MAC_LEARNED}, {3, LCMGR_MAC_LEARNED}};
    std::vector<std::pair<unsigned int, int>> seen;
    for (const auto& e : mac_events)
        if (e.second == LCMGR_MAC_LEARNED) seen.push_back(e);
    EXPECT_EQ(seen, learned);
}

TEST_F(Card, LearnedEntriesAgeExactlyAtTheAgingTimeAndStaticOnesNever)
{
    ASSERT_TRUE(vorn_set_fdb_aging_time(60));
    access_vlan(10, {1, 2, 3});
    ASSERT_TRUE(vorn_add_mac_to_port(port(2), station(9).data(), 10));
    listen_to_mac_updates();
    expect_result(inject(1, frame(unknown, station(1))), "2 3", "");
    struct Step {
        unsigned int advance;
        bool refresh;  // station 1 sends again after the clock moved
        const char* entry;
        const char* to_station;  // where a frame from port 3 to station 1 goes
    };
    const Step steps[] = {
        {30, true, "1/1/1", "1"},  // learned anew at 30
        {59, false, "1/1/1", "1"},
        {1, false, "", "1 2"},  // 60 seconds after the refresh
    };
    unsigned int clock = 0;
    for (const Step& s : steps) {
        clock += s.advance;
        SCOPED_TRACE("after " + std::to_string(clock) + " seconds");
        vorn_sim::advance_clock(s.advance);
        if (s.refresh) expect_result(inject(1, frame(unknown, station(1))), "2 3", "");
        EXPECT_EQ(fdb_entry(10, station(1)), s.entry);
        expect_result(trace(3, frame(station(1), station(3))), s.to_station, "");
    }
    EXPECT_EQ(mac_events, (std::vector<std::pair<unsigned int, int>>{{1, LCMGR_MAC_LEARNED},
                                                                     {1, LCMGR_MAC_AGED}}));
    vorn_sim::advance_clock(100000);
    EXPECT_EQ(fdb_entry(10, station(9)), "1/1/2 static");
}

TEST_F(Card, AMacLockedPortForwardsOnlyKnownSources)
{
    access_vlan(10, {1, 2});
    ASSERT_TRUE(vorn_add_mac_to_port(port(1), station(5).data(), 10));
    expect_result(inject(1, frame(unknown, station(6))), "2", "");  // learned before the lock
    expect_result(inject(2, frame(unknown, station(7))), "1", "");  // learned on the other port
    struct Case {
        const char* what;
        bool drop_unknown;
        unsigned int source;
        const char* out;
        const char* drop;
        const char* entry;
    };
    const Case cases[] = {
        {"unknown source, dropped", true, 1, "",
         "unknown source 02:00:00:00:00:01 on MAC-locked port 1/1/1", ""},
        {"unknown source, to the CPU", false, 2, "cpu:unknown source on a locked port", "", ""},
        {"a static source", true, 5, "2", "", "1/1/1 static"},
        {"a source learned before the lock", true, 6, "2", "", "1/1/1"},
        {"a source learned on another port does not move", true, 7, "",
         "source 02:00:00:00:00:07 is known elsewhere, not on MAC-locked port 1/1/1", "1/1/2"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        ASSERT_TRUE(vorn_set_port_mac_lock_ext(port(1), true, c.drop_unknown));
        expect_result(inject(1, frame(unknown, station(c.source))), c.out, c.drop);
        EXPECT_EQ(fdb_entry(10, station(c.source)), c.entry);
    }
}

// The source over the limit is forwarded but not learned: frames to it
// keep flooding.
TEST_F(Card, APortLearnsOnlyUpToItsMacLimit)
{
    access_vlan(10, {1, 2, 3});
    ASSERT_TRUE(vorn_set_port_mac_limit(port(1), 2));
    run(10,
        {
            {"the first source", 1, frame(unknown, station(1)), "2 3", "", 1, "1/1/1"},
            {"the second source", 1, frame(unknown, station(2)), "2 3", "", 2, "1/1/1"},
            {"the third: forwarded, not learned", 1, frame(unknown, station(3)), "2 3", "", 3, ""},
            {"a learned source again", 1, frame(unknown, station(1)), "2 3", "", 1, "1/1/1"},
            {"to the unlearned source: flooded", 2, frame(station(3), station(4)), "1 3", "", 3,
             ""},
            {"another port has its own count", 2, frame(unknown, station(5)), "1 3", "", 5,
             "1/1/2"},
        });
}

}  // namespace
